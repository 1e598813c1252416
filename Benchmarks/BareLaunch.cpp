// The platform calls of a launch that goes well and nothing else: no check, no resource, no library but the
// platform's.
#include "Platform/Win32.h"

#include <algorithm>
#include <iterator>

namespace {

WCHAR folder[1548];
WCHAR gamePath[1548];
WCHAR updaterPath[1548];

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int)
{
    STARTUPINFOW startupInfo = {};
    startupInfo.cb = sizeof(startupInfo);
    PROCESS_INFORMATION processInformation = {};

    SetErrorMode(SEM_FAILCRITICALERRORS);
    SetLastError(0);
    LPWSTR commandLine = GetCommandLineW();
    GetModuleFileNameW(nullptr, folder, 772);
    PathRemoveFileSpecW(folder);
    SetCurrentDirectoryW(folder);
    std::copy(std::begin(folder), std::end(folder), gamePath);
    PathAppendW(gamePath, WIDE("Data\\Base\\_Dbg\\Bin\\Release\\BrenvaultR.exe"));
    std::copy(std::begin(folder), std::end(folder), updaterPath);
    PathAppendW(updaterPath, WIDE("Support\\Base\\GameUpdate\\BrenvaultGameUpdate.exe"));
    SetErrorMode(0);
    CreateProcessW(gamePath, commandLine, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startupInfo,
                   &processInformation);
    SetErrorMode(SEM_FAILCRITICALERRORS);
    return 0;
}
