// The stages of a launch that can fail. A stage's code is the first half of the error code that the failure
// message shows; support staff know it by its hexadecimal digits.
#pragma once

#include "Platform/Win32.h"

enum class LaunchStage : DWORD {
    None = 0,
    CommandLine = 0x12,      // the platform gave no command line
    ModulePath = 0x22,       // the launcher's own path cannot be had,
    ModulePathLength = 0x23, // is too long
    ModulePathEmpty = 0x24,  // or is empty
    LauncherFolder = 0x32,   // the path has no folder
    CurrentDirectory = 0x42, // the folder cannot be made the current directory
    ProgramPath = 0x52,      // the path of the game or of the updater is too long
    StartGame = 0x62,        // the game's process could not be created
    StartUpdater = 0x72,     // the updater was due, but its process could not be created
};
