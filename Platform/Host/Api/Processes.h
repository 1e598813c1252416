// Processes: the command line and environment of this one, starting others and waiting for them.
//
// CreateProcessW starts any program of the host. One built on this layer gets its command line to the letter;
// any other gets the arguments that the platform's own rules cut it into.
#pragma once

#include "Platform/Host/Api/Types.h"

constexpr DWORD CREATE_UNICODE_ENVIRONMENT = 0x00000400;
constexpr DWORD INFINITE = 0xFFFFFFFF;
constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD WAIT_TIMEOUT = 258;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
constexpr DWORD STILL_ACTIVE = 259;

struct SECURITY_ATTRIBUTES;
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

struct STARTUPINFOW {
    DWORD cb;
    LPWSTR lpReserved;
    LPWSTR lpDesktop;
    LPWSTR lpTitle;
    DWORD dwX;
    DWORD dwY;
    DWORD dwXSize;
    DWORD dwYSize;
    DWORD dwXCountChars;
    DWORD dwYCountChars;
    DWORD dwFillAttribute;
    DWORD dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    LPBYTE lpReserved2;
    HANDLE hStdInput;
    HANDLE hStdOutput;
    HANDLE hStdError;
};
using LPSTARTUPINFOW = STARTUPINFOW*;

struct PROCESS_INFORMATION {
    HANDLE hProcess;
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
};
using LPPROCESS_INFORMATION = PROCESS_INFORMATION*;

LPWSTR WINAPI GetCommandLineW();
DWORD WINAPI GetCurrentProcessId();
HANDLE WINAPI GetCurrentProcess(); // a stand-in; DuplicateHandle makes a real handle of it

// The block is a copy, owned by the caller and given back with FreeEnvironmentStringsW.
LPWSTR WINAPI GetEnvironmentStringsW();
BOOL WINAPI FreeEnvironmentStringsW(LPWSTR block);

// Needs an application name and startup information that asks for nothing. Security attributes are ignored,
// and of the flags only CREATE_UNICODE_ENVIRONMENT is known.
BOOL WINAPI CreateProcessW(LPCWSTR applicationName, LPWSTR commandLine,
                           LPSECURITY_ATTRIBUTES processAttributes, LPSECURITY_ATTRIBUTES threadAttributes,
                           BOOL inheritHandles, DWORD creationFlags, LPVOID environment,
                           LPCWSTR currentDirectory, LPSTARTUPINFOW startupInfo,
                           LPPROCESS_INFORMATION processInformation);

BOOL WINAPI GetExitCodeProcess(HANDLE process, LPDWORD exitCode);
BOOL WINAPI TerminateProcess(HANDLE process, UINT exitCode);
DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds);
BOOL WINAPI CloseHandle(HANDLE object);

constexpr DWORD DUPLICATE_SAME_ACCESS = 0x00000002;

// Within this process, with the same access.
BOOL WINAPI DuplicateHandle(HANDLE sourceProcess, HANDLE source, HANDLE targetProcess, HANDLE* target,
                            DWORD access, BOOL inherit, DWORD options);

// The program's entry; the layer's own main calls it.
int WINAPI WinMain(HINSTANCE instance, HINSTANCE previousInstance, LPSTR commandLine, int showCommand);
