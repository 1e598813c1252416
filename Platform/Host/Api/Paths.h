// The current directory and the shell's path functions.
//
// The host shows its root folder as drive Z:; Platform/Host/Drives.h adds others.
#pragma once

#include "Platform/Host/Api/Types.h"

DWORD WINAPI GetCurrentDirectoryW(DWORD bufferLength, LPWSTR buffer);
BOOL WINAPI SetCurrentDirectoryW(LPCWSTR pathName);

BOOL WINAPI PathRemoveFileSpecW(LPWSTR path);
BOOL WINAPI PathAppendW(LPWSTR path, LPCWSTR more);
