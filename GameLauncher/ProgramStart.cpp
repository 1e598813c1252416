#include "GameLauncher/ProgramStart.h"

// The path is named apart from the command line, so that the platform never looks for it in there, blanks or
// not. The program inherits the error mode: it starts with the platform's default, not with the launcher's.
// Its handles stay open: the launcher ends right away and the platform closes them.
bool StartProgram(LPCWSTR path, LPWSTR commandLine, DWORD& lastError)
{
    STARTUPINFOW startupInfo = {};
    startupInfo.cb = sizeof(startupInfo);
    static_assert(sizeof(void*) != 4 || sizeof(startupInfo) == 68);
    PROCESS_INFORMATION processInformation = {};

    SetErrorMode(0);
    const BOOL created = CreateProcessW(path, commandLine, nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                        &startupInfo, &processInformation);
    lastError = GetLastError();
    SetErrorMode(SEM_FAILCRITICALERRORS);
    return created;
}
