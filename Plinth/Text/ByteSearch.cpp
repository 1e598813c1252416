#include "Plinth/Text/ByteSearch.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace Plinth {

namespace {

// What it costs to prepare the search by pairs pays for itself from these lengths on.
constexpr std::size_t SHORTEST_TEXT = 256;
constexpr std::size_t SHORTEST_NEEDLE = 4;

// The first byte is found by the runtime, the others are compared.
const char* FindByFirstByte(const char* text, const char* end, const char* needle, std::size_t needleLength)
{
    while (static_cast<std::size_t>(end - text) >= needleLength) {
        const std::size_t starts = static_cast<std::size_t>(end - text) - needleLength + 1;
        const auto* const found = static_cast<const char*>(std::memchr(text, *needle, starts));
        if (found == nullptr || std::memcmp(found, needle, needleLength) == 0) {
            return found;
        }
        text = found + 1;
    }
    return nullptr;
}

// Where in a needle its pairs of neighbouring bytes are. Pairs that share a hash share the last of their
// places.
class PairPlaces {
public:
    PairPlaces(const char* needle, std::size_t length)
    {
        for (std::size_t i = 0; i + 1 < length; ++i) {
            previousOfLast_ = At(needle + i);
            places_[HashOf(needle + i)] = i + 1;
        }
    }

    // The place of the pair, counted from 1; 0 where no pair of the needle has its hash.
    [[nodiscard]] std::size_t At(const char* pair) const { return places_[HashOf(pair)]; }

    // The place before the last one of the needle's last pair.
    [[nodiscard]] std::size_t PreviousOfLast() const { return previousOfLast_; }

private:
    static std::uint8_t HashOf(const char* pair)
    {
        std::uint16_t bytes;
        std::memcpy(&bytes, pair, sizeof(bytes));
        return static_cast<std::uint8_t>(bytes ^ bytes >> 5);
    }

    std::array<std::size_t, 256> places_{};
    std::size_t previousOfLast_ = 0;
};

// Looks at the last pair of the place where the needle might be, and moves on to where that pair fits.
const char* FindByPairs(const char* text, const char* end, const char* needle, std::size_t needleLength)
{
    const PairPlaces places(needle, needleLength);
    const std::size_t last = needleLength - 1; // the place of the needle's last pair
    while (static_cast<std::size_t>(end - text) >= needleLength) {
        const std::size_t place = places.At(text + last - 1);
        if (place == 0) {
            text += last;
        } else if (place != last) {
            text += last - place;
        } else if (std::memcmp(text, needle, needleLength) == 0) {
            return text;
        } else {
            text += last - places.PreviousOfLast();
        }
    }
    return nullptr;
}

} // namespace

const char* FindBytes(const char* text, std::size_t length, const char* needle, std::size_t needleLength)
{
    if (needleLength == 0) {
        return text;
    }
    const bool isShort = length < SHORTEST_TEXT || needleLength < SHORTEST_NEEDLE;
    return (isShort ? FindByFirstByte : FindByPairs)(text, text + length, needle, needleLength);
}

} // namespace Plinth
