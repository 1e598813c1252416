// CRC-32 by tables, as every processor can. A state is what the checksum is before it is inverted.
//
// Sixteen bytes at once: what the state is after them is the sum of what it would be after each one alone
// with zeros all around it. Slice n of a table has that for the byte with n zeros behind it; the state before
// is added to the first four bytes.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace Plinth {

// Which bit of a byte and of the state is the highest power of the polynomial.
enum class BitOrder { LOW_FIRST, HIGH_FIRST };

inline constexpr std::uint32_t CRC_POLYNOMIAL = 0x04C11DB7; // high bits first, without x^32
inline constexpr std::uint32_t CRC_SLICES = 16;

// The state as it is added to the next four bytes, these read as one number whose first byte is the lowest.
template <BitOrder ORDER>
constexpr std::uint32_t AsNextBytes(std::uint32_t state)
{
    return ORDER == BitOrder::LOW_FIRST ? state : __builtin_bswap32(state);
}

// The state after the bytes.
template <BitOrder ORDER>
std::uint32_t AdvanceByTables(std::uint32_t state, const unsigned char* bytes, std::uint32_t count);

// The slices of HIGH_FIRST, made at their first use. Threads that come at once all make them, of equal words.
class LateCrcSlices {
public:
    using Slice = std::array<std::atomic<std::uint32_t>, 256>;

    const std::array<Slice, CRC_SLICES>& Get()
    {
        if (!made_.load(std::memory_order_acquire)) {
            Make();
        }
        return slices_;
    }

private:
    void Make();

    std::array<Slice, CRC_SLICES> slices_{};
    std::atomic<bool> made_ = false;
};

} // namespace Plinth
