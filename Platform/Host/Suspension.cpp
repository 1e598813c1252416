#include "Platform/Host/Suspension.h"

#include "Platform/FaultGuard.h"
#include "Platform/Host/LastError.h"
#include "Platform/Host/Registers.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

// The asking thread and the handler each end the wait by one exchange, so they agree on what came first.
enum State : std::uint32_t {
    FREE,
    CLAIMED,  // the asking thread fills it
    ASKED,    // the signal is on its way
    STANDS,   // the thread waits in the handler
    GIVEN_UP, // nobody waits for the handler any more; it frees the record, if it ever runs
};

constexpr std::size_t MOST_STOPPED = 256;
std::array<StoppedThread, MOST_STOPPED> stoppedThreads{};

int StopSignal()
{
    return SIGRTMIN + 6;
}

void WaitWhile(std::atomic<std::uint32_t>& state, std::uint32_t value, const timespec* atMost)
{
    syscall(SYS_futex, &state, FUTEX_WAIT_PRIVATE, value, atMost, nullptr, 0);
}

void Wake(std::atomic<std::uint32_t>& state)
{
    syscall(SYS_futex, &state, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

bool Exchange(StoppedThread& thread, std::uint32_t from, std::uint32_t to)
{
    return thread.state.compare_exchange_strong(from, to);
}

// A stack too damaged to be unwound is no reason to fall: where the thread stands is known anyway.
void NoteFrames(StoppedThread& thread)
{
    RunGuarded([&] { CollectFrames(thread.registers.Eip, thread.frames); });
    if (thread.frames.count == 0) {
        thread.frames.count = 1;
        thread.frames.frames[0] = {thread.registers.Eip, thread.registers.Esp};
    }
}

// On the stopped thread, in the handler.
void StandStill(StoppedThread& thread, const ucontext_t& context)
{
    if (thread.state.load(std::memory_order_acquire) == ASKED) {
        ReadRegisters(context, thread.registers);
        NoteFrames(thread);
        if (Exchange(thread, ASKED, STANDS)) {
            Wake(thread.state);
            while (thread.state.load(std::memory_order_acquire) == STANDS) {
                WaitWhile(thread.state, STANDS, nullptr);
            }
        }
    }
    thread.state.store(FREE, std::memory_order_release);
}

// Null for a signal that somebody else sent.
StoppedThread* RecordOf(const siginfo_t* information)
{
    if (information->si_code != SI_QUEUE || information->si_pid != getpid()) {
        return nullptr;
    }
    auto* const record = static_cast<StoppedThread*>(information->si_value.sival_ptr);
    const bool isOurs = record >= stoppedThreads.data() && record < stoppedThreads.data() + MOST_STOPPED;
    return isOurs ? record : nullptr;
}

void OnStop(int /*signal*/, siginfo_t* information, void* context)
{
    const int error = errno;
    auto& host = *static_cast<ucontext_t*>(context);
    StoppedThread* const thread = RecordOf(information);
    if (thread != nullptr && !StopsLater::Postpones(*thread)) {
        StandStill(*thread, host);
        sigaltstack(nullptr, &host.uc_stack); // the one from its first guard, if it was, is not taken back
    }
    errno = error;
}

// What the handler calls has been called once before: what is bound or set up at the first call is done then.
void RehearseHandler()
{
    FrameList frames;
    RunGuarded([&] { CollectFrames(0, frames); });
}

// Other signals wait while the thread stands; faults cannot.
bool HandleStops()
{
    RehearseHandler();
    struct sigaction action {};
    action.sa_sigaction = OnStop;
    action.sa_flags = SA_SIGINFO | SA_RESTART | SA_ONSTACK;
    sigfillset(&action.sa_mask);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT}) {
        sigdelset(&action.sa_mask, fault);
    }
    return sigaction(StopSignal(), &action, nullptr) == 0;
}

bool HasEnded(pid_t id)
{
    return tgkill(getpid(), id, 0) != 0 && errno == ESRCH;
}

bool Claim(StoppedThread& thread)
{
    if (thread.state.load(std::memory_order_relaxed) == GIVEN_UP && HasEnded(thread.id)) {
        return Exchange(thread, GIVEN_UP, CLAIMED);
    }
    return Exchange(thread, FREE, CLAIMED);
}

DWORD SendStop(StoppedThread& thread)
{
    siginfo_t information{};
    information.si_signo = StopSignal();
    information.si_code = SI_QUEUE;
    information.si_pid = getpid();
    information.si_uid = getuid();
    information.si_value.sival_ptr = &thread;
    if (syscall(SYS_rt_tgsigqueueinfo, getpid(), thread.id.load(), StopSignal(), &information) == 0) {
        return ERROR_SUCCESS;
    }
    return errno == ESRCH ? ERROR_ACCESS_DENIED : ErrorFromErrno(errno);
}

bool WaitUntilItStands(StoppedThread& thread, std::chrono::milliseconds atMost)
{
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + atMost;
    for (auto now = steady_clock::now(); thread.state == ASKED && now < end; now = steady_clock::now()) {
        const std::chrono::nanoseconds left = end - now;
        const timespec time{left.count() / 1'000'000'000, left.count() % 1'000'000'000};
        WaitWhile(thread.state, ASKED, &time);
    }
    return !Exchange(thread, ASKED, GIVEN_UP);
}

} // namespace

StoppedThread* StopThread(pid_t id, std::chrono::milliseconds atMost)
{
    [[maybe_unused]] static const bool handled = HandleStops();
    auto* const thread = std::find_if(stoppedThreads.begin(), stoppedThreads.end(), Claim);
    if (thread == stoppedThreads.end()) {
        Fail(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    thread->id = id;
    thread->state = ASKED;
    if (const DWORD error = SendStop(*thread); error != ERROR_SUCCESS) {
        thread->state = FREE;
        Fail(error);
        return nullptr;
    }
    if (!WaitUntilItStands(*thread, atMost)) {
        Fail(ERROR_GEN_FAILURE);
        return nullptr;
    }
    return thread;
}

// The record is the thread's own until it has left the handler.
void LetGo(StoppedThread& thread)
{
    thread.state = CLAIMED;
    Wake(thread.state);
}

const StoppedThread* FindStopped(pid_t id)
{
    const auto* const found =
        std::find_if(stoppedThreads.begin(), stoppedThreads.end(), [id](const StoppedThread& thread) {
            return thread.state.load(std::memory_order_acquire) == STANDS && thread.id == id;
        });
    return found != stoppedThreads.end() ? found : nullptr;
}

bool StopsLater::Postpones(StoppedThread& thread)
{
    if (depth.load(std::memory_order_relaxed) == 0) {
        return false;
    }
    thread.nextPostponed = postponed.load(std::memory_order_relaxed);
    postponed.store(&thread, std::memory_order_relaxed);
    return true;
}

void StopsLater::StopNow()
{
    const int error = errno;
    for (StoppedThread* thread = postponed.exchange(nullptr); thread != nullptr;) {
        StoppedThread* const next = thread->nextPostponed; // the record may be another's after its turn
        SendStop(*thread);
        thread = next;
    }
    errno = error;
}

} // namespace Platform::Host
