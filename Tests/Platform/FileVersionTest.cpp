// Version resources of program files, whole and damaged, as the real platform reads them.
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/Target.h"
#include "Tests/Support/VersionedFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>

using namespace VersionedFilePlaces;

// The file's first and last number, as in "1 4"; the last error, where it has none.
static std::string VersionAt(LPCWSTR path)
{
    DWORD handle = 9;
    UINT length = 9;
    VS_FIXEDFILEINFO* info = nullptr;
    const DWORD size = GetFileVersionInfoSizeW(path, &handle);
    const DWORD error = GetLastError();
    const std::unique_ptr<char[]> block(new char[size + 2]);
    EXPECT_EQ(GetFileVersionInfoW(path, 0, size + 2, block.get()) != FALSE, size != 0);
    if (size == 0) {
        return std::to_string(error);
    }
    void* value = nullptr;
    EXPECT_TRUE(!VerQueryValueW(block.get(), WIDE("x"), &value, &length) && length == 0);
    EXPECT_TRUE(VerQueryValueW(block.get(), WIDE("\\"), reinterpret_cast<void**>(&info), &length));
    EXPECT_TRUE(length == sizeof(*info) && handle == 0);
    return std::to_string(info->dwFileVersionMS >> 16) + ' ' + std::to_string(info->dwFileVersionLS & 0xFFFF);
}

static std::string VersionOf(const std::string& bytes)
{
    const ScratchFolder scratch;
    std::ofstream(scratch.Path() / "file", std::ios::binary) << bytes;
    return VersionAt(ToPlatform(scratch.Path() / "file").c_str());
}

static std::string VersionOfDamaged(std::size_t place, std::uint32_t value)
{
    std::string file = VersionedFile();
    SetNumber(file, place, value);
    return VersionOf(file);
}

TEST(FileVersions, AreReadFromProgramsThatAreWhole)
{
    EXPECT_EQ(VersionOf(VersionedFile({.file = {65535, 0, 0, 32768}})), "65535 32768");
    EXPECT_EQ(VersionOf(VersionedFile({.file = {65535, 0, 0, 32768}, .is64Bit = true})), "65535 32768");
    for (const std::size_t place :
         {std::size_t{0}, HEADERS, SIGNATURE, SECTION_COUNT, OPTIONAL_HEADER_SIZE, MAGIC, RESOURCE_DIRECTORY,
          SECTION + 20, TYPES + 12, TYPES + 16, TYPES + 20, NAMES + 24, NAMES + 28}) {
        EXPECT_EQ(VersionOfDamaged(place, 0), "1812") << place;
        EXPECT_EQ(VersionOfDamaged(place, 0xFFFFFFFF), "1812") << place;
    }
    for (const std::size_t place :
         {DIRECTORY_COUNT, RESOURCE_DIRECTORY + 4, SECTION + 16, NAMES + 12, LANGUAGES + 12}) {
        EXPECT_EQ(VersionOfDamaged(place, 0), "1812") << place;
    }
    for (std::size_t size = 0; size <= LANGUAGES; size += 8) {
        EXPECT_EQ(VersionOf(VersionedFile().substr(0, size)), "1812") << size;
    }
    EXPECT_EQ(VersionAt(ToPlatform(std::filesystem::temp_directory_path()).c_str()), "5");
    EXPECT_EQ(VersionAt(WIDE("no such file")), "2");
    EXPECT_EQ(VersionAt(nullptr), "87");
}

TEST(FileVersions, AreReadBesideAWriterAndLeaveTheFileFree)
{
    const ScratchFolder scratch;
    const WideText path = ToPlatform(scratch.Path() / "file");
    std::ofstream(scratch.Path() / "file", std::ios::binary) << VersionedFile();
    for (const auto& [sharing, version] : {std::pair(DWORD{FILE_SHARE_READ}, "1 4"), {0, "32"}}) {
        auto* const writer =
            CreateFileW(path.c_str(), GENERIC_WRITE, sharing, nullptr, OPEN_EXISTING, 0, nullptr);
        EXPECT_EQ(VersionAt(path.c_str()), version);
        EXPECT_TRUE(CloseHandle(writer)) << version;
    }
}
