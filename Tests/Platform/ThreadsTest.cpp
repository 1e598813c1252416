// Threads: their handles, exit codes and suspension.
#include "Tests/Platform/BusyThread.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

constexpr DWORD UNTOUCHED = 77;
constexpr DWORD FAILED_COUNT = 0xFFFFFFFF;

HANDLE Duplicate(HANDLE handle)
{
    auto* const self = GetCurrentProcess();
    HANDLE copy = nullptr;
    EXPECT_TRUE(DuplicateHandle(self, handle, self, &copy, 0, FALSE, DUPLICATE_SAME_ACCESS));
    return copy;
}

DWORD ErrorOf(const std::function<bool()>& call)
{
    SetLastError(UNTOUCHED);
    EXPECT_FALSE(call());
    return GetLastError();
}

TEST(Threads, StandStillAsOftenAsTheyWereSuspended)
{
    const BusyThread thread;
    EXPECT_EQ(ResumeThread(thread.Handle()), 0u);
    for (int round = 0; round < 50; ++round) {
        EXPECT_EQ(SuspendThread(thread.Handle()), 0u);
        EXPECT_EQ(SuspendThread(thread.Handle()), 1u);
        EXPECT_EQ(ResumeThread(thread.Handle()), 2u);
        if (round % 10 == 0) {
            EXPECT_FALSE(thread.Counts());
        }
        EXPECT_EQ(ResumeThread(thread.Handle()), 1u);
    }
    EXPECT_TRUE(thread.Counts());
}

TEST(Threads, AreSuspendedAtMost127Times)
{
    const BusyThread thread;
    for (DWORD before = 0; before < 127; ++before) {
        EXPECT_EQ(SuspendThread(thread.Handle()), before);
    }
    EXPECT_EQ(ErrorOf([&] { return SuspendThread(thread.Handle()) != FAILED_COUNT; }), ERROR_SIGNAL_REFUSED);
    while (ResumeThread(thread.Handle()) > 1) {
    }
    EXPECT_TRUE(thread.Counts());
}

TEST(Threads, ShowTheRegistersThatAreAskedFor)
{
    const BusyThread thread;
    ASSERT_EQ(SuspendThread(thread.Handle()), 0u);
    CONTEXT context{};
    context.ContextFlags = CONTEXT_CONTROL;
    context.Eax = UNTOUCHED;
    EXPECT_TRUE(GetThreadContext(thread.Handle(), &context));
    EXPECT_EQ(context.ContextFlags, DWORD{CONTEXT_CONTROL});
    EXPECT_EQ(context.Eax, UNTOUCHED);
    EXPECT_NE(context.Eip, 0u);
    EXPECT_NE(context.Esp, 0u);
    EXPECT_NE(context.SegCs, 0u);
    EXPECT_EQ(ResumeThread(thread.Handle()), 1u);
}

TEST(Threads, HaveExitCodesWhenTheyHaveEnded)
{
    BusyThread thread;
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeThread(thread.Handle(), &code));
    EXPECT_EQ(code, STILL_ACTIVE);
    thread.End();
    EXPECT_TRUE(GetExitCodeThread(thread.Handle(), &code));
    EXPECT_EQ(code, BusyThread::EXIT_CODE);
    CONTEXT context{};
    context.ContextFlags = CONTEXT_CONTROL;
    EXPECT_EQ(ErrorOf([&] { return SuspendThread(thread.Handle()) != FAILED_COUNT; }), ERROR_ACCESS_DENIED);
    EXPECT_EQ(ErrorOf([&] { return GetThreadContext(thread.Handle(), &context) != FALSE; }),
              ERROR_GEN_FAILURE);
    EXPECT_EQ(ResumeThread(thread.Handle()), 0u);
}

TEST(Threads, StandInsAreForWhoeverUsesThem)
{
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeProcess(GetCurrentProcess(), &code));
    EXPECT_EQ(code, STILL_ACTIVE);
    for (auto* const standIn : {GetCurrentProcess(), GetCurrentThread()}) {
        auto* const real = Duplicate(standIn);
        EXPECT_NE(real, standIn);
        EXPECT_EQ(WaitForSingleObject(real, 0), DWORD{WAIT_TIMEOUT});
        EXPECT_EQ(WaitForSingleObject(standIn, 0), DWORD{WAIT_TIMEOUT});
        EXPECT_TRUE(CloseHandle(real));
        EXPECT_TRUE(CloseHandle(standIn));
    }
}

struct MeetingPlace {
    HANDLE main;
    DWORD code;
    DWORD waited;
};

DWORD WINAPI MeetMain(LPVOID argument)
{
    MeetingPlace& place = *static_cast<MeetingPlace*>(argument);
    EXPECT_EQ(SuspendThread(place.main), 0u);
    EXPECT_TRUE(GetExitCodeThread(place.main, &place.code));
    place.waited = WaitForSingleObject(place.main, 20);
    EXPECT_EQ(ResumeThread(place.main), 1u);
    return 1;
}

// The thread that waits is suspended by the one that it waits for.
TEST(Threads, MayBeSuspendedWhileTheyWait)
{
    MeetingPlace place{Duplicate(GetCurrentThread()), 0, 0};
    for (int round = 0; round < 20; ++round) {
        auto* const thread = CreateThread(nullptr, 0, MeetMain, &place, 0, nullptr);
        EXPECT_EQ(WaitForSingleObject(thread, 20000), DWORD{WAIT_OBJECT_0});
        CloseHandle(thread);
    }
    EXPECT_EQ(place.code, STILL_ACTIVE);
    EXPECT_EQ(place.waited, DWORD{WAIT_TIMEOUT});
    CloseHandle(place.main);
}

TEST(Threads, HandlesOfOtherThingsAreRefused)
{
    auto* const self = GetCurrentProcess();
    for (auto* const handle : {HANDLE{nullptr}, self, reinterpret_cast<HANDLE>(0x7ffffff0)}) {
        CONTEXT context{};
        context.ContextFlags = CONTEXT_CONTROL;
        DWORD code = UNTOUCHED;
        EXPECT_EQ(ErrorOf([&] { return SuspendThread(handle) != FAILED_COUNT; }), ERROR_INVALID_HANDLE);
        EXPECT_EQ(ErrorOf([&] { return ResumeThread(handle) != FAILED_COUNT; }), ERROR_INVALID_HANDLE);
        EXPECT_EQ(ErrorOf([&] { return GetThreadContext(handle, &context) != FALSE; }), ERROR_INVALID_HANDLE);
        EXPECT_EQ(ErrorOf([&] { return GetExitCodeThread(handle, &code) != FALSE; }), ERROR_INVALID_HANDLE);
        EXPECT_EQ(code, UNTOUCHED);
    }
    HANDLE copy = nullptr;
    const auto duplicate = [&](HANDLE from, HANDLE handle) {
        return DuplicateHandle(from, handle, self, &copy, 0, FALSE, DUPLICATE_SAME_ACCESS) != FALSE;
    };
    EXPECT_EQ(ErrorOf([&] { return duplicate(self, nullptr); }), ERROR_INVALID_HANDLE);
    EXPECT_EQ(ErrorOf([&] { return duplicate(nullptr, self); }), ERROR_INVALID_HANDLE);
}

} // namespace
