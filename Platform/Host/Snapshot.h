// The threads of this process, standing still for as long as somebody looks at them. Takes no heap and no
// lock: a thread that stands may hold any.
#pragma once

#include "Platform/Host/Api/Faults.h"
#include "Platform/Host/Suspension.h"

#include <chrono>
#include <optional>
#include <sys/types.h>

namespace Platform::Host {

struct ThreadSnapshot {
    pid_t id;
    StoppedThread* stopped; // to be let go; null where it was not stopped from here
    bool hasRegisters;      // not where it did not stop
    CONTEXT registers;
    std::uintptr_t stackStart; // these two for who looks
    std::uint32_t stackSize;
};

// The right to a snapshot: two at once would stop each other's threads for good. Who has it is not stopped;
// who waits for it may be.
class SnapshotTurn {
public:
    SnapshotTurn();
    ~SnapshotTurn();
    SnapshotTurn(const SnapshotTurn&) = delete;
    SnapshotTurn& operator=(const SnapshotTurn&) = delete;

    [[nodiscard]] bool HasCome() const { return later_.has_value(); } // false: waited too long

private:
    std::optional<StopsLater> later_;
};

// All but the calling thread stand until it ends; the calling one's registers are those given.
class Snapshot {
public:
    explicit Snapshot(const CONTEXT& ownRegisters);
    ~Snapshot();
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

    [[nodiscard]] bool IsWhole() const { return threads_ != nullptr; } // false: no memory, or no turn
    [[nodiscard]] std::size_t Count() const { return count_; }
    [[nodiscard]] ThreadSnapshot* begin() { return threads_; }
    [[nodiscard]] ThreadSnapshot* end() { return threads_ + count_; }
    [[nodiscard]] ThreadSnapshot* Find(pid_t id); // null: none

private:
    std::size_t AddNewThreads(int folder);
    void Add(pid_t id);

    const SnapshotTurn turn_;
    const CONTEXT& ownRegisters_;
    const std::chrono::steady_clock::time_point end_; // of all waiting
    ThreadSnapshot* threads_ = nullptr;
    std::size_t count_ = 0;
};

} // namespace Platform::Host
