// Threads of this process.
#pragma once

#include "Platform/Host/Api/Processes.h"
#include "Platform/Host/Api/Types.h"

void WINAPI Sleep(DWORD milliseconds);

using LPTHREAD_START_ROUTINE = DWORD(WINAPI*)(LPVOID parameter);

// Null: failed. The handle is signalled when the thread has ended. The stack size is the host's own; flags
// are refused, for nothing uses them.
HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES securityAttributes, SIZE_T stackSize,
                           LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags, LPDWORD threadId);
