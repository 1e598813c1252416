// Faults where the heap must not be touched any more: the report does without, up to the dump.
#include "Tests/Crash/CrashCase.h"
#include "Tests/Support/HeapWatch.h"
#include "Tests/Support/Target.h"

#include <optional>

namespace {

std::optional<HeapWatch> heap;

void FaultWithTrappedHeap()
{
    heap.emplace(PLATFORM_SHARES_THE_HEAP ? HeapRule{.largest = 0} : HeapRule{.faults = true});
    WriteToNowhere();
}

} // namespace

const CrashCase HEAP_TRAPPED = {
    .word = "HeapTrapped",
    .crash = FaultWithTrappedHeap,
    .bytes = "89 01",
    .frame = "WriteToNowhere",
    .dump = CrashDump::NONE,
};
