// Threads of this process, and what keeps them apart.
#pragma once

#include "Platform/Host/Api/Faults.h"
#include "Platform/Host/Api/Processes.h"
#include "Platform/Host/Api/Types.h"

void WINAPI Sleep(DWORD milliseconds);

using LPTHREAD_START_ROUTINE = DWORD(WINAPI*)(LPVOID parameter);

// Null: failed. The handle is signalled when the thread has ended. The stack size is the host's own; flags
// are refused, for nothing uses them.
HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES securityAttributes, SIZE_T stackSize,
                           LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags, LPDWORD threadId);

// A stand-in for the calling thread, valid in each of them; DuplicateHandle makes a real handle of it.
HANDLE WINAPI GetCurrentThread();
DWORD WINAPI GetCurrentThreadId();

BOOL WINAPI GetExitCodeThread(HANDLE thread, LPDWORD exitCode);

// How often the thread was suspended before; 0xFFFFFFFF: failed. It stands still when this returns.
DWORD WINAPI SuspendThread(HANDLE thread);
DWORD WINAPI ResumeThread(HANDLE thread);

// Of a thread that is suspended: what the flags in the context ask for.
BOOL WINAPI GetThreadContext(HANDLE thread, LPCONTEXT context);

// A lock that its owner may take again.
struct CRITICAL_SECTION {
    alignas(void*) char state[64];
};
using LPCRITICAL_SECTION = CRITICAL_SECTION*;

void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section);
void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section);
void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section);
