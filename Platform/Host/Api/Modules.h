// Loaded modules. Only the program itself is known: every handle but null is ERROR_MOD_NOT_FOUND.
#pragma once

#include "Platform/Host/Api/Types.h"

DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size);
