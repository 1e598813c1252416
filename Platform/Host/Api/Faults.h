// Faults as records, the processor's state at one, and who is asked about those that nothing guards. The
// registers have their 32-bit names and the host's width; a processor without such a register leaves it 0.
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
using LPEXCEPTION_POINTERS = EXCEPTION_POINTERS*;

constexpr DWORD EXCEPTION_DATATYPE_MISALIGNMENT = 0x80000002;
constexpr DWORD EXCEPTION_BREAKPOINT = 0x80000003;
constexpr DWORD EXCEPTION_SINGLE_STEP = 0x80000004;
constexpr DWORD EXCEPTION_ACCESS_VIOLATION =
    0xC0000005;                                       // parameters: 0 read, 1 write, 8 execute; the address
constexpr DWORD EXCEPTION_IN_PAGE_ERROR = 0xC0000006; // the same parameters
constexpr DWORD EXCEPTION_ILLEGAL_INSTRUCTION = 0xC000001D;
constexpr DWORD EXCEPTION_ARRAY_BOUNDS_EXCEEDED = 0xC000008C;
constexpr DWORD EXCEPTION_FLT_DIVIDE_BY_ZERO = 0xC000008E;
constexpr DWORD EXCEPTION_FLT_INEXACT_RESULT = 0xC000008F;
constexpr DWORD EXCEPTION_FLT_INVALID_OPERATION = 0xC0000090;
constexpr DWORD EXCEPTION_FLT_OVERFLOW = 0xC0000091;
constexpr DWORD EXCEPTION_FLT_UNDERFLOW = 0xC0000093;
constexpr DWORD EXCEPTION_INT_DIVIDE_BY_ZERO = 0xC0000094;
constexpr DWORD EXCEPTION_INT_OVERFLOW = 0xC0000095;
constexpr DWORD EXCEPTION_PRIV_INSTRUCTION = 0xC0000096;
constexpr DWORD EXCEPTION_STACK_OVERFLOW = 0xC00000FD; // the same parameters

constexpr LONG EXCEPTION_CONTINUE_SEARCH = 0;

// Asked on the thread with the fault, on a large stack of its own; the record and the context hold until it
// returns. What it returns does not count: the fault then goes to whoever had the signal before, by default
// the system, which ends the process.
using LPTOP_LEVEL_EXCEPTION_FILTER = LONG(WINAPI*)(LPEXCEPTION_POINTERS exception);

// Asks `filter` about every fault from now on that no guard stops; null: nobody. Gives the one of before.
LPTOP_LEVEL_EXCEPTION_FILTER WINAPI SetUnhandledExceptionFilter(LPTOP_LEVEL_EXCEPTION_FILTER filter);
