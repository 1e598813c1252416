#include "Platform/Host/Snapshot.h"

#include "Platform/Host/Registers.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

constexpr std::size_t MOST_THREADS = 4096;
constexpr int MOST_LOOKS = 4; // new threads come only from those that do not stand yet

// What a thread that blocks all signals is worth, and what all of them are.
constexpr std::chrono::milliseconds LONGEST_STOP{50};
constexpr std::chrono::milliseconds LONGEST_STOPS{500};

// The time that a thread stands for the snapshot before its own does not count.
constexpr int MOST_TRIES = 10000;
constexpr timespec BETWEEN_TRIES{.tv_sec = 0, .tv_nsec = 1'000'000};

constinit std::atomic<bool> isTurnTaken{false};

// Calls `callable` with the number that each name in the folder is, from its start on.
template <typename Callable>
void ForEachNumber(int folder, const Callable& callable)
{
    alignas(dirent64) char entries[4096];
    lseek(folder, 0, SEEK_SET);
    for (ssize_t size = 1; size > 0;) {
        size = getdents64(folder, entries, sizeof(entries));
        for (ssize_t place = 0; place < size;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(entries + place);
            if (const long number = std::strtol(entry->d_name, nullptr, 10); number > 0) {
                callable(static_cast<pid_t>(number));
            }
            place += entry->d_reclen;
        }
    }
}

} // namespace

SnapshotTurn::SnapshotTurn()
{
    for (int i = 0; i < MOST_TRIES && !later_.has_value(); ++i) {
        later_.emplace(); // first, so that nobody stands who has the turn
        if (isTurnTaken.exchange(true)) {
            later_.reset();
            nanosleep(&BETWEEN_TRIES, nullptr);
        }
    }
}

SnapshotTurn::~SnapshotTurn()
{
    if (HasCome()) {
        isTurnTaken = false;
    }
}

Snapshot::Snapshot(const CONTEXT& ownRegisters)
    : ownRegisters_(ownRegisters), end_(std::chrono::steady_clock::now() + LONGEST_STOPS)
{
    if (!turn_.HasCome()) {
        return;
    }
    void* const memory = mmap(nullptr, MOST_THREADS * sizeof(ThreadSnapshot), PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    const int folder = open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (memory != MAP_FAILED) {
        threads_ = static_cast<ThreadSnapshot*>(memory);
        Add(gettid());
        for (int look = 0; look < MOST_LOOKS && AddNewThreads(folder) != 0; ++look) {
        }
    }
    if (folder >= 0) {
        close(folder);
    }
}

Snapshot::~Snapshot()
{
    if (threads_ == nullptr) {
        return;
    }
    for (const ThreadSnapshot& thread : *this) {
        if (thread.stopped != nullptr) {
            LetGo(*thread.stopped);
        }
    }
    munmap(threads_, MOST_THREADS * sizeof(ThreadSnapshot));
}

ThreadSnapshot* Snapshot::Find(pid_t id)
{
    ThreadSnapshot* const found =
        std::find_if(begin(), end(), [id](const ThreadSnapshot& thread) { return thread.id == id; });
    return found != end() ? found : nullptr;
}

std::size_t Snapshot::AddNewThreads(int folder)
{
    const std::size_t before = count_;
    ForEachNumber(folder, [this](pid_t id) {
        if (count_ < MOST_THREADS && Find(id) == nullptr) {
            Add(id);
        }
    });
    return count_ - before;
}

void Snapshot::Add(pid_t id)
{
    ThreadSnapshot& thread = threads_[count_++];
    thread = {.id = id,
              .stopped = nullptr,
              .hasRegisters = KNOWS_REGISTERS,
              .registers = {},
              .stackStart = 0,
              .stackSize = 0};
    if (id == gettid()) {
        thread.registers = ownRegisters_;
    } else if (const StoppedThread* const stands = FindStopped(id)) {
        thread.registers = stands->registers;
    } else {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now());
        thread.stopped = StopThread(id, std::clamp(left, std::chrono::milliseconds(1), LONGEST_STOP));
        thread.hasRegisters = thread.hasRegisters && thread.stopped != nullptr;
        thread.registers = thread.stopped != nullptr ? thread.stopped->registers : CONTEXT{};
    }
}

} // namespace Platform::Host
