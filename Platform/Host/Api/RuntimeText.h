// The runtime's text functions that the host's own library lacks or has otherwise, in the "C" locale: only
// 'A' to 'Z' and 'a' to 'z' have a case.
#pragma once

#include "Platform/Host/Api/Types.h"
#include "Platform/Host/GateFlag.h"

#include <stdlib.h> // NOLINT(modernize-deprecated-headers): all that names atof has to come before it is renamed

// Below 0, 0 or above 0, like strcmp, with all letters taken as lower case. The process stays in the "C"
// locale, so the host's own functions do it; they are here because a call in between costs as much as a short
// comparison.
inline int _stricmp(const char* a, const char* b)
{
    Platform::Host::GateSees("_stricmp");
    return __builtin_strcasecmp(a, b);
}

inline int _strnicmp(const char* a, const char* b, std::size_t count)
{
    Platform::Host::GateSees("_strnicmp");
    return __builtin_strncasecmp(a, b, count);
}

// 0; EINVAL for a null text, and for one without an end within `size`, which becomes the empty text.
int _strlwr_s(char* text, std::size_t size);
int _wcslwr_s(LPWSTR text, std::size_t size);

std::size_t wcslen(LPCWSTR text);

// Below 0, 0 or above 0. wcscmp goes by the units, _wcsicmp by them with all letters taken as lower case.
int wcscmp(LPCWSTR a, LPCWSTR b);
int _wcsicmp(LPCWSTR a, LPCWSTR b);

// atof as the platform's runtime has it: what begins like a decimal number, else 0. The host's own reads
// "inf", "nan" and hexadecimals too, and may be inlined, so that another definition would not always be the
// one used.
double DecimalAtof(const char* text);
#define atof DecimalAtof
