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

#include <dbghelp.h>
#include <psapi.h>
#include <shlwapi.h>
#include <stdio.h>
#include <wchar.h>

#define WIDE(text) L##text
