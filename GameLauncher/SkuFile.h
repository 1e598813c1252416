// The game's sku file: a small INI text below the install folder that says which game it is.
//
//     [GameUpdate]
//     Info=what the updater keeps about the game
//     GameName=Brenvault
//     ExecPath=Data\Base\_Dbg\Bin\Release\BrenvaultR.exe
#pragma once

#include "Platform/Win32.h"
#include "Plinth/Text/CString.h"

struct SkuFile {
    Plinth::CString info;
    Plinth::CString gameName;
    Plinth::CString execPath; // below the install folder
};

// A key that is missing reads as the empty text, and so do all three where the file is missing, cannot be
// read to its end, or there is no memory for it. The file is closed again.
SkuFile ReadSkuFile(LPCWSTR launcherFolder) noexcept;
