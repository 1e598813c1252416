// Loaded modules: the program and the host's shared libraries. A module's handle is its base address, null
// the program's. Three libraries are the layer's own and no files: "Kernel32.dll" and the runtime,
// "msvcrt.dll", which are there from the start, and "DbgHelp.dll", the one that can be loaded.
#pragma once

#include "Platform/Host/Api/Types.h"

// Gives the characters written, without the terminator. A path that does not fit is cut to size - 1
// characters and a terminator; the result is then `size` and the last error ERROR_INSUFFICIENT_BUFFER, else
// ERROR_SUCCESS. 0: failed.
DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size);
DWORD WINAPI GetModuleFileNameA(HMODULE module, LPSTR fileName, DWORD size); // in UTF-8

// By the name of its file or the whole path; letter case does not count. Null: the program. A module that is
// no file, as the host has one in each process, is not found and not listed.
HMODULE WINAPI GetModuleHandleW(LPCWSTR fileName);

HMODULE WINAPI LoadLibraryW(LPCWSTR fileName); // also gives what is there already
BOOL WINAPI FreeLibrary(HMODULE module);       // nothing is unloaded

using FARPROC = int(WINAPI*)();
// Functions of the layer's own libraries alone. Null: ERROR_PROC_NOT_FOUND, or ERROR_MOD_NOT_FOUND where the
// module is none.
FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);

constexpr DWORD TH32CS_SNAPMODULE = 0x00000008;
constexpr std::size_t MAX_MODULE_NAME32 = 255;

struct MODULEENTRY32W {
    DWORD dwSize; // set before the first call, else ERROR_INSUFFICIENT_BUFFER
    DWORD th32ModuleID;
    DWORD th32ProcessID;
    DWORD GlblcntUsage;
    DWORD ProccntUsage;
    LPBYTE modBaseAddr;
    DWORD modBaseSize;
    HMODULE hModule;
    WCHAR szModule[MAX_MODULE_NAME32 + 1]; // cut to what fits, as is the path
    WCHAR szExePath[MAX_PATH];
};
using LPMODULEENTRY32W = MODULEENTRY32W*;

// The modules of this process at this moment; processId 0 is its own as well. INVALID_HANDLE_VALUE: failed.
HANDLE WINAPI CreateToolhelp32Snapshot(DWORD flags, DWORD processId);
BOOL WINAPI Module32FirstW(HANDLE snapshot, LPMODULEENTRY32W entry); // the program
BOOL WINAPI Module32NextW(HANDLE snapshot, LPMODULEENTRY32W entry);  // ERROR_NO_MORE_FILES behind the last
