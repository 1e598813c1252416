// The decision whether the game's updater has to run before the game, and its start.
//
// The updater is due when it is there, when the registry has its whole registration, and when the path
// registered is this game's. For a sku file that names a game that is its ExecPath below the folder, to the
// letter; without an ExecPath the updater is never due. For any other it is the game's path, ASCII letters in
// either case. What a sku file says of the game that it names is registered first, as far as the user may do
// that.
#pragma once

#include "GameLauncher/PathBuffer.h"
#include "Platform/Win32.h"

enum UpdaterResult : DWORD {
    UpdaterStarted = 0,     // its process was created; nothing more is to be done
    UpdaterStartFailed = 1, // it was due, but its process could not be created
    UpdaterNotDue = 2,      // all else, lack of memory too
};

// The paths are complete; the folder ends in no separator unless it is a drive's root. The last error is
// written only when the start was tried, and is then what the platform had after it. On the way there the
// updater's folder becomes the current directory.
UpdaterResult TryStartUpdater(const PathBuffer& updaterPath, LPCWSTR launcherFolder, LPCWSTR gamePath,
                              DWORD* lastError) noexcept;
