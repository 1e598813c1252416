// Loaded modules. Only the program itself is known: every handle but null is ERROR_MOD_NOT_FOUND.
#pragma once

#include "Platform/Host/Api/Types.h"

// Gives the characters written, without the terminator. A path that does not fit is cut to size - 1
// characters and a terminator; the result is then `size` and the last error ERROR_INSUFFICIENT_BUFFER, else
// ERROR_SUCCESS. 0: failed.
DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size);
