// The machine's memory, and the regions of the process's own.
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

constexpr DWORD PAGE_NOACCESS = 0x01;
constexpr DWORD PAGE_READONLY = 0x02;
constexpr DWORD PAGE_READWRITE = 0x04;
constexpr DWORD PAGE_EXECUTE_READ = 0x20;
constexpr DWORD PAGE_EXECUTE_READWRITE = 0x40;
constexpr DWORD MEM_COMMIT = 0x00001000;
constexpr DWORD MEM_FREE = 0x00010000;
constexpr DWORD MEM_PRIVATE = 0x00020000; // all that is no module's
constexpr DWORD MEM_IMAGE = 0x01000000;

// Pages that lie together and are alike.
struct MEMORY_BASIC_INFORMATION {
    LPVOID BaseAddress;
    LPVOID AllocationBase; // in a module its handle, else the region's start; null for free pages
    DWORD AllocationProtect;
    SIZE_T RegionSize; // of the pages from BaseAddress on
    DWORD State;
    DWORD Protect;
    DWORD Type;
};
using PMEMORY_BASIC_INFORMATION = MEMORY_BASIC_INFORMATION*;

// The region around the address. Gives the structure's size, or 0: the length is smaller than that
// (ERROR_BAD_LENGTH), or no page of the process can lie there (ERROR_INVALID_PARAMETER). Takes no heap
// memory.
SIZE_T WINAPI VirtualQuery(LPCVOID address, PMEMORY_BASIC_INFORMATION information, SIZE_T length);
