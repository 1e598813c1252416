// What the updater hand-off has to decide and to write, found out a second time in the plainest way. It
// shares no code with the launcher.
#pragma once

#include "Platform/Win32.h"
#include "Tests/Support/RegistryKey.h"
#include "Tests/Support/WideText.h"

#include <map>
#include <string>
#include <utility>

// A key's values by their names, type and data. None: there is no such key.
using Registration = std::map<std::string, std::pair<DWORD, Bytes>>;

constexpr const char* VALUE_NAMES[] = {"Info", "InstallDir", "ExecPath"};

enum class UpdaterState { Absent, Folder, Program, NoProgram };

struct PlainSku {
    std::string info, gameName, execPath; // UTF-8
};

struct Situation {
    PlainSku sku;
    WideText folder, game; // whole paths; the folder is no root
    UpdaterState updater;
    bool mayWrite;
    Registration named, unnamed; // in the key of the game that the sku file names, and in the other
};

WideText Widened(const std::string& utf8);

// Of the sku file's bytes; none where it cannot be read.
PlainSku ReadPlainSku(const std::string& bytes);

// What has to be registered; empty where the sku file names no program.
WideText ExecPathBelow(const WideText& folder, const PlainSku& sku);

// The result of TryStartUpdater. The registrations become what they have to be afterwards.
DWORD Decide(Situation& situation);
