#include "Platform/Host/FaultRecords.h"

#include "Platform/Host/ProcessMemory.h"
#include "Platform/Host/Regions.h"
#include "Platform/Host/Registers.h"

#include <algorithm>
#include <iterator>
#include <pthread.h>
#include <sys/auxv.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

constexpr DWORD_PTR READS = 0;
constexpr DWORD_PTR WRITES = 1;
constexpr DWORD_PTR EXECUTES = 8;
constexpr DWORD_PTR NO_ADDRESS = ~DWORD_PTR{0}; // the processor does not tell it

void SetAccess(EXCEPTION_RECORD& record, DWORD code, DWORD_PTR access, DWORD_PTR address)
{
    record.ExceptionCode = code;
    record.NumberParameters = 2;
    record.ExceptionInformation[0] = access;
    record.ExceptionInformation[1] = address;
}

DWORD_PTR AccessOf(const Trap& trap)
{
    if ((trap.error & Trap::OF_EXECUTION) != 0) {
        return EXECUTES;
    }
    return (trap.error & Trap::OF_WRITING) != 0 ? WRITES : READS;
}

// The system keeps something at the top of each thread's stack.
bool IsOwnStack(const MemoryRegion& region)
{
    const std::uintptr_t top = gettid() == getpid() ? getauxval(AT_RANDOM) : pthread_self();
    return region.start <= top && top < region.end;
}

// Below the end of the stack, or in what guards it, and so is the stack pointer: code reaches below that by
// less than a page.
bool IsStackOverflow(const CONTEXT& context, std::uintptr_t address)
{
    constexpr std::uintptr_t REACH = 4096;
    if (context.Esp == 0 || context.Esp > address + REACH) {
        return false;
    }
    std::optional<MemoryRegion> region = FindRegion(address);
    if (region.has_value() && !region->isWritten) {
        region = FindRegion(region->end);
    }
    return region.has_value() && address < region->start && IsOwnStack(*region);
}

// hlt, cli, sti; in and out with their four forms each. Others are as good as never met.
bool IsPrivileged(std::uintptr_t instruction)
{
    constexpr unsigned char FIRST_BYTES[] = {0x6C, 0x6D, 0x6E, 0x6F, 0xE4, 0xE5, 0xE6, 0xE7,
                                             0xEC, 0xED, 0xEE, 0xEF, 0xF4, 0xFA, 0xFB};
    unsigned char first = 0;
    return ReadMemory(instruction, &first, 1) == 1 &&
           std::find(std::begin(FIRST_BYTES), std::end(FIRST_BYTES), first) != std::end(FIRST_BYTES);
}

// What the processor's protection forbids: an instruction, or an address that none can be.
void DescribeProtection(EXCEPTION_RECORD& record, const CONTEXT& context)
{
    if (IsPrivileged(context.Eip)) {
        record.ExceptionCode = EXCEPTION_PRIV_INSTRUCTION;
    } else {
        SetAccess(record, EXCEPTION_ACCESS_VIOLATION, READS, NO_ADDRESS);
    }
}

void DescribePage(EXCEPTION_RECORD& record, const CONTEXT& context, const Trap& trap, std::uintptr_t address)
{
    if (IsStackOverflow(context, address)) {
        SetAccess(record, EXCEPTION_STACK_OVERFLOW, AccessOf(trap), address);
    } else {
        SetAccess(record, EXCEPTION_ACCESS_VIOLATION, AccessOf(trap), address);
    }
}

void DescribeMemory(EXCEPTION_RECORD& record, const CONTEXT& context, const Trap& trap,
                    const siginfo_t& information)
{
    const auto address = reinterpret_cast<std::uintptr_t>(information.si_addr);
    if (information.si_signo == SIGBUS && information.si_code == BUS_ADRALN) {
        record.ExceptionCode = EXCEPTION_DATATYPE_MISALIGNMENT;
    } else if (information.si_code == SI_KERNEL) {
        DescribeProtection(record, context);
    } else if (information.si_signo == SIGBUS) {
        SetAccess(record, EXCEPTION_IN_PAGE_ERROR, AccessOf(trap), address);
    } else {
        DescribePage(record, context, trap, address);
    }
}

DWORD ArithmeticCode(int code)
{
    switch (code) {
    case FPE_INTDIV:
        return EXCEPTION_INT_DIVIDE_BY_ZERO;
    case FPE_INTOVF:
        return EXCEPTION_INT_OVERFLOW;
    case FPE_FLTDIV:
        return EXCEPTION_FLT_DIVIDE_BY_ZERO;
    case FPE_FLTOVF:
        return EXCEPTION_FLT_OVERFLOW;
    case FPE_FLTUND:
        return EXCEPTION_FLT_UNDERFLOW;
    case FPE_FLTRES:
        return EXCEPTION_FLT_INEXACT_RESULT;
    case FPE_FLTSUB:
        return EXCEPTION_ARRAY_BOUNDS_EXCEEDED;
    default:
        return EXCEPTION_FLT_INVALID_OPERATION;
    }
}

DWORD InstructionCode(int code)
{
    const bool isPrivileged = code == ILL_PRVOPC || code == ILL_PRVREG;
    return isPrivileged ? EXCEPTION_PRIV_INSTRUCTION : EXCEPTION_ILLEGAL_INSTRUCTION;
}

// The processor goes on to the place behind a breakpoint.
void DescribeTrap(EXCEPTION_RECORD& record, CONTEXT& context, const Trap& trap, int code)
{
    const bool isPassed = trap.number == Trap::BREAKPOINT;
    const bool isBreakpoint = KNOWS_REGISTERS ? isPassed : code == TRAP_BRKPT;
    record.ExceptionCode = isBreakpoint ? EXCEPTION_BREAKPOINT : EXCEPTION_SINGLE_STEP;
    context.Eip -= isPassed ? 1 : 0;
}

} // namespace

void DescribeFault(int signal, const siginfo_t& information, const ucontext_t& host, EXCEPTION_RECORD& record,
                   CONTEXT& context)
{
    const Trap trap = ReadTrap(host);
    ReadRegisters(host, context);
    record = {};
    if (signal == SIGFPE) {
        record.ExceptionCode = ArithmeticCode(information.si_code);
    } else if (signal == SIGILL) {
        record.ExceptionCode = InstructionCode(information.si_code);
    } else if (signal == SIGTRAP) {
        DescribeTrap(record, context, trap, information.si_code);
    } else {
        DescribeMemory(record, context, trap, information);
    }
    record.ExceptionAddress = reinterpret_cast<LPVOID>(context.Eip);
}

} // namespace Platform::Host
