// Code that faults under a guard, alone, nested and on another thread.
#include "Platform/Win32.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <string>

namespace {

using Platform::RunGuarded;

volatile std::uintptr_t badAddress = 0x10;
void (*volatile nothing)() = nullptr;

void Read()
{
    static_cast<void>(*reinterpret_cast<const volatile char*>(badAddress));
}

void Write()
{
    *reinterpret_cast<volatile char*>(badAddress) = 1;
}

TEST(FaultGuard, TellsWhetherAFaultEndedTheCode)
{
    SetLastError(77);
    int steps = 0;
    EXPECT_TRUE(RunGuarded([&] { ++steps; }));
    for (int round = 0; round < 1000; ++round) {
        for (const auto fault : {Read, Write, +[] { __builtin_trap(); }, +[] { nothing(); }}) {
            EXPECT_FALSE(RunGuarded([&] {
                ++steps;
                fault();
                steps = 0;
            }));
        }
    }
    EXPECT_EQ(steps, 4001);
    EXPECT_EQ(GetLastError(), 77u);
}

TEST(FaultGuard, Nests)
{
    std::string steps;
    const bool whole = RunGuarded([&] {
        EXPECT_FALSE(RunGuarded([&] {
            steps += '1';
            EXPECT_TRUE(RunGuarded([&] { steps += '2'; }));
            EXPECT_FALSE(RunGuarded(Read)); // handled here: the code around it goes on
            steps += '3';
            Write();
            steps += 'x';
        }));
        steps += '4';
        Read();
        steps += 'x';
    });
    EXPECT_FALSE(whole);
    EXPECT_TRUE(RunGuarded([&] { steps += '5'; }));
    EXPECT_EQ(steps, "12345");
}

int Depth(int depth)
{
    volatile char room[512] = {};
    if (depth == 0) {
        Read();
        return 0;
    }
    return Depth(depth - 1) + room[0];
}

// Once a thread: the real platform has no guard page for a second time.
DWORD WINAPI OverflowTheStack(LPVOID argument)
{
    *static_cast<bool*>(argument) = !RunGuarded([] { Depth(1 << 30); });
    return 0;
}

TEST(FaultGuard, LeavesDeepCodeAndAStackThatOverflows)
{
    for (int round = 0; round < 100; ++round) {
        EXPECT_FALSE(RunGuarded([] { Depth(500); }));
    }
    bool stopped = false;
    auto* const thread = CreateThread(nullptr, 0, OverflowTheStack, &stopped, 0, nullptr);
    EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
    CloseHandle(thread);
    EXPECT_TRUE(stopped);
}

TEST(FaultGuard, KeepsTheFloatingPointSettings)
{
    std::fesetround(FE_UPWARD);
    EXPECT_FALSE(RunGuarded(Read));
    EXPECT_EQ(std::fegetround(), FE_UPWARD);
    std::fesetround(FE_TONEAREST);
}

DWORD WINAPI FaultOften(LPVOID argument)
{
    DWORD& faults = *static_cast<DWORD*>(argument);
    for (int round = 0; round < 2000; ++round) {
        faults += RunGuarded(Read) ? 0u : 1u;
    }
    return 0;
}

TEST(FaultGuard, IsOfTheThread)
{
    DWORD faults[3] = {};
    HANDLE threads[3];
    EXPECT_FALSE(RunGuarded([&] {
        for (int i = 0; i < 3; ++i) {
            threads[i] = CreateThread(nullptr, 0, FaultOften, &faults[i], 0, nullptr);
        }
        for (auto* const thread : threads) {
            WaitForSingleObject(thread, 20000);
            CloseHandle(thread);
        }
        Read();
    }));
    for (const DWORD count : faults) {
        EXPECT_EQ(count, 2000u);
    }
}

} // namespace
