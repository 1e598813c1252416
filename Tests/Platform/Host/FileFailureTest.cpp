// Files, folders and searches when the gate stops them, when the host has no memory, and with what only the
// host can have: names that no path leads to, patterns beyond Wine's.
#include "Platform/Host/Drives.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Handles.h"
#include "Platform/Host/Wildcards.h"
#include "Tests/Support/HeapWatch.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <set>
#include <tuple>

namespace {

using namespace Platform::Host;

class FileFailures : public testing::Test {
protected:
    struct Operation {
        const char* function;
        std::function<bool()> run;
    };

    FileFailures()
    {
        std::filesystem::create_directory(scratch_.Path() / "a folder of a long name");
        std::ofstream(scratch_.Path() / "a file of a long name") << "text";
        file_ = CreateFileW(PathOf("a file of a long name").c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                            OPEN_EXISTING, 0, nullptr);
        std::ofstream(scratch_.Path() / "another") << "text";
        search_ = FindFirstFileW(PathOf("*").c_str(), &found_);
    }
    ~FileFailures() override
    {
        CloseHandle(file_);
        FindClose(search_);
    }

    [[nodiscard]] std::u16string PathOf(const char* name) const
    {
        return ToPlatform(scratch_.Path()) + u"\\" + std::u16string(name, name + std::strlen(name));
    }

    // Closes what it opened.
    static bool Opened(HANDLE handle) { return handle != INVALID_HANDLE_VALUE && ReleaseHandle(handle); }

    [[nodiscard]] std::set<std::filesystem::path> Names() const
    {
        std::set<std::filesystem::path> names;
        for (const auto& entry : std::filesystem::directory_iterator(scratch_.Path())) {
            names.insert(entry.path().filename());
        }
        return names;
    }

    ScratchFolder scratch_;
    HANDLE file_ = nullptr;
    HANDLE search_ = nullptr;
    WIN32_FIND_DATAW found_{};
    DWORD done_ = 0;
    char bytes_[8]{};
    FILETIME time_{};
    const std::u16string old_ = PathOf("ANOTHER");
    const std::u16string new_ = PathOf("something new");
    const std::u16string folder_ = PathOf("a FOLDER of a long name");
    const std::u16string all_ = PathOf("*");
    const Operation operations_[17] = {
        {"CreateFileW",
         [this] {
             return Opened(CreateFileW(old_.c_str(), GENERIC_READ, 1, nullptr, OPEN_EXISTING, 0, nullptr));
         }},
        {"FindFirstFileW", [this] { return Opened(FindFirstFileW(all_.c_str(), &found_)); }},
        {"FindFirstFileW", [this] { return Opened(FindFirstFileW(old_.c_str(), &found_)); }},
        {"FindNextFileW", [this] { return FindNextFileW(search_, &found_) != FALSE; }},
        {"ReadFile", [this] { return ReadFile(file_, bytes_, 1, &done_, nullptr) != FALSE; }},
        {"WriteFile", [this] { return WriteFile(file_, bytes_, 1, &done_, nullptr) != FALSE; }},
        {"SetFilePointer",
         [this] { return SetFilePointer(file_, 0, nullptr, 0) != INVALID_SET_FILE_POINTER; }},
        {"SetEndOfFile", [this] { return SetEndOfFile(file_) != FALSE; }},
        {"GetFileSize", [this] { return GetFileSize(file_, nullptr) != INVALID_FILE_SIZE; }},
        {"GetFileTime", [this] { return GetFileTime(file_, nullptr, nullptr, &time_) != FALSE; }},
        {"SetFileTime", [this] { return SetFileTime(file_, nullptr, nullptr, &time_) != FALSE; }},
        {"FindClose", [this] { return FindClose(search_) != FALSE; }},
        // These change what is there.
        {"CreateFileW",
         [this] {
             return Opened(CreateFileW(new_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
         }},
        {"DeleteFileW", [this] { return DeleteFileW(old_.c_str()) != FALSE; }},
        {"RemoveDirectoryW", [this] { return RemoveDirectoryW(folder_.c_str()) != FALSE; }},
        {"CreateDirectoryW", [this] { return CreateDirectoryW(folder_.c_str(), nullptr) != FALSE; }},
        {"RemoveDirectoryW", [this] { return RemoveDirectoryW(folder_.c_str()) != FALSE; }},
    };
};

TEST_F(FileFailures, WhatFailsHasChangedNothing)
{
    unsigned points = 0;
    for (const Operation& operation : operations_) {
        const auto before = Names();
        unsigned ordinal = 0;
        {
            const GateWatch watch({.function = operation.function, .ordinal = 1, .error = ERROR_DISK_FULL});
            EXPECT_TRUE(!operation.run() && watch.Failed()) << operation.function;
            EXPECT_EQ(lastError, ERROR_DISK_FULL);
        }
        for (bool fails = true; fails && !HasFailure();) {
            bool succeeded = false;
            {
                const HeapWatch watch({.ordinal = ++ordinal});
                succeeded = operation.run();
                fails = watch.Failures() != 0;
            }
            EXPECT_NE(succeeded, fails) << operation.function << ordinal;
            if (fails) {
                ++points;
                EXPECT_EQ(lastError, ERROR_NOT_ENOUGH_MEMORY);
                EXPECT_EQ(Names(), before) << operation.function;
            }
        }
    }
    EXPECT_GT(points, 20u);
}

TEST_F(FileFailures, OnlyReachableNamesAreFound)
{
    const ScratchFolder scratch;
    for (const char* name :
         {"a|b", "a*", "b.", "b ", "b\\c", "\xff", "q?", "\x01", "ok", "\xc3\xa4", "\xed\xa0\x80"}) {
        std::ofstream(scratch.Path() / name) << "x";
    }
    std::filesystem::create_symlink("nowhere", scratch.Path() / "dangling");
    std::filesystem::create_symlink("ok", scratch.Path() / "link");
    std::u16string names;
    auto* const search = FindFirstFileW((ToPlatform(scratch.Path()) + u"\\*").c_str(), &found_);
    do {
        names += std::u16string(found_.cFileName) + u' ';
        std::filesystem::remove(scratch.Path() / "ok"); // its turn comes later
    } while (FindNextFileW(search, &found_));
    FindClose(search);
    EXPECT_EQ(names, u". .. \u00e4 \xD800 ");
    for (const char16_t* path : {u"\\\xFFFD", u"\\B"}) {
        const std::u16string full = ToPlatform(scratch.Path()) + path;
        EXPECT_FALSE(Opened(FindFirstFileW(full.c_str(), &found_)) || DeleteFileW(full.c_str()));
        EXPECT_EQ(lastError, ERROR_FILE_NOT_FOUND);
    }
    for (const char16_t* path : {u"\\a|*", u"\\<*"}) {
        EXPECT_FALSE(Opened(FindFirstFileW((ToPlatform(scratch.Path()) + path).c_str(), &found_)));
        EXPECT_EQ(lastError, ERROR_INVALID_NAME);
    }
    EXPECT_FALSE(Opened(FindFirstFileW((PathOf("another") + u"\\*").c_str(), &found_)));
    EXPECT_EQ(lastError, ERROR_DIRECTORY);
}

TEST_F(FileFailures, LargeFoldersAreReadWhole)
{
    const std::string rest(240, 'x');
    for (int i = 1000; i < 1300; ++i) {
        std::ofstream(scratch_.Path() / (std::to_string(i) + rest));
    }
    int next = 1000;
    auto* const search = FindFirstFileW(PathOf("1*").c_str(), &found_);
    do {
        EXPECT_EQ(ToUtf8(found_.cFileName), std::to_string(next++) + rest);
    } while (FindNextFileW(search, &found_));
    FindClose(search);
    EXPECT_EQ(next, 1300);
}

TEST_F(FileFailures, WindowsPatternsBeyondWines)
{
    const std::tuple<const char16_t*, const char16_t*, bool> rows[] = {
        {u"c?", u"C", true},         {u"??.*", u"b.txt", true},
        {u"b.txt?", u"b.txt", true}, {u"*?", u"", true},
        {u"?", u".", false},         {u"*.", u"abc", true},
        {u"*.", u"a.b", false},      {u"*.htm", u"a.html", false},
        {u"*.ht??", u"a.htm", true}, {u"a*b*.c", u"axb.b.c", true},
        {u"????", u"abcde", false}};
    for (const auto& [pattern, name, matches] : rows) {
        EXPECT_EQ(Pattern(pattern).Matches(name), matches) << ToUtf8(pattern) << ' ' << ToUtf8(name);
    }
}

TEST_F(FileFailures, ReadOnlyFilesAreNotWritten)
{
    auto* const made =
        CreateFileW(new_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_READONLY, nullptr);
    EXPECT_TRUE(WriteFile(made, "text", 4, &done_, nullptr)); // who makes it may write it
    CloseHandle(made);
    for (const DWORD disposition : {CREATE_ALWAYS, OPEN_EXISTING, OPEN_ALWAYS, TRUNCATE_EXISTING}) {
        EXPECT_FALSE(Opened(CreateFileW(new_.c_str(), GENERIC_WRITE, 0, nullptr, disposition, 0, nullptr)));
        EXPECT_EQ(lastError, ERROR_ACCESS_DENIED);
    }
    EXPECT_TRUE(Opened(CreateFileW(new_.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)));
    EXPECT_EQ(std::filesystem::file_size(ToNative(new_)), 4u);
}

TEST_F(FileFailures, WindowsAnswersWhereWineHasOthers)
{
    LONG high = 0;
    EXPECT_EQ(SetFilePointer(file_, -1, &high, FILE_BEGIN), 0xFFFFFFFF);
    EXPECT_EQ(SetFilePointer(file_, 1, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(lastError, ERROR_INVALID_PARAMETER);
    EXPECT_EQ(SetFilePointer(file_, 1, &high, FILE_CURRENT), 0u);
    auto* const read = CreateFileW(old_.c_str(), GENERIC_READ, 3, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_FALSE(SetEndOfFile(read));
    EXPECT_EQ(lastError, ERROR_ACCESS_DENIED);
    EXPECT_FALSE(SetFileTime(read, nullptr, nullptr, &time_));
    CloseHandle(read);
    EXPECT_FALSE(CreateDirectoryW(u"Z:\\", nullptr) || RemoveDirectoryW(u"Z:\\"));
    EXPECT_EQ(lastError, ERROR_ACCESS_DENIED);
}

} // namespace
