// Version resources of program files.
#pragma once

#include "Platform/Host/Api/Types.h"

// The part of a version resource that is no text. Each version is four numbers of 16 bits.
struct VS_FIXEDFILEINFO {
    DWORD dwSignature; // VS_FFI_SIGNATURE
    DWORD dwStrucVersion;
    DWORD dwFileVersionMS;
    DWORD dwFileVersionLS;
    DWORD dwProductVersionMS;
    DWORD dwProductVersionLS;
    DWORD dwFileFlagsMask;
    DWORD dwFileFlags;
    DWORD dwFileOS;
    DWORD dwFileType;
    DWORD dwFileSubtype;
    DWORD dwFileDateMS;
    DWORD dwFileDateLS;
};
static_assert(sizeof(VS_FIXEDFILEINFO) == 52);

constexpr DWORD VS_FFI_SIGNATURE = 0xFEEF04BD;

// The bytes that GetFileVersionInfoW needs for all of the file's version resource, in the first of its
// languages; 0: it has none that can be read (ERROR_RESOURCE_DATA_NOT_FOUND), or the file cannot be opened.
// `handle` may be null and becomes 0.
DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR path, LPDWORD handle);

// At most `size` bytes of the file's version resource, 2 at least.
BOOL WINAPI GetFileVersionInfoW(LPCWSTR path, DWORD handle, DWORD size, LPVOID block);

// Of what GetFileVersionInfoW gave, the part `\`, the VS_FIXEDFILEINFO: `value` points into the block,
// `length` is its size in bytes. Other parts, and one that the block had no room for, are
// ERROR_RESOURCE_TYPE_NOT_FOUND: `length` is then 0 and `value` what it was.
BOOL WINAPI VerQueryValueW(LPCVOID block, LPCWSTR part, LPVOID* value, UINT* length);
