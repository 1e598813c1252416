// Threads that are made to stand still: a signal stops a thread, and its handler notes the registers and the
// frames and waits until it is let go.
//
// A stopped thread may hold any lock, the heap's too. So nothing here takes heap memory or a lock, and what
// runs while a thread stands should not either. Where the layer itself holds a lock that others need
// meanwhile, it says so by StopsLater.
#pragma once

#include "Platform/Host/Api/Faults.h"
#include "Platform/Host/Frames.h"

#include <atomic>
#include <chrono>
#include <sys/types.h>

namespace Platform::Host {

struct StoppedThread {
    std::atomic<std::uint32_t> state; // the source's business
    std::atomic<pid_t> id;
    CONTEXT registers;
    FrameList frames; // at least one: where it was stopped
    StoppedThread* nextPostponed;
};

// Returns when another thread of the process stands still, for its handle's holder to let it go. Null: it has
// ended (ERROR_ACCESS_DENIED), did not stop in time because it blocks signals (ERROR_GEN_FAILURE), or too
// many stand (ERROR_NOT_ENOUGH_MEMORY).
StoppedThread* StopThread(pid_t id, std::chrono::milliseconds atMost);
void LetGo(StoppedThread& thread);

// What stands for the thread's stop, whoever stopped it; null while it runs.
const StoppedThread* FindStopped(pid_t id);

// While one lives, its thread is not stopped, but when the last one ends.
class StopsLater {
public:
    StopsLater()
    {
        depth.store(depth.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    ~StopsLater()
    {
        std::atomic_signal_fence(std::memory_order_seq_cst);
        const unsigned left = depth.load(std::memory_order_relaxed) - 1;
        depth.store(left, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
        if (left == 0 && postponed.load(std::memory_order_relaxed) != nullptr) [[unlikely]] {
            StopNow();
        }
    }
    StopsLater(const StopsLater&) = delete;
    StopsLater& operator=(const StopsLater&) = delete;

    // For the handler: whether the thread goes on for now.
    static bool Postpones(StoppedThread& thread);

private:
    static void StopNow();

    static inline constinit thread_local std::atomic<unsigned> depth{0};
    static inline constinit thread_local std::atomic<StoppedThread*> postponed{nullptr};
};

} // namespace Platform::Host
