// The version resource of a program file in the platform's format, for 32 or 64 bits. Reads the few places
// that lead to it and never the whole file; the file may be damaged, or anything else.
#pragma once

#include "Platform/Host/Api/Types.h"

#include <functional>
#include <optional>

namespace Platform::Host {

// Fills `bytes` with those of the file from `place` on; false where not all of them are there.
using FileReader = std::function<bool(std::uint64_t place, void* bytes, std::size_t size)>;

// Where the resource lies in the file. It is whole, and large enough for its head and the VS_FIXEDFILEINFO.
struct VersionPlace {
    std::uint64_t start;
    DWORD size; // less than 64 KiB: the resource tells its length in 16 bits
};

// In the first of its languages; nothing where the file has none or is damaged on the way.
std::optional<VersionPlace> FindVersionResource(const FileReader& read);

// Reads at most `size` bytes of the resource, which may not be less than SMALLEST_VERSION_BLOCK. Who asks the
// block for its parts does not say how large it is: the length that it tells becomes no more than was read.
constexpr DWORD SMALLEST_VERSION_BLOCK = sizeof(WORD);
bool ReadVersionBlock(const FileReader& read, const VersionPlace& version, char* block, DWORD size);

// Where the VS_FIXEDFILEINFO lies in such a block; nothing where it has none that is whole. Reads no byte
// beyond the length that the block tells.
std::optional<std::size_t> FindFixedVersion(const char* block);

} // namespace Platform::Host
