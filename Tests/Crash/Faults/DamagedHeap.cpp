// Overwrites blocks of the heap, a free one among them, and what the heap keeps between them; then faults.
// The dump takes blocks and gives them back: a heap that looks may end the process there.
#include "Tests/Crash/CrashCase.h"

#include <cstdlib>

namespace {

[[gnu::no_sanitize_address]] void Overwrite(volatile char* from, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i) {
        from[i] = 'x';
    }
}

void FaultWithDamagedHeap()
{
    constexpr std::size_t SIZE = 64;
    auto* const first = static_cast<char*>(std::malloc(SIZE));
    std::free(std::malloc(SIZE));
    Overwrite(first, 8 * SIZE);
    WriteToNowhere();
}

} // namespace

const CrashCase DAMAGED_HEAP = {
    .word = "DamagedHeap",
    .crash = FaultWithDamagedHeap,
    .exitCode = ANY_EXIT_CODE,
    .signal = 0,
    .bytes = "89 01",
    .frame = "WriteToNowhere",
    .dump = CrashDump::ANY,
};
