#include "Plinth/Debug/Allocation.h"

#include "Plinth/Debug/Trace.h"

#include <cstdlib>

namespace Plinth {

namespace {

unsigned Megabytes(SIZE_T bytes)
{
    return static_cast<unsigned>(bytes >> 20);
}

} // namespace

void* AllocateMemory(std::uint32_t size)
{
    void* const block = std::malloc(size);
    if (block == nullptr) {
        ReportAllocationFailure(size);
    }
    return block;
}

void* AllocateSummed(std::uint64_t size)
{
    if (size > UINT32_MAX) {
        ReportAllocationFailure(UINT32_MAX);
        return nullptr;
    }
    return AllocateMemory(static_cast<std::uint32_t>(size));
}

void FreeMemory(void* block)
{
    std::free(block);
}

void ReportAllocationFailure(std::uint32_t size)
{
    TraceF("\n\nFailed to allocate %u bytes!\n\n", size);
    TraceMemoryStatus();
}

void TraceMemoryStatus()
{
    MEMORYSTATUS status;
    status.dwLength = sizeof(status);
    GlobalMemoryStatus(&status);
    const unsigned load = status.dwMemoryLoad;
    TraceLevelF(
        3,
        "\n\nMemory load %u%%, available virtual %u MB, total virtual %u MB, available physical %u MB, "
        "total physical %u MB, available page file %u MB, total page file %u MB.\n\n",
        load, Megabytes(status.dwAvailVirtual), Megabytes(status.dwTotalVirtual),
        Megabytes(status.dwAvailPhys), Megabytes(status.dwTotalPhys), Megabytes(status.dwAvailPageFile),
        Megabytes(status.dwTotalPageFile));
}

} // namespace Plinth
