// Any bytes as a program file: the version resource found lies in it, and a block of it, large or small,
// shows the file's own bytes or nothing.
#include "Fuzz/Require.h"
#include "Platform/Host/Api/FileVersions.h"
#include "Platform/Host/VersionResource.h"

#include <algorithm>
#include <cstring>
#include <memory>

using namespace Platform::Host;

namespace {

constexpr DWORD FIXED_END = 40 + sizeof(VS_FIXEDFILEINFO);

// The block has exactly its size, so that a sanitizer sees one byte too far.
bool ShowsFixedPart(const FileReader& read, const VersionPlace& version, const std::uint8_t* resource,
                    DWORD size)
{
    const std::unique_ptr<char[]> block(new char[size]);
    void* value = nullptr;
    UINT length = 0;
    Require(ReadVersionBlock(read, version, block.get(), size));
    if (VerQueryValueW(block.get(), u"\\", &value, &length) == FALSE) {
        return false;
    }
    Require(size >= FIXED_END && length == sizeof(VS_FIXEDFILEINFO));
    Require(value == block.get() + 40 && std::memcmp(value, resource + 40, length) == 0);
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    unsigned reads = 0;
    const FileReader read = [&](std::uint64_t place, void* bytes, std::size_t count) {
        ++reads;
        if (place > size || count > size - place) {
            return false;
        }
        std::copy_n(data + place, count, static_cast<std::uint8_t*>(bytes));
        return true;
    };
    const std::optional<VersionPlace> version = FindVersionResource(read);
    Require(reads < 40);
    if (!version.has_value()) {
        return 0;
    }
    Require(version->start <= size && version->size <= size - version->start);
    const std::uint8_t* const resource = data + version->start;
    Require(ShowsFixedPart(read, *version, resource, version->size));
    Require(ShowsFixedPart(read, *version, resource, FIXED_END));
    for (const DWORD less : {FIXED_END - 1, DWORD{40}, DWORD{2}}) {
        Require(!ShowsFixedPart(read, *version, resource, less));
    }
    return 0;
}
