// The threads of this process, standing still for as long as somebody looks at them. Takes no heap and no
// lock: a thread that stands may hold any.
#pragma once

#include "Platform/Host/Api/Faults.h"

#include <chrono>
#include <sys/types.h>

namespace Platform::Host {

struct StoppedThread;

struct ThreadSnapshot {
    pid_t id;
    StoppedThread* stopped; // to be let go; null where it was not stopped from here
    bool hasRegisters;      // not where it did not stop
    CONTEXT registers;
    std::uint32_t stackSize; // for who looks
};

// All but the calling thread stand until it ends; the calling one's registers are those of the constructor.
class Snapshot {
public:
    Snapshot();
    ~Snapshot();
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

    [[nodiscard]] bool IsWhole() const { return threads_ != nullptr; } // false: no memory
    [[nodiscard]] std::size_t Count() const { return count_; }
    [[nodiscard]] ThreadSnapshot* begin() { return threads_; }
    [[nodiscard]] ThreadSnapshot* end() { return threads_ + count_; }
    [[nodiscard]] ThreadSnapshot* Find(pid_t id); // null: none

private:
    std::size_t AddNewThreads(int folder);
    void Add(pid_t id);

    const std::chrono::steady_clock::time_point end_; // of all waiting
    ThreadSnapshot* threads_ = nullptr;
    std::size_t count_ = 0;
};

} // namespace Platform::Host
