// Version resources of program files, whole and damaged, as the real platform reads them.
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/Target.h"
#include "Tests/Support/VersionedFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>

namespace {

using namespace VersionedFilePlaces;

constexpr DWORD UNTOUCHED = 77;
const std::string NONE = "1812"; // ERROR_RESOURCE_DATA_NOT_FOUND

// "1.2.3.4 5.6.7.8" of the file and the product; why not, where the file has none.
std::string VersionAt(LPCWSTR path)
{
    DWORD handle = 9;
    char unused[500];
    SetLastError(UNTOUCHED);
    const DWORD size = GetFileVersionInfoSizeW(path, &handle);
    const DWORD error = GetLastError();
    EXPECT_EQ(handle, 0u);
    if (size == 0) {
        EXPECT_FALSE(GetFileVersionInfoW(path, 0, sizeof(unused), unused));
        return std::to_string(error);
    }
    const std::unique_ptr<char[]> block(new char[size]);
    void* value = nullptr;
    UINT length = 0;
    EXPECT_TRUE(GetFileVersionInfoW(path, 0, size, block.get()));
    EXPECT_TRUE(VerQueryValueW(block.get(), WIDE("\\"), &value, &length));
    EXPECT_EQ(length, sizeof(VS_FIXEDFILEINFO));
    const auto& info = *static_cast<const VS_FIXEDFILEINFO*>(value);
    std::string text;
    for (const DWORD part :
         {info.dwFileVersionMS, info.dwFileVersionLS, info.dwProductVersionMS, info.dwProductVersionLS}) {
        text += std::to_string(part >> 16) + "." + std::to_string(part & 0xFFFF) + " ";
    }
    return text;
}

std::string VersionOf(const std::string& bytes)
{
    const ScratchFolder scratch;
    std::ofstream(scratch.Path() / "file", std::ios::binary) << bytes;
    return VersionAt(ToPlatform(scratch.Path() / "file").c_str());
}

TEST(FileVersions, AreReadFromProgramsOfEitherWidth)
{
    const VersionNumbers file{65535, 0, 32768, 1};
    EXPECT_EQ(VersionOf(VersionedFile({.file = file})), "65535.0 32768.1 5.6 7.8 ");
    EXPECT_EQ(VersionOf(VersionedFile({.file = file, .is64Bit = true})), "65535.0 32768.1 5.6 7.8 ");
}

TEST(FileVersions, AreNoneInWhatIsDamaged)
{
    const std::string sound = "1.2 3.4 5.6 7.8 ";
    const struct {
        std::size_t place, size;
        std::uint32_t value;
        const std::string& result;
    } rows[] = {
        {0, 2, 0, NONE},
        {HEADERS, 4, 0x10000000, NONE},
        {HEADERS, 4, 0xFFFFFFFF, NONE},
        {SIGNATURE, 2, 0x454E, NONE},
        {SECTION_COUNT, 2, 0, NONE},
        {SECTION_COUNT, 2, 0xFFFF, NONE},
        {OPTIONAL_HEADER_SIZE, 2, 0, NONE},
        {OPTIONAL_HEADER_SIZE, 2, 0xFFFF, NONE},
        {MAGIC, 2, 0x107, NONE},
        {DIRECTORY_COUNT, 4, 2, NONE},
        {DIRECTORY_COUNT, 4, 3, sound},
        {RESOURCE_DIRECTORY, 4, 0x5000, NONE},
        {RESOURCE_DIRECTORY + 4, 4, 0, NONE},
        {SECTION + 12, 4, 0xFFFFF000, NONE},
        {SECTION + 16, 4, 0, NONE},
        {SECTION + 20, 4, 0xFFFFFF00, NONE},
        {TYPES + 14, 2, 0, NONE},
        {TYPES + 16, 4, 3, NONE},
        {TYPES + 20, 4, 0x18, NONE},       // leads to data
        {TYPES + 20, 4, 0x80000000, NONE}, // leads to itself
        {TYPES + 20, 4, 0xFFFFFFF0, NONE},
        {NAMES + 14, 2, 0, NONE},
        {LANGUAGES + 14, 2, 0, NONE},
        {LANGUAGES + 16, 4, 0x407, sound},
        {LANGUAGES + 20, 4, 0x80000048, NONE}, // leads to a folder
        {RESOURCE, 2, 0xFFFF, sound},
    };
    for (const auto& row : rows) {
        std::string file = VersionedFile();
        SetNumber(file, row.place, row.value, row.size);
        EXPECT_EQ(VersionOf(file), row.result) << std::hex << row.place << ": " << row.value;
    }
    for (std::size_t size = 0; size <= LANGUAGES; size += 8) {
        EXPECT_EQ(VersionOf(VersionedFile().substr(0, size)), NONE) << size;
    }
    EXPECT_EQ(VersionOf("\x7F"
                        "ELF and more than what a header has, so that it is read as one all the same"),
              NONE);
}

TEST(FileVersions, NeedAFile)
{
    const ScratchFolder scratch;
    const WideText folder = ToPlatform(scratch.Path());
    EXPECT_EQ(VersionAt(folder.c_str()), std::to_string(ERROR_ACCESS_DENIED));
    EXPECT_EQ(VersionAt((folder + WIDE("\\no")).c_str()), std::to_string(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(VersionAt((folder + WIDE("\\no\\x")).c_str()), std::to_string(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(VersionAt(WIDE("")), std::to_string(ERROR_BAD_PATHNAME));
    EXPECT_EQ(VersionAt(nullptr), std::to_string(ERROR_INVALID_PARAMETER));
}

} // namespace
