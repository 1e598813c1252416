// Files.
#pragma once

#include "Platform/Host/Api/Processes.h"
#include "Platform/Host/Api/Types.h"

constexpr DWORD GENERIC_READ = 0x80000000;
constexpr DWORD GENERIC_WRITE = 0x40000000;

constexpr DWORD FILE_SHARE_READ = 0x00000001;
constexpr DWORD FILE_SHARE_WRITE = 0x00000002;

constexpr DWORD CREATE_NEW = 1;
constexpr DWORD CREATE_ALWAYS = 2;
constexpr DWORD OPEN_EXISTING = 3;
constexpr DWORD OPEN_ALWAYS = 4;
constexpr DWORD TRUNCATE_EXISTING = 5;

constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x00000080;

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(~std::uintptr_t{0}))

struct OVERLAPPED;
using LPOVERLAPPED = OVERLAPPED*;

// INVALID_HANDLE_VALUE: failed. On success the last error is ERROR_ALREADY_EXISTS where CREATE_ALWAYS or
// OPEN_ALWAYS found the file, else ERROR_SUCCESS. Share modes, attributes and security are ignored.
HANDLE WINAPI CreateFileW(LPCWSTR fileName, DWORD access, DWORD shareMode,
                          LPSECURITY_ATTRIBUTES securityAttributes, DWORD disposition,
                          DWORD flagsAndAttributes, HANDLE templateFile);

// Writes at the handle's position, which moves on. `written` tells how much, also after a failure.
BOOL WINAPI WriteFile(HANDLE file, LPCVOID bytes, DWORD byteCount, LPDWORD written, LPOVERLAPPED overlapped);
