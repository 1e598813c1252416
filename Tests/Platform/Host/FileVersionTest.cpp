// Version resources whose damage the layer sees and the platform does not, and blocks of any size.
#include "Platform/Host/VersionResource.h"
#include "Platform/Win32.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/Target.h"
#include "Tests/Support/VersionedFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <memory>

namespace {

using namespace Platform::Host;
using namespace VersionedFilePlaces;

bool HasVersion(const std::string& file)
{
    return FindVersionResource([&](std::uint64_t place, void* bytes, std::size_t size) {
               const bool isThere = place <= file.size() && size <= file.size() - place;
               std::memcpy(bytes, isThere ? file.data() + place : "", isThere ? size : 0);
               return isThere;
           })
        .has_value();
}

TEST(HostFileVersions, AreWholeOrNone)
{
    EXPECT_TRUE(HasVersion(VersionedFile()));
    for (std::size_t size = 0; size < END; ++size) {
        EXPECT_FALSE(HasVersion(VersionedFile().substr(0, size))) << size;
    }
    const std::tuple<std::size_t, std::uint32_t, std::size_t> rows[] = {
        {SIGNATURE, 0x14550, 4}, {SECTION + 16, END - TYPES - 1, 4},
        {DATA, 0x7FFFFFFF, 4},   {DATA, 0xFFFFFFFF, 4},
        {DATA + 4, 91, 4},       {DATA + 4, 0xFFFFFFFF, 4},
        {RESOURCE, 91, 2},       {RESOURCE + 2, 51, 2},
        {KEY + 28, 'X', 2},      {KEY + 30, 1, 2},
        {MAGIC, 0x20B, 2}};
    for (const auto& [place, value, size] : rows) {
        std::string file = VersionedFile();
        SetNumber(file, place, value, size);
        EXPECT_FALSE(HasVersion(file)) << std::hex << place << ": " << value;
    }
}

TEST(HostFileVersions, LieWithinTheirBlocks)
{
    const ScratchFolder scratch;
    std::ofstream(scratch.Path() / "file", std::ios::binary) << VersionedFile();
    for (DWORD size = 0; size <= END - RESOURCE; ++size) {
        const std::unique_ptr<char[]> block(new char[size]);
        void* value = nullptr;
        UINT length = 9;
        const bool fits =
            GetFileVersionInfoW(ToPlatform(scratch.Path() / "file").c_str(), 0, size, block.get());
        EXPECT_EQ(fits, size >= 2);
        const bool isThere = fits && VerQueryValueW(block.get(), u"\\", &value, &length) != FALSE;
        EXPECT_EQ(isThere, size == END - RESOURCE);
        EXPECT_TRUE(!fits || length == (isThere ? sizeof(VS_FIXEDFILEINFO) : 0));
    }
}

} // namespace
