// Searches for files and folders.
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <tuple>

namespace {

WideText Wide(const std::string& text)
{
    return {text.begin(), text.end()};
}

// The names that a search finds, each with a blank behind it, or why there are none.
std::string Find(const WideText& path)
{
    WIN32_FIND_DATAW found = {};
    SetLastError(77);
    auto* const search = FindFirstFileW(path.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        EXPECT_EQ(found.cFileName[0], 0);
        return std::to_string(GetLastError());
    }
    std::string names;
    do {
        EXPECT_EQ(GetLastError(), 77u);
        names += ToUtf8(found.cFileName) + ' ';
    } while (FindNextFileW(search, &found));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
    EXPECT_EQ(ToUtf8(found.cFileName) + ' ', names.substr(names.rfind(' ', names.size() - 2) + 1));
    EXPECT_TRUE(FindClose(search));
    return names;
}

class FileSearch : public testing::Test {
protected:
    FileSearch()
    {
        std::filesystem::create_directories(scratch_.Path() / "f" / "Sub");
        std::filesystem::create_directories(scratch_.Path() / "f" / "empty");
        for (const char* name : {"Z", "b.txt", "A.TXT", "c", "_x.y.z", "a1.htm"}) {
            std::ofstream(scratch_.Path() / "f" / name) << "12345";
        }
        std::ofstream(scratch_.Path() / "f" / std::filesystem::path(u"\u00e4.t")) << "1";
    }

    [[nodiscard]] WideText PathOf(const std::string& name) const
    {
        return ToPlatform(scratch_.Path()) + WIDE("\\") + Wide(name);
    }

    ScratchFolder scratch_;
};

TEST_F(FileSearch, FindsNamesInTheirOrder)
{
    const std::string all = ". .. A.TXT a1.htm b.txt c empty Sub Z _x.y.z \xC3\xA4.t ";
    const std::pair<const char*, std::string> rows[] = {{"f\\*", all},
                                                        {"f/*.*", all},
                                                        {"f\\*.*.*", all},
                                                        {"f\\?*", all},
                                                        {"f\\*.txt", "A.TXT b.txt "},
                                                        {"f\\a*", "A.TXT a1.htm "},
                                                        {"f\\?.txt", "A.TXT b.txt "},
                                                        {"f\\c.*", "c "},
                                                        {"f\\*z", "Z _x.y.z "},
                                                        {"f\\..*", ". .. "},
                                                        {"f\\*..txt", "2"},
                                                        {"f\\sub\\*", ". .. "},
                                                        {"f\\B.TXT", "b.txt "},
                                                        {"f\\b.txt. ", "b.txt "},
                                                        {"f\\SUB", "Sub "},
                                                        {"f\\.", "f "},
                                                        {"f\\sub\\..", "f "},
                                                        {"f\\no", "2"},
                                                        {"f\\no\\..", "f "},
                                                        {"f\\sub\\", "2"},
                                                        {"f\\", "2"},
                                                        {"no\\*", "3"},
                                                        {"f\\*\\c", "123"}};
    for (const auto& [path, found] : rows) {
        EXPECT_EQ(Find(PathOf(path)), found) << path;
    }
    EXPECT_EQ(Find(PathOf("f\\") + WideText{0xC4} + WIDE(".T")), "\xC3\xA4.t ");
    EXPECT_EQ(Find(WIDE("")), "3");
    EXPECT_EQ(Find(PathOf(std::string(256, 'x') + "\\*")), "3");
    EXPECT_EQ(Find(PathOf(std::string(40000, 'x') + "*")), "3");
    SetCurrentDirectoryW(PathOf("f\\Sub").c_str());
    EXPECT_EQ(Find(WIDE("*")), ". .. ");
    EXPECT_EQ(Find(WIDE("..\\C")), "c ");
}

TEST_F(FileSearch, ADrivesRootHasNoDots)
{
    const ScratchDrive drive;
    const std::pair<const WCHAR*, std::string> rows[] = {
        {WIDE("X:\\*"), "2"}, {WIDE("X:\\"), "2"}, {WIDE("X:\\."), "2"}, {WIDE("X:\\no"), "2"},
        {WIDE("K:\\*"), "3"}, {WIDE("K:\\"), "2"}, {WIDE("K:\\x"), "3"},
    };
    for (const auto& [path, found] : rows) {
        EXPECT_EQ(Find(path), found) << ToUtf8(path);
    }
    std::filesystem::create_directory(drive.Root() / "in");
    EXPECT_EQ(Find(WIDE("X:\\*")), "in ");
    EXPECT_EQ(Find(WIDE("x:\\IN\\*")), ". .. ");
}

TEST_F(FileSearch, TellsWhatIsThere)
{
    const FILETIME time = {0x12345678, 0x01D00000};
    const FILETIME access = {0x87654321, 0x01C00000};
    for (const auto& [name, low, high, attributes] :
         {std::tuple("f\\c", 5, 0, FILE_ATTRIBUTE_ARCHIVE),
          std::tuple("f\\b.txt", -1, 0, FILE_ATTRIBUTE_ARCHIVE),
          std::tuple("f\\Z", 7, 1, FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY)}) {
        auto* const file = CreateFileW(PathOf(name).c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                       FILE_ATTRIBUTE_NORMAL, nullptr);
        LONG highPart = high;
        SetFilePointer(file, low, &highPart, FILE_BEGIN);
        EXPECT_TRUE(SetEndOfFile(file) && SetFileTime(file, nullptr, &access, &time));
        CloseHandle(file);
        if (high == 1) {
            std::filesystem::permissions(ToNative(PathOf(name)), std::filesystem::perms::owner_read);
        }
        WIN32_FIND_DATAW found;
        std::memset(&found, 0xCC, sizeof(found));
        FindClose(FindFirstFileW(PathOf(name).c_str(), &found));
        EXPECT_EQ(found.nFileSizeLow, static_cast<DWORD>(low));
        EXPECT_EQ(found.nFileSizeHigh, static_cast<DWORD>(high));
        EXPECT_EQ(std::memcmp(&found.ftLastAccessTime, &access, sizeof(access)), 0);
        EXPECT_EQ(std::memcmp(&found.ftLastWriteTime, &time, sizeof(time)), 0);
        EXPECT_EQ(found.dwFileAttributes, static_cast<DWORD>(attributes));
    }
    EXPECT_FALSE(DeleteFileW(PathOf("f\\Z").c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    std::filesystem::permissions(ToNative(PathOf("f\\Z")), std::filesystem::perms::all);
    WIN32_FIND_DATAW found;
    FindClose(FindFirstFileW(PathOf("f\\sub").c_str(), &found));
    EXPECT_EQ(found.dwFileAttributes, DWORD{FILE_ATTRIBUTE_DIRECTORY});
    EXPECT_EQ(found.nFileSizeLow, 0u);
    for (auto* const none : {HANDLE{nullptr}, INVALID_HANDLE_VALUE}) {
        SetLastError(77);
        EXPECT_FALSE(FindNextFileW(none, &found));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
        SetLastError(77);
        EXPECT_FALSE(FindClose(none));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    }
}

} // namespace
