// Loaded modules. Paths are known of the program itself alone: every handle but null is ERROR_MOD_NOT_FOUND.
// The one library that can be loaded is the layer's own "DbgHelp.dll".
#pragma once

#include "Platform/Host/Api/Types.h"

// Gives the characters written, without the terminator. A path that does not fit is cut to size - 1
// characters and a terminator; the result is then `size` and the last error ERROR_INSUFFICIENT_BUFFER, else
// ERROR_SUCCESS. 0: failed.
DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size);
DWORD WINAPI GetModuleFileNameA(HMODULE module, LPSTR fileName, DWORD size); // in UTF-8

HMODULE WINAPI LoadLibraryW(LPCWSTR fileName); // letter case does not count
BOOL WINAPI FreeLibrary(HMODULE module);

using FARPROC = int(WINAPI*)();
// Null: ERROR_PROC_NOT_FOUND, or ERROR_MOD_NOT_FOUND where the module is none.
FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);
