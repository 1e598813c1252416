// The platform's basic types, at their real widths.
#pragma once

#include <cstddef>
#include <cstdint>

#define WINAPI
#define WINAPIV
#define WIDE(text) u##text

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using LONG = std::int32_t;
using SIZE_T = std::size_t;
using DWORD_PTR = std::uintptr_t;
using WCHAR = char16_t;

using LPVOID = void*;
using LPCVOID = const void*;
using LPBYTE = BYTE*;
using LPBOOL = BOOL*;
using LPDWORD = DWORD*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using LPCCH = const char*;
using LPCWCH = const WCHAR*;

using HANDLE = void*;
using HINSTANCE = struct HINSTANCE__*;
using HMODULE = HINSTANCE;
using HWND = struct HWND__*;

constexpr BOOL FALSE = 0;
constexpr BOOL TRUE = 1;
constexpr std::size_t MAX_PATH = 260;

static_assert(sizeof(WCHAR) == 2 && sizeof(DWORD) == 4 && sizeof(LONG) == 4);
