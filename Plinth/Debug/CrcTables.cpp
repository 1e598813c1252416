#include "Plinth/Debug/CrcTables.h"

#include "Plinth/Text/ZeroTerminatedTextWords.h"

#include <cstddef>
#include <utility>

namespace Plinth {

namespace {

constexpr std::uint32_t REFLECTED_POLYNOMIAL = 0xEDB88320;

template <BitOrder ORDER>
constexpr std::uint32_t AddZeroBit(std::uint32_t state)
{
    return ORDER == BitOrder::LOW_FIRST ? state >> 1 ^ ((state & 1) != 0 ? REFLECTED_POLYNOMIAL : 0)
                                        : state << 1 ^ (state >> 31 != 0 ? CRC_POLYNOMIAL : 0);
}

// Hands each word to store(slice, byte, word).
template <BitOrder ORDER, typename Store>
constexpr void MakeSlices(Store store)
{
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t state = AsNextBytes<ORDER>(byte);
        for (std::uint32_t slice = 0; slice < CRC_SLICES; ++slice) {
            for (int bit = 0; bit < 8; ++bit) {
                state = AddZeroBit<ORDER>(state);
            }
            store(slice, byte, state);
        }
    }
}

constexpr auto LOW_FIRST_SLICES = [] {
    std::array<std::array<std::uint32_t, 256>, CRC_SLICES> slices{};
    MakeSlices<BitOrder::LOW_FIRST>(
        [&](std::uint32_t slice, std::uint32_t byte, std::uint32_t word) { slices[slice][byte] = word; });
    return slices;
}();

constinit LateCrcSlices highFirstSlices;

template <BitOrder ORDER>
const auto& Slices()
{
    if constexpr (ORDER == BitOrder::LOW_FIRST) {
        return LOW_FIRST_SLICES;
    } else {
        return highFirstSlices.Get();
    }
}

std::uint32_t Word(std::uint32_t entry)
{
    return entry;
}

std::uint32_t Word(const std::atomic<std::uint32_t>& entry)
{
    return entry.load(std::memory_order_relaxed);
}

// The state after as many bytes as there are indices.
template <BitOrder ORDER, typename Slices, std::size_t... INDICES>
std::uint32_t AddBlock(const Slices& slices, std::uint32_t state, const unsigned char* bytes,
                       std::index_sequence<INDICES...>)
{
    constexpr std::size_t COUNT = sizeof...(INDICES);
    auto words = LoadWords<std::array<std::uint32_t, COUNT / 4>>(bytes);
    words[0] ^= AsNextBytes<ORDER>(state);
    return (Word(slices[COUNT - 1 - INDICES][words[INDICES / 4] >> INDICES % 4 * 8 & 0xFF]) ^ ...);
}

template <BitOrder ORDER, typename Slices>
std::uint32_t AddByte(const Slices& slices, std::uint32_t state, unsigned char byte)
{
    const std::uint32_t word = Word(slices[0][(AsNextBytes<ORDER>(state) ^ byte) & 0xFF]);
    return word ^ (ORDER == BitOrder::LOW_FIRST ? state >> 8 : state << 8);
}

} // namespace

void LateCrcSlices::Make()
{
    MakeSlices<BitOrder::HIGH_FIRST>([this](std::uint32_t slice, std::uint32_t byte, std::uint32_t word) {
        slices_[slice][byte].store(word, std::memory_order_relaxed);
    });
    made_.store(true, std::memory_order_release);
}

template <BitOrder ORDER>
std::uint32_t AdvanceByTables(std::uint32_t state, const unsigned char* bytes, std::uint32_t count)
{
    const auto& slices = Slices<ORDER>();
    for (; count >= CRC_SLICES; bytes += CRC_SLICES, count -= CRC_SLICES) {
        state = AddBlock<ORDER>(slices, state, bytes, std::make_index_sequence<CRC_SLICES>());
    }
    for (; count >= 4; bytes += 4, count -= 4) {
        state = AddBlock<ORDER>(slices, state, bytes, std::make_index_sequence<4>());
    }
    for (; count != 0; ++bytes, --count) {
        state = AddByte<ORDER>(slices, state, *bytes);
    }
    return state;
}

template std::uint32_t AdvanceByTables<BitOrder::LOW_FIRST>(std::uint32_t, const unsigned char*,
                                                            std::uint32_t);
template std::uint32_t AdvanceByTables<BitOrder::HIGH_FIRST>(std::uint32_t, const unsigned char*,
                                                             std::uint32_t);

} // namespace Plinth
