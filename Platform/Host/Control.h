// What tests and the workbench may set in the host layer. Programs do not use it.
#pragma once

#include "Platform/Host/Api/Memory.h"
#include "Platform/Host/Api/Modules.h"
#include "Platform/Host/Api/Time.h"
#include "Platform/Host/Api/Types.h"
#include "Platform/Host/Api/UserInterface.h"
#include "Platform/Host/Api/Version.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Platform::Host {

struct MessageBoxCall {
    bool hasOwner;
    std::u16string text;
    std::u16string caption;
    UINT type;
};

// Answers message boxes in place of standard error; its result is the button. An empty hook takes it back.
using MessageBoxHook = std::function<int(const MessageBoxCall&)>;
void SetMessageBoxHook(MessageBoxHook hook);

// What GetActiveWindow gives, GetLastActivePopup gives for it, and GetKeyState gives for every key.
void SetActiveWindow(HWND window, HWND lastActivePopup);
void SetKeyState(short state);

// The primary screen's size, 0 and 0 unless a test says otherwise, and the active window's place on it.
void SetScreenSize(int width, int height);
void SetActiveWindowRect(const RECT& rectangle);

// Answers __cpuidex in place of the processor. An empty hook takes it back.
using ProcessorHook = std::function<void(int registers[4], int leaf, int subLeaf)>;
void SetProcessorHook(ProcessorHook hook);

// Answers OutputDebugStringA in place of standard error. An empty hook takes it back.
using DebuggerHook = std::function<void(const char* text)>;
void SetDebuggerHook(DebuggerHook hook);

// Answers GetProcAddress: what it gives for the name, `found` being the library's own function or null. An
// empty hook takes it back.
using ExportHook = std::function<FARPROC(std::string_view name, FARPROC found)>;
void SetExportHook(ExportHook hook);

// What GetVersionExW gives; nullopt for the layer's own.
void SetShownVersion(std::optional<OSVERSIONINFOEXW> version);

// The path that GetModuleFileNameW gives for the program; nullopt for its real place.
void SetModulePath(std::optional<std::u16string> path);

// A file that receives the standard error of processes started from now on; empty for this process's own.
void SetChildErrorFile(std::string nativePath);

// What GlobalMemoryStatus and GetLocalTime give; nullopt for the machine's own.
void SetShownMemoryStatus(std::optional<MEMORYSTATUS> status);
void SetShownTime(std::optional<SYSTEMTIME> time);

// The absolute path of the registry's file, for this process and those it starts from now on; anything else:
// each has a registry in memory, which starts empty and ends with the process; nullopt: the usual place. Keys
// open before are deleted ones unless the new registry has them.
void SetRegistryFile(const std::optional<std::string>& nativePath);

// Refuses handles that may write to keys below HKEY_LOCAL_MACHINE, as the platform does to a user without an
// administrator's rights. In this process alone; handles of before stay what they are.
void SetMachineKeysReadOnly(bool readOnly);

// The error mode, read without passing the gate.
UINT CurrentErrorMode();

} // namespace Platform::Host
