// Files and folders.
#pragma once

#include "Platform/Host/Api/Processes.h"
#include "Platform/Host/Api/Time.h"
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

constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x00000001;
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x00000010;
constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x00000020;
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x00000080;

constexpr DWORD FILE_FLAG_WRITE_THROUGH = 0x80000000;
constexpr DWORD FILE_FLAG_RANDOM_ACCESS = 0x10000000;
constexpr DWORD FILE_FLAG_SEQUENTIAL_SCAN = 0x08000000;

constexpr DWORD FILE_BEGIN = 0;
constexpr DWORD FILE_CURRENT = 1;
constexpr DWORD FILE_END = 2;

constexpr DWORD INVALID_FILE_SIZE = 0xFFFFFFFF;
constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFF;

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(~std::uintptr_t{0}))

struct OVERLAPPED;
using LPOVERLAPPED = OVERLAPPED*;

struct WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    WCHAR cFileName[MAX_PATH];
    WCHAR cAlternateFileName[14];
};
using LPWIN32_FIND_DATAW = WIN32_FIND_DATAW*;

static_assert(sizeof(WIN32_FIND_DATAW) == 592);

// INVALID_HANDLE_VALUE: failed. On success the last error is ERROR_ALREADY_EXISTS where CREATE_ALWAYS or
// OPEN_ALWAYS found the file, else ERROR_SUCCESS. Security and template are ignored.
HANDLE WINAPI CreateFileW(LPCWSTR fileName, DWORD access, DWORD shareMode,
                          LPSECURITY_ATTRIBUTES securityAttributes, DWORD disposition,
                          DWORD flagsAndAttributes, HANDLE templateFile);

// Both work at the handle's position, which moves on. `done` tells how much, also after a failure. Reading
// behind the end gives 0 bytes and succeeds.
BOOL WINAPI ReadFile(HANDLE file, LPVOID bytes, DWORD byteCount, LPDWORD done, LPOVERLAPPED overlapped);
BOOL WINAPI WriteFile(HANDLE file, LPCVOID bytes, DWORD byteCount, LPDWORD done, LPOVERLAPPED overlapped);

DWORD WINAPI SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD method);
BOOL WINAPI SetEndOfFile(HANDLE file);
DWORD WINAPI GetFileSize(HANDLE file, LPDWORD sizeHigh);

// A null time is not asked for, or stays.
BOOL WINAPI GetFileTime(HANDLE file, LPFILETIME creation, LPFILETIME lastAccess, LPFILETIME lastWrite);
BOOL WINAPI SetFileTime(HANDLE file, const FILETIME* creation, const FILETIME* lastAccess,
                        const FILETIME* lastWrite);

BOOL WINAPI DeleteFileW(LPCWSTR fileName);
BOOL WINAPI CreateDirectoryW(LPCWSTR pathName, LPSECURITY_ATTRIBUTES securityAttributes);
BOOL WINAPI RemoveDirectoryW(LPCWSTR pathName);

// A search gives the names in order, "." and ".." first. INVALID_HANDLE_VALUE: nothing was found. A search
// ends with FindClose.
HANDLE WINAPI FindFirstFileW(LPCWSTR fileName, LPWIN32_FIND_DATAW found);
BOOL WINAPI FindNextFileW(HANDLE search, LPWIN32_FIND_DATAW found);
BOOL WINAPI FindClose(HANDLE search);
