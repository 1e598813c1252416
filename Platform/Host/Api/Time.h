// The time of day.
#pragma once

#include "Platform/Host/Api/Types.h"

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

void WINAPI GetLocalTime(LPSYSTEMTIME time);
