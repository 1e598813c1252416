// The platform's own headers, without the parts of them that get in the way.
#pragma once

#ifndef UNICODE
#define UNICODE
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif

#include <windows.h>

#include <cpuid.h>
#include <dbghelp.h>
#include <float.h>
#include <psapi.h>
#include <shlwapi.h>
#include <stdio.h>
#include <time.h>
#include <tlhelp32.h>
#include <wchar.h>

#define WIDE(text) L##text

// The runtime's math.h hides it when it is read before windows.h, as the standard library does.
extern "C" __declspec(dllimport) int __cdecl _set_SSE2_enable(int flag);
