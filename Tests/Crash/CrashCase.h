// The ways in which a program ends without having chosen to, one a source in Faults/: what does it, and what
// is seen of it then.
#pragma once

#include "Platform/Win32.h"

inline constexpr DWORD RETURNED = 7;               // the Crasher's exit code when nothing ended it
inline constexpr DWORD ANY_EXIT_CODE = 0xFFFFFFFF; // but that one

enum class CrashLog { EMPTY, OTHER, REPORT };
enum class CrashDump { NONE, ANY, VALID };

struct CrashCase {
    const char* word;         // names it
    void (*crash)();          // with the diagnostics on
    const char* logPath = ""; // for InitDiagnostics

    DWORD exitCode = EXCEPTION_ACCESS_VIOLATION; // on Windows
    int signal = 11;                             // that ends it on the host; 0: the exit code is Windows' one

    CrashLog log = CrashLog::REPORT;
    DWORD code = EXCEPTION_ACCESS_VIOLATION;
    const char* phrase = "an access violation";
    const char* bytes = "";      // the first ones at the fault, as the report has them
    const char* frame = nullptr; // a function on its stack; null: nothing is known of the stack
    const char* says[4] = {};    // parts of the log or of a message box; on the host, of standard error
    CrashDump dump = CrashDump::VALID;
};

// For the log: which thread this is and where its stack lies.
void AnnounceThread();

// Of WriteViolation.cpp, for whatever has to happen at a fault.
void WriteToNowhere();

extern const CrashCase ABORT;
extern const CrashCase BAD_CONTEXT;
extern const CrashCase BAD_JUMP;
extern const CrashCase DAMAGED_HEAP;
extern const CrashCase DBGHELP_FAULTING;
extern const CrashCase DBGHELP_MISSING;
extern const CrashCase FLOAT_DIVISION;
extern const CrashCase FULL_DISK;
extern const CrashCase HEAP_TRAPPED;
extern const CrashCase ILLEGAL_INSTRUCTION;
extern const CrashCase INTEGER_DIVISION;
extern const CrashCase INVALID_PARAMETER;
extern const CrashCase PURE_CALL;
extern const CrashCase READ_VIOLATION;
extern const CrashCase SECOND_THREAD;
extern const CrashCase STACK_OVERFLOW;
extern const CrashCase TWO_THREADS;
extern const CrashCase UNCAUGHT_EXCEPTION;
extern const CrashCase WRITE_VIOLATION;

inline constexpr const CrashCase* CRASH_CASES[] = {
    &ABORT,
    &BAD_CONTEXT,
    &BAD_JUMP,
    &DAMAGED_HEAP,
    &DBGHELP_FAULTING,
    &DBGHELP_MISSING,
    &FLOAT_DIVISION,
    &FULL_DISK,
    &HEAP_TRAPPED,
    &ILLEGAL_INSTRUCTION,
    &INTEGER_DIVISION,
    &INVALID_PARAMETER,
    &PURE_CALL,
    &READ_VIOLATION,
    &SECOND_THREAD,
    &STACK_OVERFLOW,
    &TWO_THREADS,
    &UNCAUGHT_EXCEPTION,
    &WRITE_VIOLATION,
};
