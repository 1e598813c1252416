#include "Tests/Support/HeapWatch.h"

#include <cstdlib>
#include <new>

namespace {

struct Watched {
    bool active;
    HeapRule rule;
    unsigned blocks;
    unsigned failures;
};

constinit Watched watched{};

void FaultIfTold()
{
    if (watched.active && watched.rule.faults) {
        __builtin_trap();
    }
}

bool FailsNow(std::size_t size)
{
    FaultIfTold();
    if (!watched.active) {
        return false;
    }
    ++watched.blocks;
    const HeapRule& rule = watched.rule;
    const bool chosen = rule.ordinal != 0 &&
                        (watched.blocks == rule.ordinal || (rule.lasting && watched.blocks > rule.ordinal));
    const bool fails = chosen || size > rule.largest;
    watched.failures += fails ? 1 : 0;
    return fails;
}

} // namespace

HeapWatch::HeapWatch(HeapRule rule)
{
    watched = {true, rule, 0, 0};
}

HeapWatch::~HeapWatch()
{
    watched.active = false;
}

unsigned HeapWatch::Blocks() const
{
    return watched.blocks;
}

unsigned HeapWatch::Failures() const
{
    return watched.failures;
}

// The linker leads every call of these functions here and names the runtime's own so.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" void* __real_malloc(std::size_t size);

extern "C" void* __wrap_malloc(std::size_t size)
{
    return FailsNow(size) ? nullptr : __real_malloc(size);
}

extern "C" void* __real_calloc(std::size_t count, std::size_t size);

extern "C" void* __wrap_calloc(std::size_t count, std::size_t size)
{
    FaultIfTold();
    return __real_calloc(count, size);
}

extern "C" void* __real_realloc(void* block, std::size_t size);

extern "C" void* __wrap_realloc(void* block, std::size_t size)
{
    FaultIfTold();
    return __real_realloc(block, size);
}

extern "C" void __real_free(void* block);

extern "C" void __wrap_free(void* block)
{
    FaultIfTold();
    __real_free(block);
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

void* operator new(std::size_t size)
{
    if (void* const block = std::malloc(size); block != nullptr) {
        return block;
    }
    throw std::bad_alloc();
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept
{
    std::free(block);
}

void operator delete[](void* block) noexcept
{
    std::free(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept
{
    std::free(block);
}
