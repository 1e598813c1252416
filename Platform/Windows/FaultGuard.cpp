// The compiler has no __try for this target. A guard is a registration record of its own on the thread's
// chain of exception handlers, which begins at fs:[0], and a jump back to where it was linked.
//
// A vectored handler would not do: it sees faults first, also those that inner code handles itself, as
// OutputDebugStringA and IsBadReadPtr do.
#include "Platform/Win32.h"

namespace Platform {

namespace {

struct GuardRecord;

using Handler = EXCEPTION_DISPOSITION (*)(EXCEPTION_RECORD*, GuardRecord*, CONTEXT*, void*);

struct GuardRecord {
    GuardRecord* next; // these two are the system's own layout of a record
    Handler handler;
    void* place[5]; // of __builtin_setjmp
};

// The clobbered memory keeps the compiler from dropping a record that nothing of its own ever reads.
void SetChain(GuardRecord* record)
{
    asm volatile("movl %0, %%fs:0" : : "r"(record) : "memory");
}

GuardRecord* Chain()
{
    GuardRecord* record;
    asm volatile("movl %%fs:0, %0" : "=r"(record) : : "memory");
    return record;
}

// Tells the handlers further in that they are left, and makes the record the chain's first. RtlUnwind does
// not keep ebx, esi and edi, which a compiler expects of a function.
void UnwindTo(GuardRecord* record, EXCEPTION_RECORD* exception)
{
    int lost;
    asm volatile("pushl $0\n\t"
                 "pushl %%edx\n\t"
                 "pushl $1f\n\t"
                 "pushl %%eax\n\t"
                 "call _RtlUnwind@16\n"
                 "1:"
                 : "=a"(lost), "=c"(lost), "=d"(lost)
                 : "0"(record), "2"(exception)
                 : "ebx", "esi", "edi", "memory", "cc");
}

EXCEPTION_DISPOSITION OnException(EXCEPTION_RECORD* exception, GuardRecord* record, CONTEXT* /*context*/,
                                  void* /*dispatcher*/)
{
    constexpr DWORD UNWINDING = 0x2 | 0x4; // the chain is being left, for this or for the thread's end
    if ((exception->ExceptionFlags & UNWINDING) != 0) {
        return ExceptionContinueSearch;
    }
    UnwindTo(record, exception);
    ForgetFloatingPointFault();
    asm volatile("emms"); // the code that faulted may have left values on the x87 stack
    __builtin_longjmp(record->place, 1);
}

} // namespace

// The runtime's _clearfp is not for it: Wine's begins with an instruction that faults.
void ForgetFloatingPointFault()
{
    asm volatile("fnclex");
}

bool RunGuarded(void (*function)(void*) noexcept, void* argument)
{
    GuardRecord record{Chain(), OnException, {}};
    if (__builtin_setjmp(record.place) != 0) {
        SetChain(record.next);
        return false;
    }
    SetChain(&record);
    function(argument);
    SetChain(record.next);
    return true;
}

} // namespace Platform
