// Opening files, what can be done with them, and folders.
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <numeric>
#include <tuple>

namespace {

constexpr DWORD UNTOUCHED = 77;

class Files : public testing::Test {
protected:
    HANDLE Open(const std::string& name, DWORD access, DWORD disposition)
    {
        SetLastError(UNTOUCHED);
        return CreateFileW(PathOf(name).c_str(), access, FILE_SHARE_READ, nullptr, disposition,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    }

    [[nodiscard]] WideText PathOf(const std::string& name) const
    {
        return ToPlatform(scratch_.Path()) + WIDE("\\") + WideText(name.begin(), name.end());
    }

    // A file of ten digits, open for reading and writing.
    HANDLE OpenDigits()
    {
        std::ofstream(scratch_.Path() / "digits") << "0123456789";
        return Open("digits", GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING);
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
    for (const WCHAR* name : {LPCWSTR{nullptr}, WIDE("")}) {
        EXPECT_EQ(CreateFileW(name, 0, 0, nullptr, 6, 0, nullptr), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
    }
}

// The last error after a call, which has to tell whether it failed.
DWORD ErrorOf(const std::function<bool()>& call)
{
    SetLastError(UNTOUCHED);
    const bool succeeded = call();
    EXPECT_EQ(succeeded, GetLastError() == UNTOUCHED);
    return GetLastError();
}

// What is read, or the error.
std::string Read(HANDLE file, DWORD count)
{
    std::string bytes(count, '?');
    DWORD done = 99;
    const DWORD error = ErrorOf([&] { return ReadFile(file, bytes.data(), count, &done, nullptr) != FALSE; });
    return error == UNTOUCHED ? bytes.substr(0, done) : std::to_string(error) + ':' + std::to_string(done);
}

DWORD Size(HANDLE file, DWORD& high)
{
    SetLastError(UNTOUCHED);
    return GetFileSize(file, &high);
}

TEST_F(Files, PositionsMoveByTheirRules)
{
    constexpr LONG NONE = 99;
    constexpr LONG MOST = 0x7FFFFFFF;
    constexpr DWORD FAILED = INVALID_SET_FILE_POINTER;
    struct Row {
        LONG distance;
        LONG high; // NONE: a null pointer
        DWORD method;
        DWORD result;
        LONG highResult;
        DWORD error;
    };
    const Row rows[] = {{5, NONE, FILE_BEGIN, 5, NONE, UNTOUCHED},
                        {-1, NONE, FILE_CURRENT, 4, NONE, UNTOUCHED},
                        {-5, NONE, FILE_CURRENT, FAILED, NONE, ERROR_NEGATIVE_SEEK},
                        {-1, NONE, FILE_BEGIN, FAILED, NONE, ERROR_NEGATIVE_SEEK},
                        {3, NONE, FILE_END, 13, NONE, UNTOUCHED},
                        {-11, NONE, FILE_END, FAILED, NONE, ERROR_NEGATIVE_SEEK},
                        {0, 5, 3, FAILED, 5, ERROR_INVALID_PARAMETER},
                        {MOST, NONE, FILE_BEGIN, 0x7FFFFFFF, NONE, UNTOUCHED},
                        {MOST, NONE, FILE_CURRENT, 0xFFFFFFFE, NONE, UNTOUCHED},
                        {1, NONE, FILE_CURRENT, 0xFFFFFFFF, NONE, ERROR_SUCCESS},
                        {-1, 0, FILE_BEGIN, 0xFFFFFFFF, 0, ERROR_SUCCESS},
                        {1, 0, FILE_CURRENT, 0, 1, UNTOUCHED},
                        {-1, -1, FILE_CURRENT, 0xFFFFFFFF, 0, ERROR_SUCCESS},
                        {-1, -1, FILE_BEGIN, FAILED, -1, ERROR_NEGATIVE_SEEK},
                        {4, 0, FILE_BEGIN, 4, 0, UNTOUCHED}};
    auto* const file = OpenDigits();
    for (const Row& row : rows) {
        LONG high = row.high;
        SetLastError(UNTOUCHED);
        EXPECT_EQ(SetFilePointer(file, row.distance, high == NONE ? nullptr : &high, row.method), row.result);
        EXPECT_EQ(GetLastError(), row.error) << row.distance << ' ' << row.high << ' ' << row.method;
        EXPECT_EQ(high, row.highResult);
    }
    EXPECT_EQ(Read(file, 2), "45");
    CloseHandle(file);
}

TEST_F(Files, ReadingStopsAtTheEnd)
{
    auto* const file = OpenDigits();
    DWORD done = 0;
    EXPECT_EQ(Read(file, 4), "0123");
    EXPECT_EQ(Read(file, 20), "456789");
    EXPECT_EQ(Read(file, 20), "");
    EXPECT_TRUE(WriteFile(file, "ab", 2, &done, nullptr));
    EXPECT_TRUE(ReadFile(file, nullptr, 0, &done, nullptr));
    EXPECT_EQ(ErrorOf([&] { return ReadFile(file, nullptr, 5, &done, nullptr) != FALSE; }),
              DWORD{ERROR_NOACCESS});
    SetFilePointer(file, 9, nullptr, FILE_BEGIN);
    for (const std::uintptr_t place : {0U, 16U}) {
        auto* const none = reinterpret_cast<void*>(place);
        EXPECT_EQ(ErrorOf([&] { return ReadFile(file, none, 5, &done, nullptr) != FALSE; }),
                  DWORD{ERROR_NOACCESS});
        EXPECT_EQ(done, 0u);
        EXPECT_EQ(ErrorOf([&] { return WriteFile(file, none, 5, &done, nullptr) != FALSE; }),
                  DWORD{ERROR_INVALID_USER_BUFFER});
        EXPECT_EQ(done, 0u);
    }
    EXPECT_EQ(Read(file, 20), "9ab");
    CloseHandle(file);
    for (const std::size_t size : {0u, 1u, 5000u}) {
        std::string content(size, '\0');
        std::iota(content.begin(), content.end(), '\0');
        std::ofstream(scratch_.Path() / "sized", std::ios::binary) << content;
        auto* const sized = Open("sized", GENERIC_READ, OPEN_EXISTING);
        EXPECT_EQ(GetFileSize(sized, nullptr), size);
        std::string read;
        for (const DWORD count : {500u, 500u, 9000u, 1u}) {
            read += Read(sized, count);
        }
        EXPECT_EQ(read, content);
        EXPECT_EQ(SetFilePointer(sized, -1, nullptr, FILE_END), size == 0 ? DWORD{0} - 1 : size - 1);
        EXPECT_EQ(Read(sized, 9), size == 0 ? "" : content.substr(size - 1));
        CloseHandle(sized);
    }
}

TEST_F(Files, EndsAreSetWhereThePositionIs)
{
    DWORD high = 9;
    auto* const file = OpenDigits();
    for (const auto& [low, highPart, error] : {std::tuple(DWORD{0xFFFFFFFF}, LONG{0}, DWORD{ERROR_SUCCESS}),
                                               {5, 1, UNTOUCHED},
                                               {3, 0, UNTOUCHED}}) {
        LONG position = highPart;
        SetFilePointer(file, static_cast<LONG>(low), &position, FILE_BEGIN);
        EXPECT_TRUE(SetEndOfFile(file));
        EXPECT_EQ(Size(file, high), low);
        EXPECT_EQ(GetLastError(), error);
        EXPECT_EQ(high, static_cast<DWORD>(highPart));
    }
    SetFilePointer(file, 5, nullptr, FILE_BEGIN);
    DWORD done = 0;
    EXPECT_TRUE(WriteFile(file, "x", 1, &done, nullptr));
    CloseHandle(file);
    EXPECT_EQ(Content("digits"), std::string("012\0\0x", 6));
}

TEST_F(Files, TimesAreKept)
{
    const FILETIME first = {0x12345678, 0x01D00000};
    const FILETIME second = {0x87654321, 0x01C00000};
    const FILETIME zero = {0, 0};
    const FILETIME all = {0xFFFFFFFF, 0xFFFFFFFF};
    const FILETIME none = {0, 0x80000000};
    auto* const file = OpenDigits();
    EXPECT_TRUE(SetFileTime(file, nullptr, &second, &first));
    EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, nullptr) && SetFileTime(file, &zero, &all, &zero));
    EXPECT_EQ(ErrorOf([&] { return SetFileTime(file, nullptr, &first, &none) != FALSE; }),
              DWORD{ERROR_INVALID_PARAMETER});
    FILETIME access = {};
    FILETIME write = {};
    EXPECT_TRUE(GetFileTime(file, nullptr, &access, nullptr) && GetFileTime(file, nullptr, nullptr, &write));
    EXPECT_EQ(access.dwLowDateTime, second.dwLowDateTime);
    EXPECT_EQ(access.dwHighDateTime, second.dwHighDateTime);
    EXPECT_EQ(write.dwLowDateTime, first.dwLowDateTime);
    EXPECT_EQ(write.dwHighDateTime, first.dwHighDateTime);
    CloseHandle(file);
}

TEST_F(Files, DoWhatTheyWereOpenedFor)
{
    DWORD done = 0;
    DWORD high = 9;
    CloseHandle(OpenDigits());
    for (const DWORD access : {DWORD{0}, DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}}) {
        auto* const file = Open("digits", access, OPEN_EXISTING);
        EXPECT_EQ(Read(file, 4), access == GENERIC_READ ? "0123" : "5:0");
        EXPECT_EQ(Read(file, 0), access == GENERIC_READ ? "" : "5:0");
        done = 1;
        EXPECT_EQ(ErrorOf([&] { return WriteFile(file, "", 0, &done, nullptr) != FALSE; }),
                  access == GENERIC_WRITE ? UNTOUCHED : DWORD{ERROR_ACCESS_DENIED});
        EXPECT_EQ(done, 0u);
        EXPECT_EQ(Size(file, high), 10u);
        EXPECT_EQ(high, 0u);
        EXPECT_EQ(SetFilePointer(file, 3, nullptr, FILE_BEGIN), 3u);
        EXPECT_TRUE(GetFileTime(file, nullptr, nullptr, nullptr));
        CloseHandle(file);
    }
    auto* const closed = OpenDigits();
    CloseHandle(closed);
    FILETIME time = {};
    for (auto* const file : {HANDLE{nullptr}, INVALID_HANDLE_VALUE, closed}) {
        const std::function<bool()> calls[] = {
            [&] { return SetFilePointer(file, 0, nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER; },
            [&] { return GetFileSize(file, nullptr) != INVALID_FILE_SIZE; },
            [&] { return SetEndOfFile(file) != FALSE; },
            [&] { return GetFileTime(file, nullptr, nullptr, &time) != FALSE; },
            [&] { return SetFileTime(file, nullptr, nullptr, &time) != FALSE; },
            [&] { return WriteFile(file, nullptr, 1, &done, nullptr) != FALSE; },
        };
        for (const auto& call : calls) {
            EXPECT_EQ(ErrorOf(call), DWORD{ERROR_INVALID_HANDLE});
        }
        EXPECT_EQ(Read(file, 1), "6:0");
        EXPECT_EQ(SetFilePointer(file, 0, nullptr, 3), INVALID_SET_FILE_POINTER);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    }
}

TEST_F(Files, PathsThatNameFoldersOpenNothing)
{
    std::filesystem::create_directory(scratch_.Path() / "folder");
    std::ofstream(scratch_.Path() / "File") << "x";
    struct Row {
        const char* name;
        DWORD errors[5]; // for each disposition
    };
    const Row rows[] = {{"folder", {80, 5, 5, 5, 5}},         {"folder\\", {80, 5, 5, 5, 5}},
                        {"File\\", {80, 123, 123, 123, 123}}, {"new\\", {123, 123, 2, 123, 2}},
                        {"no\\new", {3, 3, 3, 3, 3}},         {"File\\new", {3, 3, 3, 3, 3}},
                        {"Fi*", {123, 123, 123, 123, 123}}};
    for (const Row& row : rows) {
        for (DWORD disposition = CREATE_NEW; disposition <= TRUNCATE_EXISTING; ++disposition) {
            for (const DWORD access : {DWORD{GENERIC_READ}, DWORD{GENERIC_READ | GENERIC_WRITE}}) {
                if (disposition == TRUNCATE_EXISTING && access == GENERIC_READ) {
                    continue; // a mistake of its own
                }
                EXPECT_EQ(Open(row.name, access, disposition), INVALID_HANDLE_VALUE);
                EXPECT_EQ(GetLastError(), row.errors[disposition - 1]) << row.name << disposition;
            }
        }
    }
    EXPECT_EQ(Content("File"), "x");
    auto* const found = Open("fILE", GENERIC_READ, OPEN_ALWAYS);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(Read(found, 5), "x");
    CloseHandle(found);
}

TEST_F(Files, FoldersAreMadeAndRemoved)
{
    std::ofstream(scratch_.Path() / "file") << "x";
    constexpr DWORD LEFT_OUT = 0;
    struct Row {
        const char* name;
        DWORD made; // the errors of all three in turn
        DWORD deleted;
        DWORD removed;
    };
    const Row rows[] = {
        {"dir", UNTOUCHED, 5, 145},
        {"DIR\\", 183, 5, 145},
        {"file\\", 183, 123, 123},
        {"no\\x", 3, 3, 3},
        {"file\\x", 3, 3, 3},
        {"a*", 123, 123, 123},
        {"d2\\", UNTOUCHED, 5, UNTOUCHED},
        {"d3.", UNTOUCHED, 5, UNTOUCHED},
        {"new\\x\\", 3, 3, 3},
        {"..", 183, LEFT_OUT, LEFT_OUT},
        {"no", LEFT_OUT, 2, 2},
        {"no\\", LEFT_OUT, 2, 2},
        {"dir\\in", UNTOUCHED, LEFT_OUT, LEFT_OUT},
        {"file", 183, LEFT_OUT, 267},
    };
    const auto check = [this](const char* name, DWORD error, const auto& call) {
        const WideText path = PathOf(name);
        EXPECT_TRUE(error == LEFT_OUT || ErrorOf([&] { return call(path.c_str()) != FALSE; }) == error)
            << name << GetLastError();
    };
    const auto make = [](LPCWSTR path) { return CreateDirectoryW(path, nullptr); };
    for (const Row& row : rows) {
        check(row.name, row.made, make);
    }
    for (const Row& row : rows) {
        check(row.name, row.deleted, DeleteFileW);
        check(row.name, row.removed, RemoveDirectoryW);
    }
    check("FILE", UNTOUCHED, DeleteFileW);
    check("Dir\\IN", UNTOUCHED, RemoveDirectoryW);
    SetCurrentDirectoryW(PathOf("dir").c_str());
    check("dir", ERROR_SHARING_VIOLATION, RemoveDirectoryW);
    SetCurrentDirectoryW(PathOf("").c_str());
    check("dir", UNTOUCHED, RemoveDirectoryW);
    EXPECT_TRUE(std::filesystem::is_empty(scratch_.Path()));
    for (const WCHAR* none : {LPCWSTR{nullptr}, WIDE("")}) {
        EXPECT_EQ(ErrorOf([&] { return make(none) != FALSE; }), DWORD{3});
        EXPECT_EQ(ErrorOf([&] { return DeleteFileW(none) != FALSE; }), DWORD{3});
        EXPECT_EQ(ErrorOf([&] { return RemoveDirectoryW(none) != FALSE; }), DWORD{123});
    }
}

TEST_F(Files, NamesThatAreTooLongLeadNowhere)
{
    for (const std::string& name : {std::string(256, 'x'), std::string(4000, 'x') + "\\in"}) {
        const WideText path = PathOf(name);
        const std::function<bool()> calls[] = {
            [&] { return Open(name, GENERIC_READ, OPEN_EXISTING) != INVALID_HANDLE_VALUE; },
            [&] { return Open(name, GENERIC_WRITE, OPEN_ALWAYS) != INVALID_HANDLE_VALUE; },
            [&] { return DeleteFileW(path.c_str()) != FALSE; },
            [&] { return CreateDirectoryW(path.c_str(), nullptr) != FALSE; },
            [&] { return RemoveDirectoryW(path.c_str()) != FALSE; },
        };
        for (const auto& call : calls) {
            const DWORD error = ErrorOf(call);
            EXPECT_TRUE(error == ERROR_PATH_NOT_FOUND || error == ERROR_FILE_NOT_FOUND) << error;
        }
    }
}

DWORD WINAPI WriteRecords(LPVOID file)
{
    DWORD done = 0;
    for (int i = 0; i < 20000; ++i) {
        WriteFile(file, "one whole record", 16, &done, nullptr);
    }
    return 0;
}

TEST_F(Files, ThreadsShareAPosition)
{
    auto* const file = Open("file", GENERIC_WRITE, CREATE_ALWAYS);
    auto* const thread = CreateThread(nullptr, 0, WriteRecords, file, 0, nullptr);
    WriteRecords(file);
    EXPECT_EQ(WaitForSingleObject(thread, 60000), DWORD{WAIT_OBJECT_0});
    CloseHandle(thread);
    CloseHandle(file);
    const std::string content = Content("file");
    EXPECT_EQ(content.size(), 640000u);
    for (std::size_t place = 0; place < content.size(); place += 16) {
        EXPECT_EQ(content.substr(place, 16), "one whole record");
    }
}

} // namespace
