#include "Plinth/Streams/CWindowsFileStream.h"
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Support/RegistryKey.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <string>

namespace Plinth {
namespace {

constexpr std::uint32_t READ_WRITE = MODE_READ | MODE_WRITE;
constexpr std::uint32_t SHARED = MODE_SHARE_READ | MODE_SHARE_WRITE;

// The kind of what is thrown; nullopt: nothing is.
template <typename Body>
std::optional<CFileError> ThrownBy(const Body& body)
{
    try {
        body();
    } catch (const CFileException& exception) {
        return exception.kind;
    }
    return std::nullopt;
}

class WindowsFileStream : public testing::Test {
protected:
    [[nodiscard]] std::filesystem::path PathOf(const std::u8string& name) const
    {
        return folder_.Path() / std::filesystem::path(name);
    }
    [[nodiscard]] std::string NameOf(const std::u8string& name) const
    {
        return ToUtf8(ToPlatform(folder_.Path())) + '\\' + std::string(name.begin(), name.end());
    }
    void Store(const std::string& content) const { std::ofstream(file, std::ios::binary) << content; }
    std::optional<CFileError> FailureOf(std::uint32_t mode, const std::u8string& name = u8"file")
    {
        return ThrownBy([&] { opened = stream.Open(NameOf(name).c_str(), mode); });
    }
    void Open(std::uint32_t mode = MODE_OPEN_EXISTING | READ_WRITE | SHARED)
    {
        ASSERT_TRUE(stream.Open(NameOf(u8"file").c_str(), mode));
    }
    void ExpectClosed(const std::string& name)
    {
        char byte = 'x';
        EXPECT_EQ(stream.GetName().CStr(), name);
        EXPECT_EQ(stream.GetTime() + stream.GetSize() + stream.GetPosition(), 0u);
        EXPECT_EQ(stream.Seek(5, ORIGIN_END), 0u);
        stream.SetSize(5);
        stream.SetPosition(UINT32_MAX);
        stream.SetTime(5);
        stream.Write("x", 1);
        EXPECT_EQ(stream.Read(&byte, 0, 0) + stream.Read(nullptr, 1, 0), 0u);
        EXPECT_EQ(ThrownBy([&] { stream.Read(&byte, 1, READ_ALLOW_PARTIAL); }), FILE_ERROR_END_OF_FILE);
        EXPECT_EQ(byte, 'x');
    }
    // Without sharing it can be opened only where nobody has it.
    void ExpectNobodyHasIt() const
    {
        CWindowsFileStream alone;
        EXPECT_NO_THROW(alone.Open(NameOf(u8"file").c_str(), MODE_OPEN_EXISTING | READ_WRITE));
    }

    CWindowsFileStream stream;
    bool opened = false;

private:
    ScratchFolder folder_;

protected:
    const std::filesystem::path file = PathOf(u8"file");
};

TEST_F(WindowsFileStream, CreatesOrOpensByItsMode)
{
    using Failure = std::optional<CFileError>;
    struct Row {
        Failure missing; // nullopt: it is created
        Failure existing;
        std::string content; // of a file that was there
    };
    const Row open = {FILE_ERROR_NOT_FOUND, {}, "old"};
    const Row always = {{}, {}, "old"};
    const Row truncate = {FILE_ERROR_NOT_FOUND, {}, ""};
    const Row kinds[] = {open, {{}, {}, ""}, {{}, FILE_ERROR_GENERIC, "old"}, open, always, truncate, always};
    for (std::uint32_t i = 0; i <= 4 * MODE_CREATION_MASK; ++i) {
        const std::uint32_t kind = i / 4;
        const std::uint32_t mode =
            kind | READ_WRITE | (i % 2 != 0 ? MODE_MISSING_OK : 0) | (i % 4 > 1 ? 0x7040U : 0);
        SCOPED_TRACE(mode);
        const Row& row = kinds[kind < std::size(kinds) ? kind : 0];
        const bool tolerated = i % 2 != 0 && (kind == 0 || kind == MODE_OPEN_EXISTING || kind > MODE_APPEND);
        std::filesystem::remove(file);
        opened = true;
        EXPECT_EQ(FailureOf(mode), tolerated ? Failure() : row.missing);
        EXPECT_EQ(opened, !tolerated);
        EXPECT_EQ(std::filesystem::exists(file), !row.missing);
        if (row.missing) {
            ExpectClosed(tolerated ? NameOf(u8"file") : "");
        }
        stream.Close();
        Store("old");
        EXPECT_EQ(FailureOf(mode), row.existing);
        EXPECT_EQ(stream.GetName().CStr(), row.existing ? "" : NameOf(u8"file"));
        EXPECT_EQ(stream.GetPosition(), 0u);
        EXPECT_EQ(stream.GetSize(), row.existing ? 0u : row.content.size());
        stream.Write("N", 1);
        stream.Close();
        EXPECT_EQ(ReadFile(file), row.existing ? "old" : row.content.empty() ? "N" : "Nld");
    }
}

TEST_F(WindowsFileStream, AsksForNoMoreAccessThanItsModeSays)
{
    Store("text");
    for (std::uint32_t bits = 0; bits < 16; ++bits) {
        char byte = 0;
        const bool reads = (bits & 1) != 0;
        const bool writes = (bits & 2) != 0;
        Open(MODE_OPEN_EXISTING | bits % 4 * MODE_READ | bits / 4 * MODE_SHARE_READ);
        EXPECT_EQ(ThrownBy([&] { stream.Read(&byte, 1, 0); }).has_value(), !reads);
        EXPECT_EQ(ThrownBy([&] { stream.Write("x", 1); }).has_value(), !writes);
        EXPECT_EQ(ThrownBy([&] { stream.SetSize(4); }).has_value(), !writes);
        for (const std::uint32_t access : {1U, 2U}) { // what another may do at the same time
            CWindowsFileStream other;
            const std::uint32_t mode = MODE_OPEN_EXISTING | MODE_MISSING_OK | access * MODE_READ | SHARED;
            const bool opens = bits % 4 == 0 || (bits / 4 & access) != 0;
            EXPECT_EQ(ThrownBy([&] { other.Open(NameOf(u8"file").c_str(), mode); }),
                      opens ? std::nullopt : std::optional(FILE_ERROR_GENERIC))
                << bits << access;
        }
    }
}

TEST_F(WindowsFileStream, CanBeOpenedAgain)
{
    ExpectClosed("");
    Store("text");
    Open(MODE_OPEN_EXISTING | MODE_READ);
    Open(MODE_OPEN_EXISTING | READ_WRITE); // the one before does not stand in its way
    EXPECT_EQ(FailureOf(MODE_OPEN_EXISTING | MODE_READ, u8"missing"), FILE_ERROR_NOT_FOUND);
    ExpectClosed("");
    ExpectNobodyHasIt(); // and the stream of that ends
    Open();
    stream.Close();
    stream.Close();
    ExpectClosed("");
    ExpectNobodyHasIt();
    Open();
    EXPECT_EQ(FailureOf(MODE_OPEN_EXISTING | MODE_READ | MODE_MISSING_OK, u8"missing"), std::nullopt);
    ExpectClosed(NameOf(u8"missing"));
    ExpectNobodyHasIt();
}

TEST_F(WindowsFileStream, TellsWhatCannotBeOpened)
{
    EXPECT_EQ(FailureOf(MODE_CREATE_ALWAYS | READ_WRITE | MODE_MISSING_OK, u8"none\\file"),
              FILE_ERROR_NOT_FOUND);
    EXPECT_EQ(FailureOf(MODE_OPEN_EXISTING | MODE_READ | MODE_MISSING_OK, u8"a\"quote"), FILE_ERROR_GENERIC);
    EXPECT_NE(FailureOf(MODE_CREATE_ALWAYS | MODE_WRITE, std::u8string(40000, 'x')), std::nullopt);
    for (const char* const none : {"", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(ThrownBy([&] { stream.Open(none, MODE_CREATE_ALWAYS | MODE_WRITE); }),
                  FILE_ERROR_NOT_FOUND);
    }
    ExpectClosed("");
    const std::string illFormed = NameOf(u8"a") + "\xFF" + "b";
    EXPECT_TRUE(stream.Open(illFormed.c_str(), MODE_CREATE_NEW | MODE_WRITE));
    EXPECT_EQ(stream.GetName().CStr(), illFormed);
    EXPECT_TRUE(std::filesystem::exists(PathOf(u8"a\uFFFDb")));
}

TEST_F(WindowsFileStream, StandsAnywhereBelowFourGibibytes)
{
    Store("text");
    Open();
    for (const std::uint32_t position : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu, 3u}) {
        stream.SetPosition(position);
        EXPECT_EQ(ThrownBy([&] { EXPECT_EQ(stream.GetPosition(), position); }),
                  position == UINT32_MAX ? std::optional(FILE_ERROR_NONE) : std::nullopt);
    }
    for (const std::uint32_t size : {0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ThrownBy([&] { stream.SetSize(size); }), FILE_ERROR_GENERIC);
    }
    for (const std::uint32_t origin : {ORIGIN_BEGIN, 3u, UINT32_MAX}) {
        EXPECT_EQ(ThrownBy([&] { stream.Seek(-1, origin); }), FILE_ERROR_GENERIC);
        EXPECT_EQ(stream.GetPosition(), 3u);
        EXPECT_EQ(stream.Seek(3, origin), 3u);
    }
    EXPECT_EQ(ThrownBy([&] { stream.Seek(-5, ORIGIN_END); }), FILE_ERROR_GENERIC);
    EXPECT_EQ(stream.GetSize(), 4u);
    stream.SetPosition(0xFFFFFFFE); // a file with a hole
    stream.Write("x", 1);
    EXPECT_EQ(ThrownBy([&] { stream.GetSize(); }), FILE_ERROR_NONE);
    stream.SetSize(2);
    EXPECT_EQ(stream.GetPosition(), 2u);
    stream.Close();
    EXPECT_EQ(ReadFile(file), "te");
}

TEST_F(WindowsFileStream, MeetsAFileThatOthersCut)
{
    Store("0123456789");
    Open();
    char bytes[10] = {};
    stream.SetPosition(4);
    EXPECT_EQ(stream.Read(nullptr, 4, 0), 0u);
    stream.Write(nullptr, 4);
    EXPECT_EQ(stream.GetPosition(), 4u);
    std::filesystem::resize_file(file, 7);
    EXPECT_EQ(ThrownBy([&] { stream.Read(bytes, 4, 0); }), FILE_ERROR_END_OF_FILE);
    EXPECT_STREQ(bytes, "456");
    EXPECT_EQ(stream.GetPosition(), 7u); // what there was is read
    std::filesystem::resize_file(file, 2);
    EXPECT_EQ(stream.Read(bytes, 4, READ_ALLOW_PARTIAL), 0u);
}

TEST_F(WindowsFileStream, SetsNoOtherTimes)
{
    Store("text");
    Open();
    auto* const other = CreateFileW(ToPlatform(file).c_str(), GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    const FILETIME accessed = {0xA, 0x01C12345};
    FILETIME found = {};
    EXPECT_TRUE(SetFileTime(other, nullptr, &accessed, nullptr));
    stream.SetTime(0x01C0000012345678);
    EXPECT_TRUE(GetFileTime(other, nullptr, &found, nullptr));
    EXPECT_EQ(found.dwHighDateTime, accessed.dwHighDateTime);
    EXPECT_EQ(found.dwLowDateTime, accessed.dwLowDateTime);
    CloseHandle(other);
    EXPECT_EQ(stream.GetTime(), 0x01C0000012345678u);
    Open(MODE_OPEN_EXISTING | MODE_READ);
    stream.SetTime(5); // may fail, which is not told
}

} // namespace
} // namespace Plinth
