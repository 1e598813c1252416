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
using LPOSVERSIONINFOW = OSVERSIONINFOW*;

constexpr DWORD VER_PLATFORM_WIN32_NT = 2;
constexpr BYTE VER_NT_WORKSTATION = 1;

// The size field has to be that of the longer form, else ERROR_INSUFFICIENT_BUFFER and nothing is written.
// 6.2, build 9200, unless a test says otherwise: what the platform shows to programs that name no newer one.
BOOL WINAPI GetVersionExW(LPOSVERSIONINFOW information);
