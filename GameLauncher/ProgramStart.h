// The start of another program, which outlives the launcher.
#pragma once

#include "Platform/Win32.h"

// Starts the program of that path with the launcher's environment and current directory, without its
// handles. A null command line gives it none of the launcher's. The last error becomes what the platform had
// after the attempt, also after one that succeeded. The error mode is SEM_FAILCRITICALERRORS afterwards.
bool StartProgram(LPCWSTR path, LPWSTR commandLine, DWORD& lastError);
