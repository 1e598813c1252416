// Share modes, within a process and between processes, against a model of one line.
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <deque>
#include <fstream>

namespace {

// What a handle does and what it lets others do: the bits of share modes.
struct Mode {
    DWORD does;
    DWORD shares;
};

constexpr DWORD ALL_MODES = 16;

constexpr Mode ModeOf(DWORD number)
{
    return {number / 4, number % 4};
}

bool Conflict(const Mode& one, const Mode& other)
{
    return one.does != 0 && other.does != 0 &&
           ((one.does & ~other.shares) != 0 || (other.does & ~one.shares) != 0);
}

DWORD AccessOf(const Mode& mode)
{
    return ((mode.does & FILE_SHARE_READ) != 0 ? DWORD{GENERIC_READ} : DWORD{0}) |
           ((mode.does & FILE_SHARE_WRITE) != 0 ? DWORD{GENERIC_WRITE} : DWORD{0});
}

class FileSharing : public testing::Test {
protected:
    FileSharing() { std::ofstream(native_) << "old"; }

    // The last error.
    DWORD Open(const Mode& mode, HANDLE& file, DWORD disposition = OPEN_EXISTING) const
    {
        SetLastError(77);
        file = CreateFileW(path_.c_str(), AccessOf(mode), mode.shares, nullptr, disposition,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
        return GetLastError();
    }

    [[nodiscard]] DWORD TryOpen(const Mode& mode, DWORD disposition = OPEN_EXISTING) const
    {
        HANDLE file = nullptr;
        const DWORD error = Open(mode, file, disposition);
        CloseHandle(file);
        return error;
    }

    [[nodiscard]] ProcessOptions Opener(const Mode& mode, char holds) const
    {
        const std::string line = "opener " + std::to_string(mode.does) + std::to_string(mode.shares) + holds;
        return {.program = ToPlatform(BuiltProgram("FileOpener.exe")),
                .commandLine = WideText(line.begin(), line.end()) + WIDE(" ") + path_};
    }

    ScratchFolder scratch_;
    const std::filesystem::path native_ = scratch_.Path() / "file";
    const WideText path_ = ToPlatform(native_);
};

TEST_F(FileSharing, ThreeOpeningsConflictWhereTwoDo)
{
    HANDLE one = nullptr;
    HANDLE other = nullptr;
    for (DWORD number = 0; number < ALL_MODES * ALL_MODES; ++number) {
        const Mode first = ModeOf(number / ALL_MODES);
        const Mode second = ModeOf(number % ALL_MODES);
        std::filesystem::remove(native_);
        ASSERT_EQ(Open(first, one, CREATE_NEW), DWORD{ERROR_SUCCESS}) << number;
        const bool isRefused = Conflict(first, second);
        EXPECT_EQ(Open(second, other), isRefused ? DWORD{ERROR_SHARING_VIOLATION} : DWORD{ERROR_SUCCESS})
            << number;
        for (DWORD last = 0; last < ALL_MODES; ++last) {
            const bool conflicts =
                Conflict(first, ModeOf(last)) || (!isRefused && Conflict(second, ModeOf(last)));
            EXPECT_EQ(TryOpen(ModeOf(last)),
                      conflicts ? DWORD{ERROR_SHARING_VIOLATION} : DWORD{ERROR_SUCCESS})
                << number << ' ' << last;
        }
        CloseHandle(one);
        CloseHandle(other);
    }
}

TEST_F(FileSharing, WhatIsRefusedHasChangedNothing)
{
    HANDLE file = nullptr;
    for (DWORD number = 0; number < ALL_MODES; ++number) {
        std::ofstream(native_) << "old";
        const bool takesPart = ModeOf(number).does != 0;
        ASSERT_EQ(Open(ModeOf(number), file), DWORD{ERROR_SUCCESS});
        for (const DWORD disposition : {DWORD{CREATE_ALWAYS}, DWORD{TRUNCATE_EXISTING}}) {
            if (takesPart) {
                EXPECT_EQ(TryOpen({FILE_SHARE_WRITE, 0}, disposition), DWORD{ERROR_SHARING_VIOLATION});
            }
        }
        SetLastError(77);
        EXPECT_EQ(DeleteFileW(path_.c_str()), takesPart ? FALSE : TRUE) << number;
        EXPECT_EQ(GetLastError(), takesPart ? DWORD{ERROR_SHARING_VIOLATION} : 77u) << number;
        CloseHandle(file);
        EXPECT_EQ(std::filesystem::exists(native_), takesPart) << number;
        EXPECT_TRUE(!takesPart || std::filesystem::file_size(native_) == 3) << number;
    }
}

TEST_F(FileSharing, HoldsBetweenProcesses)
{
    HANDLE file = nullptr;
    for (const Mode& own : {Mode{1, 1}, {1, 3}, {2, 1}, {3, 3}}) {
        ASSERT_EQ(Open(own, file), DWORD{ERROR_SUCCESS});
        for (const Mode& others : {Mode{1, 1}, {1, 3}, {2, 3}, {3, 0}}) {
            const StartedProcess opener(Opener(others, '-'));
            EXPECT_EQ(WaitForSingleObject(opener.Handle(), 60000), DWORD{WAIT_OBJECT_0});
            EXPECT_EQ(opener.ExitCode(),
                      Conflict(own, others) ? DWORD{ERROR_SHARING_VIOLATION} : DWORD{ERROR_SUCCESS})
                << own.does << own.shares << ' ' << others.does << others.shares;
        }
        CloseHandle(file);
    }
}

TEST_F(FileSharing, EndsWithItsProcess)
{
    const StartedProcess holder(Opener({2, 1}, 'h'));
    const auto waitFor = [this](DWORD error) {
        for (int i = 0; i < 1000 && TryOpen({2, 3}) != error; ++i) {
            Sleep(20);
        }
        return TryOpen({2, 3}) == error;
    };
    EXPECT_TRUE(waitFor(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(TryOpen({1, 3}), DWORD{ERROR_SUCCESS});
    EXPECT_TRUE(TerminateProcess(holder.Handle(), 1));
    EXPECT_TRUE(waitFor(ERROR_SUCCESS));
}

} // namespace
