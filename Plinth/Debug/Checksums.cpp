#include "Plinth/Debug/Checksums.h"

#include "Plinth/Debug/CrcFolding.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace Plinth {

namespace {

constexpr std::uint32_t PIECE = 1024; // of wide text

using Piece = std::array<unsigned char, PIECE>;

void GatherHighBytes(unsigned char* piece, const unsigned char* text, std::uint32_t count)
{
    for (std::uint32_t i = 0; i < count; ++i) {
        piece[i] = text[std::size_t{i} * 2 + 1];
    }
}

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
    const auto* bytes = static_cast<const unsigned char*>(text);
    Piece piece;
    for (; count >= PIECE; bytes += PIECE * 2, count -= PIECE) {
        GatherHighBytes(piece.data(), bytes, PIECE);
        crc = Crc32(piece.data(), PIECE, crc);
    }
    GatherHighBytes(piece.data(), bytes, count);
    return Crc32(piece.data(), count, crc);
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
    std::array<std::uint8_t, 4> bytes;
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(value);
        value >>= 8;
    }
    return Update(bytes.data(), 4);
}

void CrcAccumulator::UpdateByte(std::uint8_t byte)
{
    Update(&byte, 1);
}

} // namespace Plinth
