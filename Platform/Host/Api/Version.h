// The system's version.
#pragma once

#include "Platform/Host/Api/Types.h"

struct OSVERSIONINFOEXW {
    DWORD dwOSVersionInfoSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    WCHAR szCSDVersion[128];
    WORD wServicePackMajor;
    WORD wServicePackMinor;
    WORD wSuiteMask;
    BYTE wProductType;
    BYTE wReserved;
};
// The function takes the longer form by its size field, under the shorter one's name.
using OSVERSIONINFOW = OSVERSIONINFOEXW;
using LPOSVERSIONINFOW = OSVERSIONINFOEXW*;

BOOL WINAPI GetVersionExW(LPOSVERSIONINFOW information);
