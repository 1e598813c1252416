// Faults as records, and the processor's state at one. The registers have their 32-bit names and the host's
// width; a processor without such a register leaves it 0.
#pragma once

#include "Platform/Host/Api/Types.h"

constexpr DWORD CONTEXT_CONTROL = 0x00010001; // of an x86 context: Ebp, Eip, SegCs, EFlags, Esp, SegSs
constexpr DWORD CONTEXT_INTEGER = 0x00010002;
constexpr DWORD CONTEXT_SEGMENTS = 0x00010004;
constexpr DWORD CONTEXT_FULL = CONTEXT_CONTROL | CONTEXT_INTEGER | CONTEXT_SEGMENTS;

struct CONTEXT {
    DWORD ContextFlags;
    DWORD SegGs;
    DWORD SegFs;
    DWORD SegEs;
    DWORD SegDs;
    DWORD_PTR Edi;
    DWORD_PTR Esi;
    DWORD_PTR Ebx;
    DWORD_PTR Edx;
    DWORD_PTR Ecx;
    DWORD_PTR Eax;
    DWORD_PTR Ebp;
    DWORD_PTR Eip;
    DWORD SegCs;
    DWORD EFlags;
    DWORD_PTR Esp;
    DWORD SegSs;
    DWORD_PTR Further[8]; // the host's own: R8 to R15
};
using PCONTEXT = CONTEXT*;
using LPCONTEXT = CONTEXT*;

constexpr std::size_t EXCEPTION_MAXIMUM_PARAMETERS = 15;

struct EXCEPTION_RECORD {
    DWORD ExceptionCode;
    DWORD ExceptionFlags;
    EXCEPTION_RECORD* ExceptionRecord;
    LPVOID ExceptionAddress;
    DWORD NumberParameters;
    DWORD_PTR ExceptionInformation[EXCEPTION_MAXIMUM_PARAMETERS];
};
using PEXCEPTION_RECORD = EXCEPTION_RECORD*;

struct EXCEPTION_POINTERS {
    PEXCEPTION_RECORD ExceptionRecord;
    PCONTEXT ContextRecord;
};
using PEXCEPTION_POINTERS = EXCEPTION_POINTERS*;
