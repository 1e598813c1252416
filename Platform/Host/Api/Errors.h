// The last-error value of the thread, the error mode of the process, and the error codes in use.
#pragma once

#include "Platform/Host/Api/Types.h"

constexpr DWORD ERROR_SUCCESS = 0;
constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
constexpr DWORD ERROR_ACCESS_DENIED = 5;
constexpr DWORD ERROR_INVALID_HANDLE = 6;
constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr DWORD ERROR_NO_MORE_FILES = 18;
constexpr DWORD ERROR_GEN_FAILURE = 31;
constexpr DWORD ERROR_SHARING_VIOLATION = 32;
constexpr DWORD ERROR_HANDLE_EOF = 38;
constexpr DWORD ERROR_FILE_EXISTS = 80;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_DISK_CHANGE = 107;
constexpr DWORD ERROR_DISK_FULL = 112;
constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
constexpr DWORD ERROR_INVALID_NAME = 123;
constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
constexpr DWORD ERROR_SIGNAL_REFUSED = 156;
constexpr DWORD ERROR_DISCARDED = 157;
constexpr DWORD ERROR_NOT_LOCKED = 158;
constexpr DWORD ERROR_BAD_PATHNAME = 161;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
constexpr DWORD ERROR_BAD_EXE_FORMAT = 193;
constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
constexpr DWORD ERROR_MORE_DATA = 234;
constexpr DWORD ERROR_DIRECTORY = 267;
constexpr DWORD ERROR_DELETE_PENDING = 303;
constexpr DWORD ERROR_INVALID_ADDRESS = 487;
constexpr DWORD ERROR_NOACCESS = 998;
constexpr DWORD ERROR_INVALID_FLAGS = 1004;
constexpr DWORD ERROR_BADDB = 1009;
constexpr DWORD ERROR_KEY_DELETED = 1018;
constexpr DWORD ERROR_INVALID_WINDOW_HANDLE = 1400;
constexpr DWORD ERROR_CLIPBOARD_NOT_OPEN = 1418;
constexpr DWORD ERROR_INVALID_USER_BUFFER = 1784;

constexpr UINT SEM_FAILCRITICALERRORS = 0x0001;

DWORD WINAPI GetLastError();
void WINAPI SetLastError(DWORD error);

// A process starts with the mode of the process that started it; 0 where that is no program of this layer.
UINT WINAPI GetErrorMode();
UINT WINAPI SetErrorMode(UINT mode);
