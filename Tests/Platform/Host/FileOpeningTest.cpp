// Opening and deleting files: what only the host can have (links that lead nowhere, pipes, devices,
// permissions, no descriptors left), and where the layer keeps to Windows and Wine does not.
#include "Platform/Host/FileTimes.h"
#include "Platform/Host/LastError.h"
#include "Platform/Host/Restrictions.h"
#include "Platform/Host/WholeFile.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <tuple>
#include <utility>

namespace {

using namespace Platform::Host;

constexpr DWORD BOTH = GENERIC_READ | GENERIC_WRITE;
constexpr DWORD SHARE_ALL = FILE_SHARE_READ | FILE_SHARE_WRITE;
constexpr DWORD DISPOSITIONS[] = {CREATE_NEW, CREATE_ALWAYS, OPEN_EXISTING, OPEN_ALWAYS, TRUNCATE_EXISTING};

class FileOpening : public testing::Test {
protected:
    FileOpening() { std::ofstream(Native("file")) << "text"; }

    [[nodiscard]] std::filesystem::path Native(const char* name) const { return scratch_.Path() / name; }
    [[nodiscard]] std::u16string PathOf(const char* name) const
    {
        return ToPlatform(scratch_.Path()) + u"\\" + std::filesystem::path(name).u16string();
    }

    HANDLE Open(const char* name, DWORD access, DWORD shareMode, DWORD disposition = OPEN_EXISTING) const
    {
        return CreateFileW(PathOf(name).c_str(), access, shareMode, nullptr, disposition, 0, nullptr);
    }

    DWORD TryOpen(const char* name, DWORD access, DWORD shareMode, DWORD disposition = OPEN_EXISTING) const
    {
        auto* const file = Open(name, access, shareMode, disposition);
        return file == INVALID_HANDLE_VALUE || !CloseHandle(file) ? lastError : ERROR_SUCCESS;
    }

    ScratchFolder scratch_;
};

// The error, or ERROR_SUCCESS.
DWORD ErrorOf(BOOL succeeded)
{
    return succeeded ? ERROR_SUCCESS : lastError;
}

TEST_F(FileOpening, LinksThatLeadNowhereAreNotFoundAndInTheWay)
{
    WIN32_FIND_DATAW found;
    for (const auto& [link, target] :
         {std::pair("dangling", "nowhere"), {"loop", "loop"}, {"astray", "file/x"}}) {
        std::filesystem::create_symlink(target, Native(link));
        std::string capitals(link);
        capitals[0] = static_cast<char>(std::toupper(capitals[0]));
        for (const char* name : {link, capitals.c_str()}) {
            const std::u16string path = PathOf(name);
            for (const DWORD disposition : DISPOSITIONS) {
                const bool creates = disposition != OPEN_EXISTING && disposition != TRUNCATE_EXISTING;
                EXPECT_EQ(TryOpen(name, BOTH, 0, disposition),
                          creates ? ERROR_ACCESS_DENIED : ERROR_FILE_NOT_FOUND)
                    << name;
            }
            EXPECT_EQ(ErrorOf(CreateDirectoryW(path.c_str(), nullptr)), ERROR_ACCESS_DENIED) << name;
            EXPECT_EQ(ErrorOf(DeleteFileW(path.c_str())), ERROR_FILE_NOT_FOUND) << name;
            EXPECT_EQ(ErrorOf(RemoveDirectoryW(path.c_str())), ERROR_FILE_NOT_FOUND) << name;
            EXPECT_EQ(FindFirstFileW(path.c_str(), &found), INVALID_HANDLE_VALUE);
            EXPECT_EQ(lastError, ERROR_FILE_NOT_FOUND) << name;
            EXPECT_EQ(FindFirstFileW((path + u"\\*").c_str(), &found), INVALID_HANDLE_VALUE);
            EXPECT_EQ(lastError, ERROR_PATH_NOT_FOUND) << name;
        }
    }
}

TEST_F(FileOpening, PipesAreRefusedAndDevicesReadAsTheirBytesCome)
{
    ASSERT_EQ(mkfifo(Native("pipe").c_str(), 0666), 0);
    std::filesystem::create_symlink("/dev/zero", Native("zero"));
    for (const DWORD access : {DWORD{0}, GENERIC_READ, GENERIC_WRITE, BOTH}) {
        EXPECT_EQ(TryOpen("pipe", access, 0), ERROR_ACCESS_DENIED);
        EXPECT_EQ(TryOpen("zero", access, 0), ERROR_SUCCESS);
    }
    auto* const zero = Open("zero", BOTH, 0, CREATE_ALWAYS);
    char bytes[8] = "";
    DWORD done = 0;
    EXPECT_TRUE(WriteFile(zero, "abc", 3, &done, nullptr) && ReadFile(zero, bytes, 8, &done, nullptr));
    EXPECT_EQ(std::string(bytes, done), std::string(8, '\0'));
    CloseHandle(zero);
}

TEST_F(FileOpening, DeletingKeepsToSharesWhateverTheHostAllows)
{
    auto* const file = Open("file", GENERIC_WRITE, SHARE_ALL);
    {
        const LoweredLimit noDescriptor(RLIMIT_NOFILE, 0);
        EXPECT_EQ(ErrorOf(DeleteFileW(PathOf("file").c_str())), ERROR_TOO_MANY_OPEN_FILES);
    }
    std::filesystem::permissions(scratch_.Path(), std::filesystem::perms::all);
    std::filesystem::permissions(Native("file"), std::filesystem::perms{0222});
    {
        const OrdinaryUser user; // the superuser could read it
        EXPECT_EQ(ErrorOf(DeleteFileW(PathOf("file").c_str())), ERROR_SHARING_VIOLATION);
    }
    CloseHandle(file);
    EXPECT_TRUE(DeleteFileW(PathOf("file").c_str()));
}

TEST_F(FileOpening, WhoMayOnlyReadDeniesWhoReadsAlready)
{
    std::filesystem::permissions(scratch_.Path(), std::filesystem::perms::all);
    std::filesystem::permissions(Native("file"), std::filesystem::perms{0444});
    const OrdinaryUser user; // the superuser could write it
    for (const DWORD first : {SHARE_ALL, FILE_SHARE_WRITE}) {
        auto* const reader = Open("file", GENERIC_READ, first);
        EXPECT_EQ(TryOpen("file", GENERIC_READ, FILE_SHARE_WRITE), ERROR_SHARING_VIOLATION) << first;
        CloseHandle(reader);
    }
    EXPECT_EQ(TryOpen("file", GENERIC_READ, 0), ERROR_SUCCESS);
}

TEST_F(FileOpening, WhoEmptiesAFileWritesUntilItIsEmpty)
{
    for (const DWORD access : {DWORD{0}, GENERIC_READ}) {
        EXPECT_EQ(TryOpen("file", access, SHARE_ALL, TRUNCATE_EXISTING), ERROR_INVALID_PARAMETER);
        for (const DWORD shareMode : {DWORD{0}, FILE_SHARE_READ, FILE_SHARE_WRITE, SHARE_ALL}) {
            std::ofstream(Native("file")) << "text";
            auto* const reader = Open("file", GENERIC_READ, FILE_SHARE_READ);
            EXPECT_EQ(TryOpen("file", access, SHARE_ALL, CREATE_ALWAYS), ERROR_SHARING_VIOLATION);
            EXPECT_EQ(std::filesystem::file_size(Native("file")), 4u);
            CloseHandle(reader);
            auto* const file = Open("file", access, shareMode, CREATE_ALWAYS);
            EXPECT_EQ(lastError, ERROR_ALREADY_EXISTS);
            EXPECT_EQ(std::filesystem::file_size(Native("file")), 0u);
            for (const DWORD other : {GENERIC_READ, GENERIC_WRITE}) {
                const DWORD needs = other == GENERIC_READ ? FILE_SHARE_READ : FILE_SHARE_WRITE;
                EXPECT_EQ(TryOpen("file", other, FILE_SHARE_READ),
                          access == 0 || (shareMode & needs) != 0 ? ERROR_SUCCESS : ERROR_SHARING_VIOLATION);
            }
            CloseHandle(file);
        }
    }
}

TEST_F(FileOpening, AWriteThatFailsHalfWayHasDoneNothing)
{
    auto* const file = Open("file", BOTH, 0);
    SetFilePointer(file, 2, nullptr, FILE_BEGIN);
    std::optional<LoweredLimit> limit(std::in_place, RLIMIT_FSIZE, 5);
    DWORD done = 9;
    const DWORD error = ErrorOf(WriteFile(file, "abcdef", 6, &done, nullptr));
    limit.reset();                                             // what is printed may go to a file
    EXPECT_EQ(std::filesystem::file_size(Native("file")), 5u); // half of it went
    EXPECT_EQ(error, ERROR_DISK_FULL);
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), 2u);
    EXPECT_TRUE(WriteFile(file, "abcdef", 6, &done, nullptr));
    CloseHandle(file);
    std::string content;
    std::ifstream(Native("file")) >> content;
    EXPECT_EQ(content, "teabcdef");
}

TEST(FileTimes, TheHostsBeyondThePlatformsAreItsFirstAndLast)
{
    constexpr std::int64_t MOST = std::numeric_limits<std::int64_t>::max();
    const std::tuple<std::int64_t, long, std::int64_t> rows[] = {
        {0, 199, 116'444'736'000'000'001},
        {FIRST_SECOND, 100, 1},
        {FIRST_SECOND - 1, 999'999'999, 0},
        {-MOST - 1, 0, 0},
        {LAST_SECOND - 1, 999'999'999, (MOST / FILE_TIME_STEPS_A_SECOND) * FILE_TIME_STEPS_A_SECOND - 1},
        {LAST_SECOND, 0, MOST},
        {MOST, 999'999'999, MOST},
    };
    for (const auto& [seconds, nanoseconds, steps] : rows) {
        EXPECT_EQ(StepsOf(ToFileTime({seconds, nanoseconds})), steps) << seconds;
    }
    for (const std::int64_t steps : {std::int64_t{1}, FILE_TIME_OF_1970 - 1, FILE_TIME_OF_1970 + 1, MOST}) {
        const timespec time = FromSteps(steps);
        EXPECT_EQ((time.tv_sec - FIRST_SECOND) * FILE_TIME_STEPS_A_SECOND + time.tv_nsec / 100, steps);
        EXPECT_TRUE(time.tv_nsec >= 0 && time.tv_nsec < 1'000'000'000) << steps;
    }
}

} // namespace
