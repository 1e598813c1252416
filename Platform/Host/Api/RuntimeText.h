// The runtime's text functions that the host's own library lacks, in the "C" locale: only 'A' to 'Z' and 'a'
// to 'z' have a case.
#pragma once

#include "Platform/Host/Api/Types.h"

// Below 0, 0 or above 0, like strcmp, with all letters taken as lower case.
int _stricmp(const char* a, const char* b);
int _strnicmp(const char* a, const char* b, std::size_t count);

// 0; EINVAL for a null text, and for one without an end within `size`, which becomes the empty text.
int _strlwr_s(char* text, std::size_t size);
int _wcslwr_s(LPWSTR text, std::size_t size);

std::size_t wcslen(LPCWSTR text);
