// Conversion between UTF-8 and UTF-16. The one code page is CP_UTF8, the one flag value 0: what is ill-formed
// becomes U+FFFD.
//
// A source length of -1 takes the terminator along. Both give the units written, or needed where the
// destination's length is 0. 0, with the last error set, is failure: ERROR_INSUFFICIENT_BUFFER leaves in the
// destination what fits.
#pragma once

#include "Platform/Host/Api/Types.h"

constexpr UINT CP_UTF8 = 65001;

int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH source, int sourceLength, LPWSTR destination,
                               int destinationLength);
int WINAPI WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH source, int sourceLength, LPSTR destination,
                               int destinationLength, LPCCH defaultChar, LPBOOL usedDefaultChar);
