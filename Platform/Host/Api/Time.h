// The time of day, and of files.
#pragma once

#include "Platform/Host/Api/Types.h"

#include <ctime>

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;     // 1 to 12
    WORD wDayOfWeek; // 0 for Sunday
    WORD wDay;       // 1 to 31
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
using LPSYSTEMTIME = SYSTEMTIME*;

// 100-nanosecond steps since 1601-01-01 UTC.
struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};
using LPFILETIME = FILETIME*;

void WINAPI GetLocalTime(LPSYSTEMTIME time);

using __time64_t = std::int64_t; // seconds since 1970-01-01 UTC
using errno_t = int;

// In UTC. Else than 0: the time has no fields, which are then -1 each.
errno_t _gmtime64_s(std::tm* fields, const __time64_t* time);
