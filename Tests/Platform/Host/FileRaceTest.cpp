// Openings while another thread is busy with the same file or starts processes.
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <thread>

namespace {

constexpr DWORD SHARE_ALL = FILE_SHARE_READ | FILE_SHARE_WRITE;

class FileRaces : public testing::Test {
protected:
    FileRaces() { std::ofstream(native_) << "old"; }

    [[nodiscard]] HANDLE Open(DWORD access, DWORD shareMode, DWORD disposition = OPEN_EXISTING) const
    {
        return CreateFileW(path_.c_str(), access, shareMode, nullptr, disposition, 0, nullptr);
    }

    // Does both over and over, each on a thread of its own.
    template <typename Disturb, typename Check>
    static void Race(const Disturb& disturb, const Check& check)
    {
        std::atomic<bool> ends{false};
        std::thread disturber([&] {
            while (!ends) {
                disturb();
            }
        });
        for (int i = 0; i < 3000; ++i) {
            check();
        }
        ends = true;
        disturber.join();
    }

    ScratchFolder scratch_;
    const std::filesystem::path native_ = scratch_.Path() / "file";
    const WideText path_ = ToPlatform(native_);
};

TEST_F(FileRaces, WhatIsOpenIsNotDeleted)
{
    int gone = 0;
    int failures = 0;
    const auto open = [&] {
        auto* const file = Open(GENERIC_WRITE, 0, OPEN_ALWAYS);
        const bool isOpen = file != INVALID_HANDLE_VALUE;
        failures += isOpen || GetLastError() == ERROR_SHARING_VIOLATION ? 0 : 1;
        gone += isOpen && !std::filesystem::exists(native_) ? 1 : 0;
        CloseHandle(file);
    };
    Race([this] { DeleteFileW(path_.c_str()); }, open);
    EXPECT_EQ(gone, 0);
    EXPECT_EQ(failures, 0);
}

TEST_F(FileRaces, WhoIsRefusedStandsInNobodysWay)
{
    int refused = 0;
    auto* const reader = Open(GENERIC_READ, SHARE_ALL);
    Race([this] { CloseHandle(Open(GENERIC_WRITE, 0)); },
         [&] {
             auto* const file = Open(GENERIC_WRITE, SHARE_ALL);
             refused += file == INVALID_HANDLE_VALUE ? 1 : 0;
             CloseHandle(file);
         });
    CloseHandle(reader);
    EXPECT_EQ(refused, 0);
}

TEST_F(FileRaces, AClosedFileIsFreeWhileProcessesStart)
{
    int refused = 0;
    Race(
        [] {
            const StartedProcess process({.program = u"Z:\\bin\\true"});
            EXPECT_EQ(WaitForSingleObject(process.Handle(), 60000), WAIT_OBJECT_0);
        },
        [&] {
            auto* const file = Open(GENERIC_READ | GENERIC_WRITE, 0);
            refused += file == INVALID_HANDLE_VALUE ? 1 : 0;
            CloseHandle(file);
        });
    EXPECT_EQ(refused, 0);
}

} // namespace
