/// \file
/// Two CRC-32 checksums of the polynomial 0x04C11DB7, as fast as the processor allows. What is fed to them
/// takes no heap memory.
#pragma once

#include <cstdint>

namespace Plinth {

/// CRC-32/ISO-HDLC, that of zlib and PNG: low bits first, started and ended by inverting. The nine digits 1
/// to 9 give 0xCBF43926. Goes on from the checksum of what came before, 0 for nothing; that is also what a
/// null pointer and no bytes give back.
[[nodiscard]] std::uint32_t Crc32(const void* bytes, std::uint32_t length, std::uint32_t crc);

/// The same over the second byte in memory of each of `count` units of two bytes, at any address.
[[nodiscard]] std::uint32_t Crc32Wide(const void* text, std::uint32_t count, std::uint32_t crc);

/// CRC-32/MPEG-2: high bits first, started with ones, not inverted at the end. The nine digits 1 to 9 give
/// 0x0376E6E7. An object is for one thread at a time.
class CrcAccumulator {
public:
    void Reset() { state_ = START; } ///< begins anew

    /// Each gives the checksum of all that was fed since the start. Null pointers feed nothing.
    std::uint32_t Update(const void* bytes, std::uint32_t count);
    std::uint32_t UpdateString(const char* text); ///< without its terminator
    std::uint32_t UpdateU32(std::uint32_t value); ///< four bytes, the least significant one first

    void UpdateByte(std::uint8_t byte); ///< without giving the checksum

    [[nodiscard]] std::uint32_t Value() const { return state_; } ///< of all that was fed since the start

private:
    static constexpr std::uint32_t START = 0xFFFFFFFF;

    std::uint32_t state_ = START;
};

/// A CRC-32/MPEG-2 of the program's file version, for versions to be compared by one number. Without memory
/// for the version resource, "Out of memory!" is thrown.
[[nodiscard]] std::uint32_t ComputeVersionChecksum();

} // namespace Plinth
