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

// INVALID_HANDLE_VALUE: failed, and an existing file is as it was. On success the last error is
// ERROR_ALREADY_EXISTS where CREATE_ALWAYS or OPEN_ALWAYS found the file, else ERROR_SUCCESS. Security,
// template and the two hints of how it will be read are ignored.
HANDLE WINAPI CreateFileW(LPCWSTR fileName, DWORD access, DWORD shareMode,
                          LPSECURITY_ATTRIBUTES securityAttributes, DWORD disposition,
                          DWORD flagsAndAttributes, HANDLE templateFile);

// Both work at the handle's position, which moves on. `done` tells how much, also after a failure. Reading
// behind the end gives 0 bytes and succeeds.
BOOL WINAPI ReadFile(HANDLE file, LPVOID bytes, DWORD byteCount, LPDWORD done, LPOVERLAPPED overlapped);
BOOL WINAPI WriteFile(HANDLE file, LPCVOID bytes, DWORD byteCount, LPDWORD done, LPOVERLAPPED overlapped);

// Without a high part the distance is the low one with its sign, and the new position has to fit into 32
// bits. Fails with INVALID_SET_FILE_POINTER, the position and the high part being as they were; where that is
// the low part of the position, the last error is ERROR_SUCCESS. It may lie behind the end.
DWORD WINAPI SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD method);

// Puts the end where the position is.
BOOL WINAPI SetEndOfFile(HANDLE file);

// Fails with INVALID_FILE_SIZE; where that is the low part of the size, the last error is ERROR_SUCCESS.
DWORD WINAPI GetFileSize(HANDLE file, LPDWORD sizeHigh);

// A null time is not asked for, or stays, as it does where it is 0. The time of creation is shown as that of
// the last write and cannot be set.
BOOL WINAPI GetFileTime(HANDLE file, LPFILETIME creation, LPFILETIME lastAccess, LPFILETIME lastWrite);
BOOL WINAPI SetFileTime(HANDLE file, const FILETIME* creation, const FILETIME* lastAccess,
                        const FILETIME* lastWrite);

// ERROR_SHARING_VIOLATION while a handle has access to the file, whatever it shares.
BOOL WINAPI DeleteFileW(LPCWSTR fileName);
BOOL WINAPI CreateDirectoryW(LPCWSTR pathName, LPSECURITY_ATTRIBUTES securityAttributes);
BOOL WINAPI RemoveDirectoryW(LPCWSTR pathName);

// The last part of the name may have wildcards; Platform/Host/Wildcards.h has their rules. The names come in
// order, "." and ".." first, which a drive's root does not have. INVALID_HANDLE_VALUE: nothing was found.
// ERROR_NO_MORE_FILES ends a search, `found` being what it was; its handle is given up with FindClose.
HANDLE WINAPI FindFirstFileW(LPCWSTR fileName, LPWIN32_FIND_DATAW found);
BOOL WINAPI FindNextFileW(HANDLE search, LPWIN32_FIND_DATAW found);
BOOL WINAPI FindClose(HANDLE search);
