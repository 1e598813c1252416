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

#define CRASH_CASE_NAMES(NAME)                                                                               \
    NAME(ABORT)                                                                                              \
    NAME(BAD_CONTEXT)                                                                                        \
    NAME(BAD_JUMP)                                                                                           \
    NAME(DAMAGED_HEAP)                                                                                       \
    NAME(DBGHELP_FAULTING)                                                                                   \
    NAME(DBGHELP_MISSING)                                                                                    \
    NAME(FLOAT_DIVISION)                                                                                     \
    NAME(FULL_DISK)                                                                                          \
    NAME(HEAP_TRAPPED)                                                                                       \
    NAME(ILLEGAL_INSTRUCTION)                                                                                \
    NAME(INTEGER_DIVISION)                                                                                   \
    NAME(INVALID_PARAMETER)                                                                                  \
    NAME(PURE_CALL)                                                                                          \
    NAME(READ_VIOLATION)                                                                                     \
    NAME(SECOND_THREAD)                                                                                      \
    NAME(STACK_OVERFLOW)                                                                                     \
    NAME(TWO_THREADS)                                                                                        \
    NAME(UNCAUGHT_EXCEPTION)                                                                                 \
    NAME(WRITE_VIOLATION)

#define CRASH_CASE_DECLARATION(name) extern const CrashCase name;
CRASH_CASE_NAMES(CRASH_CASE_DECLARATION)
#undef CRASH_CASE_DECLARATION

#define CRASH_CASE_ADDRESS(name) &name,
inline constexpr const CrashCase* CRASH_CASES[] = {CRASH_CASE_NAMES(CRASH_CASE_ADDRESS)};
#undef CRASH_CASE_ADDRESS
