#include "Platform/Host/SignalStack.h"

#include <csignal>
#include <cstddef>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

constexpr std::size_t SIZE = std::size_t{1} << 20; // of address space: memory is what is used of it

// A sanitizer's, as a rule, which frees at the thread's end what it finds.
constinit thread_local stack_t stackBefore{};

std::size_t GuardSize()
{
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// With a page below that nobody may touch. Null: there is no memory.
char* MapStack()
{
    constexpr int FLAGS = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK;
    void* const mapped = mmap(nullptr, GuardSize() + SIZE, PROT_READ | PROT_WRITE, FLAGS, -1, 0);
    if (mapped == MAP_FAILED) {
        return nullptr;
    }
    mprotect(mapped, GuardSize(), PROT_NONE);
    return static_cast<char*>(mapped);
}

// At the thread's end. What runs still later and asks again gets another.
void GiveBack(void* mapped)
{
    hasSignalStack = false;
    sigaltstack(&stackBefore, nullptr);
    munmap(mapped, GuardSize() + SIZE);
}

// Where nobody can be told of the thread's end, the stack stays.
void AnnounceEnd(char* mapped)
{
    static pthread_key_t key;
    static const bool isMade = pthread_key_create(&key, GiveBack) == 0;
    if (isMade) {
        pthread_setspecific(key, mapped);
    }
}

} // namespace

// Another's stack is as good where it is as large. A thread that stands on its own keeps that.
void MakeSignalStack()
{
    stack_t current{};
    const bool isKnown = sigaltstack(nullptr, &current) == 0;
    if (!isKnown || (current.ss_flags & SS_ONSTACK) != 0) {
        return;
    }
    hasSignalStack = (current.ss_flags & SS_DISABLE) == 0 && current.ss_size >= SIZE;
    char* const mapped = hasSignalStack ? nullptr : MapStack();
    if (mapped != nullptr) {
        const stack_t own{.ss_sp = mapped + GuardSize(), .ss_flags = 0, .ss_size = SIZE};
        sigaltstack(&own, &stackBefore);
        hasSignalStack = true;
        AnnounceEnd(mapped);
    }
}

} // namespace Platform::Host
