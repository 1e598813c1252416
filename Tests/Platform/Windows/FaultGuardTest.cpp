// Structured exceptions that only the real platform has.
#include "Platform/Win32.h"

#include <gtest/gtest.h>

namespace {

using Platform::RunGuarded;

TEST(FaultGuard, LetsTheCalleeHandleItsOwnFaults)
{
    BOOL bad = FALSE;
    EXPECT_TRUE(RunGuarded([&] {
        OutputDebugStringA("an exception that nobody needs to see");
        bad = IsBadReadPtr(reinterpret_cast<const void*>(0x10), 1);
    }));
    EXPECT_TRUE(bad);
}

TEST(FaultGuard, StopsEveryStructuredException)
{
    for (const DWORD flags : {DWORD{0}, DWORD{EXCEPTION_NONCONTINUABLE}}) {
        EXPECT_FALSE(RunGuarded([flags] { RaiseException(0xE0001234, flags, 0, nullptr); }));
    }
}

TEST(FaultGuard, EmptiesTheFloatingPointStack)
{
    for (int round = 0; round < 10; ++round) {
        EXPECT_FALSE(RunGuarded([] {
            asm volatile("fld1");
            RaiseException(1, 0, 0, nullptr);
        }));
    }
    volatile long double value = 2.5L;
    EXPECT_EQ(static_cast<double>(value * value + 1), 7.25);
}

void* ChainStart()
{
    void* record;
    asm volatile("movl %%fs:0, %0" : "=r"(record));
    return record;
}

TEST(FaultGuard, LeavesTheChainAsItWas)
{
    void* const before = ChainStart();
    EXPECT_TRUE(RunGuarded([before] { EXPECT_NE(ChainStart(), before); }));
    EXPECT_EQ(ChainStart(), before);
    EXPECT_FALSE(RunGuarded([] { RaiseException(1, 0, 0, nullptr); }));
    EXPECT_EQ(ChainStart(), before);
}

} // namespace
