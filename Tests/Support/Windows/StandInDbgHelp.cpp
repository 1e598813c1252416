// A debug-help library that starts and does no more.
#include "Platform/Win32.h"

extern "C" {

void NotCalled()
{
    __builtin_trap();
}

DWORD WINAPI GetOptions()
{
    return 0;
}

DWORD WINAPI SetOptions(DWORD options)
{
    return options;
}

BOOL WINAPI Initialize(HANDLE, const void*, BOOL)
{
    return TRUE;
}
}
