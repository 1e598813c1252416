// Opening files for writing, and writing.
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

constexpr DWORD UNTOUCHED = 77;

class Files : public testing::Test {
protected:
    HANDLE Open(const std::string& name, DWORD access, DWORD disposition)
    {
        SetLastError(UNTOUCHED);
        const WideText path = ToPlatform(scratch_.Path()) + WIDE("\\") + WideText(name.begin(), name.end());
        return CreateFileW(path.c_str(), access, FILE_SHARE_READ, nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                           nullptr);
    }

    [[nodiscard]] std::string Content(const char* name) const
    {
        std::ifstream file(scratch_.Path() / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    ScratchFolder scratch_;
};

TEST_F(Files, DispositionsDecideWhatIsOpened)
{
    struct Row {
        DWORD disposition;
        DWORD errorOfNew; // of a file that was not there
        DWORD errorOfOld; // of one that was
        const char* contentOfOld;
    };
    const Row rows[] = {
        {CREATE_NEW, ERROR_SUCCESS, ERROR_FILE_EXISTS, "old"},
        {CREATE_ALWAYS, ERROR_SUCCESS, ERROR_ALREADY_EXISTS, ""},
        {OPEN_EXISTING, ERROR_FILE_NOT_FOUND, ERROR_SUCCESS, "old"},
        {OPEN_ALWAYS, ERROR_SUCCESS, ERROR_ALREADY_EXISTS, "old"},
        {TRUNCATE_EXISTING, ERROR_FILE_NOT_FOUND, ERROR_SUCCESS, ""},
        {6, ERROR_INVALID_PARAMETER, ERROR_INVALID_PARAMETER, "old"},
    };
    const auto opens = [](DWORD error) { return error == ERROR_SUCCESS || error == ERROR_ALREADY_EXISTS; };
    for (const Row& row : rows) {
        std::filesystem::remove(scratch_.Path() / "new");
        std::ofstream(scratch_.Path() / "old") << "old";
        const std::pair<const char*, DWORD> cases[] = {{"new", row.errorOfNew}, {"old", row.errorOfOld}};
        for (const auto& [name, error] : cases) {
            auto* const file = Open(name, GENERIC_WRITE, row.disposition);
            EXPECT_EQ(GetLastError(), error) << name << row.disposition;
            EXPECT_EQ(file != INVALID_HANDLE_VALUE, opens(error)) << name << row.disposition;
            CloseHandle(file);
        }
        EXPECT_EQ(std::filesystem::exists(scratch_.Path() / "new"), opens(row.errorOfNew));
        EXPECT_EQ(Content("old"), row.contentOfOld) << row.disposition;
    }
    std::filesystem::create_directory(scratch_.Path() / "folder");
    const std::pair<const char*, DWORD> refused[] = {{"folder", ERROR_ACCESS_DENIED},
                                                     {"no\\file", ERROR_PATH_NOT_FOUND},
                                                     {"old\\file", ERROR_PATH_NOT_FOUND}};
    for (const auto& [name, error] : refused) {
        EXPECT_EQ(Open(name, GENERIC_WRITE, OPEN_ALWAYS), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), error) << name;
    }
}

TEST_F(Files, WritesGoOnWhereTheLastOneEnded)
{
    auto* const file = Open("file", GENERIC_WRITE, CREATE_ALWAYS);
    DWORD written = 1;
    EXPECT_TRUE(WriteFile(file, "abc", 2, &written, nullptr));
    EXPECT_EQ(written, 2u);
    EXPECT_TRUE(WriteFile(file, "\0d", 2, &written, nullptr));
    EXPECT_EQ(Content("file"), std::string("ab\0d", 4));
    EXPECT_TRUE(WriteFile(file, "x", 0, &written, nullptr));
    EXPECT_EQ(written, 0u);
    CloseHandle(file);

    auto* const unwritable = Open("file", GENERIC_READ, OPEN_EXISTING);
    written = 1;
    EXPECT_FALSE(WriteFile(unwritable, "x", 1, &written, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(written, 0u);
    CloseHandle(unwritable);
    for (const WCHAR* name : {LPCWSTR{nullptr}, WIDE("")}) {
        EXPECT_EQ(CreateFileW(name, 0, 0, nullptr, 6, 0, nullptr), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
    }
    EXPECT_FALSE(WriteFile(unwritable, "x", 1, &written, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

} // namespace
