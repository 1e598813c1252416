#include "Plinth/Debug/Allocation.h"
#include "Platform/Win32.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>

namespace Plinth {
namespace {

TEST(Allocation, AFailureIsReportedWithTheMachinesMemory)
{
    const TraceCapture trace;
    void* block = nullptr;
    {
        const HeapWatch watch({.ordinal = 1, .lasting = true});
        block = AllocateMemory(4000000000u);
        EXPECT_EQ(watch.Blocks(), 1u);
    }
    EXPECT_EQ(block, nullptr);
    std::smatch figures;
    const std::string text = trace.Text();
    ASSERT_TRUE(std::regex_match(
        text, figures,
        std::regex(
            "\nFailed to allocate 4000000000 bytes!\n\nMemory load (\\d+)%, available virtual (\\d+) MB, "
            "total virtual (\\d+) MB, available physical (\\d+) MB, total physical (\\d+) MB, available "
            "page file (\\d+) MB, total page file (\\d+) MB.\n\n")))
        << text;
    MEMORYSTATUS status;
    GlobalMemoryStatus(&status);
    EXPECT_EQ(figures[3], std::to_string(status.dwTotalVirtual >> 20));
    EXPECT_EQ(figures[5], std::to_string(status.dwTotalPhys >> 20));
    EXPECT_EQ(figures[7], std::to_string(status.dwTotalPageFile >> 20));
}

TEST(Allocation, BlocksAreTheRuntimes)
{
    const TraceCapture trace;
    FreeMemory(nullptr);
    std::free(AllocateMemory(10));
    FreeMemory(std::malloc(10));
    for (const std::uint32_t size : {0u, 10u}) { // passed on as it is
        const HeapWatch watch({.largest = size});
        FreeMemory(AllocateMemory(size));
        EXPECT_EQ(watch.Failures(), 0u);
    }
    EXPECT_EQ(trace.Text(), "");
}

} // namespace
} // namespace Plinth
