// The headers of program files in the platform's format, as they lie in the file and in memory.
#pragma once

#include "Platform/Host/Api/Types.h"

constexpr WORD IMAGE_DOS_SIGNATURE = 0x5A4D; // "MZ"

struct IMAGE_DOS_HEADER {
    WORD e_magic; // IMAGE_DOS_SIGNATURE
    WORD e_cblp;
    WORD e_cp;
    WORD e_crlc;
    WORD e_cparhdr;
    WORD e_minalloc;
    WORD e_maxalloc;
    WORD e_ss;
    WORD e_sp;
    WORD e_csum;
    WORD e_ip;
    WORD e_cs;
    WORD e_lfarlc;
    WORD e_ovno;
    WORD e_res[4];
    WORD e_oemid;
    WORD e_oeminfo;
    WORD e_res2[10];
    LONG e_lfanew; // where the signature "PE" lies and, 4 bytes on, the IMAGE_FILE_HEADER
};
static_assert(sizeof(IMAGE_DOS_HEADER) == 64);

struct IMAGE_FILE_HEADER {
    WORD Machine;
    WORD NumberOfSections;
    DWORD TimeDateStamp; // seconds since 1970-01-01 UTC, or whatever the linker put there
    DWORD PointerToSymbolTable;
    DWORD NumberOfSymbols;
    WORD SizeOfOptionalHeader;
    WORD Characteristics;
};
static_assert(sizeof(IMAGE_FILE_HEADER) == 20);
