// What debug help meets on the host alone: damaged files, threads that do not stop, full disks.
#include "Platform/Host/ElfSymbols.h"
#include "Platform/Host/Suspension.h"
#include "Platform/Win32.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Platform::Host;

// Of a program with few functions. Bytes of a block of just their size: one too far is seen.
class Program {
public:
    explicit Program(std::size_t size = SIZE_MAX)
    {
        std::ifstream file(BuiltProgram("FileOpener.exe"), std::ios::binary);
        const std::string whole(std::istreambuf_iterator<char>(file), {});
        bytes.assign(whole.begin(),
                     whole.begin() + static_cast<std::ptrdiff_t>(std::min(size, whole.size())));
        bytes.shrink_to_fit();
    }

    [[nodiscard]] std::size_t CountSymbols() const
    {
        const ElfSymbols symbols({bytes.data(), bytes.size()});
        static_cast<void>(symbols.Find(0x1000));
        return symbols.Count();
    }

    std::vector<char> bytes;
};

TEST(ElfSymbols, OfDamagedFilesAreFewerOrNone)
{
    Program program;
    EXPECT_GT(program.CountSymbols(), 10u);
    for (const std::size_t size : {std::size_t{0}, std::size_t{3}, std::size_t{63}, std::size_t{64},
                                   program.bytes.size() / 2, program.bytes.size() - 1}) {
        EXPECT_EQ(Program(size).CountSymbols(), 0u) << size;
    }
    std::size_t sections = 0;
    std::memcpy(&sections, program.bytes.data() + 40, sizeof(sections)); // they are the file's last part
    for (std::size_t place = 0; place < program.bytes.size(); place = place == 63 ? sections : place + 1) {
        if (place < 64 || place % 3 == 0) {
            const char whole = std::exchange(program.bytes[place], '\xFF');
            static_cast<void>(program.CountSymbols());
            program.bytes[place] = whole;
        }
    }
}

DWORD WINAPI BlockSignals(LPVOID argument)
{
    auto& state = *static_cast<std::atomic<int>*>(argument);
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    state = 1;
    while (state == 1) {
        Sleep(1);
    }
    pthread_sigmask(SIG_UNBLOCK, &all, nullptr);
    state = 3;
    while (state == 3) {
        Sleep(1);
    }
    return 0;
}

TEST(HostThreads, ThatBlockSignalsAreNotSuspendedAndHangNobody)
{
    std::atomic<int> state{0};
    auto* const thread = CreateThread(nullptr, 0, BlockSignals, &state, 0, nullptr);
    while (state != 1) {
        Sleep(1);
    }
    EXPECT_EQ(SuspendThread(thread), 0xFFFFFFFF);
    EXPECT_EQ(GetLastError(), ERROR_GEN_FAILURE);
    state = 2; // the stop that came too late is none
    while (state != 3) {
        Sleep(1);
    }
    EXPECT_EQ(SuspendThread(thread), 0u);
    EXPECT_EQ(ResumeThread(thread), 1u);
    state = 4;
    EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
    CloseHandle(thread);
    EXPECT_EQ(SuspendThread(GetCurrentThread()), 0xFFFFFFFF);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(HostThreads, ThatStopLaterStopAtTheEndOfTheReason)
{
    static std::atomic<bool> asked;
    asked = false;
    HANDLE own = nullptr;
    auto* const self = GetCurrentProcess();
    ASSERT_TRUE(DuplicateHandle(self, GetCurrentThread(), self, &own, 0, FALSE, DUPLICATE_SAME_ACCESS));
    const auto suspend = [](LPVOID target) -> DWORD {
        asked = true;
        const DWORD before = SuspendThread(target);
        ResumeThread(target);
        return before;
    };
    HANDLE thread = nullptr;
    {
        const StopsLater later;
        thread = CreateThread(nullptr, 0, suspend, own, 0, nullptr);
        while (!asked) {
        }
        EXPECT_EQ(WaitForSingleObject(thread, 50), WAIT_TIMEOUT);
    }
    EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
    DWORD before = 77;
    EXPECT_TRUE(GetExitCodeThread(thread, &before));
    EXPECT_EQ(before, 0u);
    CloseHandle(thread);
    CloseHandle(own);
}

TEST(HostMinidumps, FailWhereTheirFileDoes)
{
    const auto write = [](HANDLE file, MINIDUMP_TYPE type) {
        SetLastError(77);
        EXPECT_FALSE(MiniDumpWriteDump(GetCurrentProcess(), GetCurrentProcessId(), file, type, nullptr,
                                       nullptr, nullptr));
        return GetLastError();
    };
    auto* const full =
        CreateFileW(u"Z:\\dev\\full", GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(write(full, MiniDumpNormal), ERROR_DISK_FULL);
    EXPECT_EQ(write(full, static_cast<MINIDUMP_TYPE>(1)), ERROR_INVALID_PARAMETER);
    CloseHandle(full);
    EXPECT_EQ(write(full, MiniDumpNormal), ERROR_INVALID_HANDLE);
}

} // namespace
