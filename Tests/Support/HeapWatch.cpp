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

bool FailsNow(std::size_t size)
{
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

// The linker leads every call of malloc here and names the runtime's own so.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" void* __real_malloc(std::size_t size);

extern "C" void* __wrap_malloc(std::size_t size)
{
    return FailsNow(size) ? nullptr : __real_malloc(size);
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
