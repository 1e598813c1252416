#include "Platform/Host/UnhandledFaults.h"

#include "Platform/FaultGuard.h"
#include "Platform/Host/Drives.h"
#include "Platform/Host/FaultRecords.h"
#include "Platform/Host/Frames.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Registers.h"

#include <atomic>
#include <ctime>
#include <new>
#include <pthread.h>
#include <unistd.h>
#include <utility>

namespace Platform::Host {

namespace {

constinit std::atomic<LPTOP_LEVEL_EXCEPTION_FILTER> currentFilter{nullptr};
constinit thread_local bool isAsked = false; // the filter, by this thread

// What a report calls has been called once before: what is bound, read or kept at the first call is then.
void RehearseReport()
{
    FrameList frames;
    RunGuarded([&] { CollectFrames(0, frames); });
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    try {
        char16_t root[DRIVE_ROOT_LENGTH];
        ToDrivePath("/", root, DRIVE_ROOT_LENGTH);
    } catch (const std::bad_alloc&) { // then a report has no paths
    }
}

// The dump of a report takes heap memory, and a fault may be the heap's, with its lock held: the process then
// ends by this signal.
class Deadline {
public:
    Deadline()
    {
        constexpr unsigned SECONDS = 60;
        struct sigaction ending {};
        ending.sa_handler = SIG_DFL;
        sigaction(SIGALRM, &ending, &before_);
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGALRM);
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
        alarm(SECONDS);
    }
    ~Deadline()
    {
        alarm(0);
        sigaction(SIGALRM, &before_, nullptr);
    }
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;

private:
    struct sigaction before_ {};
};

// Reports of two threads would mix, and the first to be done end the process in the midst of the other.
class Turn {
public:
    Turn()
    {
        constexpr useconds_t MICROSECONDS = 10'000;
        while (isTaken.exchange(true)) {
            usleep(MICROSECONDS);
        }
    }
    ~Turn() { isTaken = false; }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    static inline constinit std::atomic<bool> isTaken{false};
};

// The signal's frame tells the place that the context does, or the caller's where that is nowhere: who walks
// the stack from the handler gets over it. The unwinder takes the place for that of an instruction.
void ShowPlace(ucontext_t& host, const CONTEXT& context)
{
    const DWORD_PTR caller = CallerOfNowhere(context);
    if (caller != 0) {
        SetPlace(host, caller - 1, context.Esp + sizeof(caller));
    } else {
        SetPlace(host, context.Eip, context.Esp);
    }
}

} // namespace

void ReportFault(int signal, const siginfo_t& information, ucontext_t& host)
{
    const LPTOP_LEVEL_EXCEPTION_FILTER filter = currentFilter;
    if (filter == nullptr || std::exchange(isAsked, true)) {
        return;
    }
    const Turn turn;
    const Deadline deadline;
    EXCEPTION_RECORD record;
    CONTEXT context;
    CONTEXT before;
    ReadRegisters(host, before);
    DescribeFault(signal, information, host, record, context);
    ShowPlace(host, context);
    EXCEPTION_POINTERS pointers{&record, &context};
    filter(&pointers);
    SetPlace(host, before.Eip, before.Esp);
    isAsked = false;
}

} // namespace Platform::Host

using namespace Platform::Host;

LPTOP_LEVEL_EXCEPTION_FILTER WINAPI SetUnhandledExceptionFilter(LPTOP_LEVEL_EXCEPTION_FILTER filter)
{
    GateSees("SetUnhandledExceptionFilter");
    if (filter != nullptr) {
        PrepareForFaults();
        RehearseReport();
    }
    return currentFilter.exchange(filter);
}
