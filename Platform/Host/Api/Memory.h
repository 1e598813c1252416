// The machine's memory.
#pragma once

#include "Platform/Host/Api/Types.h"

// Bytes, but for the load, which is the used part of the physical memory in percent.
struct MEMORYSTATUS {
    DWORD dwLength;
    DWORD dwMemoryLoad;
    SIZE_T dwTotalPhys;
    SIZE_T dwAvailPhys;
    SIZE_T dwTotalPageFile;
    SIZE_T dwAvailPageFile;
    SIZE_T dwTotalVirtual;
    SIZE_T dwAvailVirtual;
};
using LPMEMORYSTATUS = MEMORYSTATUS*;

// The page file is what the system can hand out in all, physical memory included. Takes no heap memory.
void WINAPI GlobalMemoryStatus(LPMEMORYSTATUS status);
