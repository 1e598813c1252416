// Faults come as signals. A handler for them is set up with the first guard of the process and stays; a fault
// outside every guard goes on to whoever had the signal before.
#include "Platform/FaultGuard.h"

#include <array>
#include <csetjmp>
#include <csignal>

namespace Platform {

namespace {

struct GuardRecord {
    GuardRecord* outer;
    sigjmp_buf place;
};

constinit thread_local GuardRecord* innermost = nullptr;

constexpr std::array FAULT_SIGNALS = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP};

struct sigaction& ActionBefore(int signal)
{
    static std::array<struct sigaction, NSIG> actions;
    return actions[static_cast<std::size_t>(signal)];
}

void PassOn(int signal, siginfo_t* information, void* context)
{
    const struct sigaction& before = ActionBefore(signal);
    if ((before.sa_flags & SA_SIGINFO) != 0) {
        before.sa_sigaction(signal, information, context);
    } else if (before.sa_handler != SIG_DFL && before.sa_handler != SIG_IGN) {
        before.sa_handler(signal);
    } else {
        sigaction(signal, &before, nullptr);
        raise(signal); // a fault would come again by itself, a signal that was sent would not
    }
}

// A signal that somebody sent, not the system, is no fault of the guarded code.
void OnFault(int signal, siginfo_t* information, void* context)
{
    GuardRecord* const guard = innermost;
    if (guard == nullptr || information->si_code <= 0) {
        PassOn(signal, information, context);
        return;
    }
    siglongjmp(guard->place, 1);
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

bool RunGuarded(void (*function)(void*) noexcept, void* argument)
{
    [[maybe_unused]] static const bool handled = HandleFaults();
    GuardRecord record{innermost, {}};
    const bool faulted = sigsetjmp(record.place, 0) != 0;
    if (!faulted) {
        innermost = &record;
        function(argument);
    }
    innermost = record.outer;
    return !faulted;
}

} // namespace Platform
