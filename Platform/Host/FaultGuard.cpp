// Faults come as signals. A handler for them is set up with the first guard of the process, or the first
// filter of unhandled faults, and stays; a fault outside every guard is reported to the filter and goes on to
// whoever had the signal before.
#include "Platform/FaultGuard.h"

#include "Platform/Host/SignalStack.h"
#include "Platform/Host/UnhandledFaults.h"

#include <array>
#include <cfenv>
#include <csetjmp>
#include <csignal>

namespace Platform {

namespace {

struct GuardRecord {
    GuardRecord* outer;
    femode_t floatingPoint; // a handler begins with the system's own settings
    sigjmp_buf place;
};

constinit thread_local GuardRecord* innermost = nullptr;

constexpr std::array FAULT_SIGNALS = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP};

struct sigaction& ActionBefore(int signal)
{
    static std::array<struct sigaction, NSIG> actions;
    return actions[static_cast<std::size_t>(signal)];
}

bool WasSent(const siginfo_t* information)
{
    return information->si_code <= 0;
}

void PassOn(int signal, siginfo_t* information, void* context)
{
    const struct sigaction& before = ActionBefore(signal);
    if ((before.sa_flags & SA_SIGINFO) != 0) {
        before.sa_sigaction(signal, information, context);
    } else if (before.sa_handler == SIG_IGN && WasSent(information)) {
        return;
    } else if (before.sa_handler != SIG_DFL && before.sa_handler != SIG_IGN) {
        before.sa_handler(signal);
    } else {
        sigaction(signal, &before, nullptr);
        raise(signal); // a fault would come again by itself, a signal that was sent would not
    }
}

// A signal that somebody sent is no fault of the guarded code.
void OnFault(int signal, siginfo_t* information, void* context)
{
    GuardRecord* const guard = innermost;
    if (!WasSent(information)) {
        if (guard != nullptr) {
            siglongjmp(guard->place, 1);
        }
        Host::ReportFault(signal, *information, *static_cast<ucontext_t*>(context));
    }
    PassOn(signal, information, context);
    // Whoever it went to may have mended it; the stack from the thread's first guard, if it was, is not taken
    // back.
    sigaltstack(nullptr, &static_cast<ucontext_t*>(context)->uc_stack);
}

// The jump out of the handler leaves the signal mask as it is, so no signal may be blocked meanwhile.
bool HandleFaults()
{
    struct sigaction action {};
    action.sa_sigaction = OnFault;
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
    for (const int signal : FAULT_SIGNALS) {
        sigaction(signal, &action, &ActionBefore(signal));
    }
    return true;
}

} // namespace

// A handler of a signal begins with a unit of its own.
void ForgetFloatingPointFault() {}

void Host::PrepareForFaults()
{
    [[maybe_unused]] static const bool handled = HandleFaults();
    GiveSignalStack();
}

bool RunGuarded(void (*function)(void*) noexcept, void* argument)
{
    Host::PrepareForFaults();
    GuardRecord record{innermost, {}, {}};
    fegetmode(&record.floatingPoint);
    const bool faulted = sigsetjmp(record.place, 0) != 0;
    if (!faulted) {
        innermost = &record;
        function(argument);
    } else {
        fesetmode(&record.floatingPoint);
    }
    innermost = record.outer;
    return !faulted;
}

} // namespace Platform
