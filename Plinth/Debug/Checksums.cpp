#include "Plinth/Debug/Checksums.h"

#include "Plinth/Debug/CrcFolding.h"
#include "Plinth/Debug/FileVersion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace Plinth {

namespace {

constexpr std::uint32_t PIECE = 1024; // of wide text

} // namespace

std::uint32_t Crc32(const void* bytes, std::uint32_t length, std::uint32_t crc)
{
    if (bytes == nullptr) {
        return crc;
    }
    return ~AdvanceCrc<BitOrder::LOW_FIRST>(~crc, static_cast<const unsigned char*>(bytes), length);
}

std::uint32_t Crc32Wide(const void* text, std::uint32_t count, std::uint32_t crc)
{
    if (text == nullptr) {
        return crc;
    }
    const auto* units = static_cast<const unsigned char*>(text);
    std::array<unsigned char, PIECE> gathered;
    while (count != 0) {
        const std::uint32_t length = std::min(count, PIECE);
        for (std::uint32_t i = 0; i < length; ++i) {
            gathered[i] = units[std::size_t{i} * 2 + 1];
        }
        crc = Crc32(gathered.data(), length, crc);
        units += std::size_t{length} * 2;
        count -= length;
    }
    return crc;
}

std::uint32_t CrcAccumulator::Update(const void* bytes, std::uint32_t count)
{
    if (bytes != nullptr) {
        state_ = AdvanceCrc<BitOrder::HIGH_FIRST>(state_, static_cast<const unsigned char*>(bytes), count);
    }
    return state_;
}

std::uint32_t CrcAccumulator::UpdateString(const char* text)
{
    return text != nullptr ? Update(text, static_cast<std::uint32_t>(std::strlen(text))) : state_;
}

std::uint32_t CrcAccumulator::UpdateU32(std::uint32_t value)
{
    static_assert(std::endian::native == std::endian::little);
    return Update(&value, sizeof(value));
}

void CrcAccumulator::UpdateByte(std::uint8_t byte)
{
    Update(&byte, 1);
}

std::uint32_t ComputeVersionChecksum()
{
    constexpr std::uint32_t SUM_VERSION = 2; // what is summed, and how
    const FileVersion version = GetModuleFileVersion(nullptr);
    CrcAccumulator accumulator;
    for (const std::uint32_t number :
         {version.build, version.major, version.minor, version.privatePart, SUM_VERSION}) {
        accumulator.UpdateU32(number);
    }
    return accumulator.Value();
}

} // namespace Plinth
