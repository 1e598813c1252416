// The hashes add a byte to a sum of 28 bits in each step: the sum moves up a nibble, and the nibble that
// leaves it at the top is folded into bits 4 to 7.
//
//     sum = (sum << 4) + byte
//     sum = (sum ^ (sum >> 24 & 0xF0)) & 0x0FFFFFFF
//
// One by one each byte has to wait for the one before. But the nibbles that leave in four steps are the sum's
// four top ones, unless the carry of an addition runs up into them. So four bytes are added together:
//
// - Of neighbouring bytes the low nibble of the first and the high nibble of the second meet in one place.
//   What they give without the carry stands there before a nibble is folded into that place; the carry comes
//   after. The bytes of several words at once are parted into these two addends before they meet the sum.
// - The sum, moved up by four nibbles, takes the first addend, the four folds and the second addend.
// - Where a carry did reach the nibbles that leave, the words are added again byte by byte; so are those with
//   bytes from 0x80 on, which are negative and borrow.
#include "Plinth/Text/ZeroTerminatedText.h"
#include "Plinth/Text/ZeroTerminatedTextWords.h"

#include <bit>
#include <cstring>
#include <utility>

namespace Plinth {

namespace {

constexpr std::uint32_t SUM_BITS = 0x0FFFFFFF;
constexpr std::uint32_t SPREAD = 1812433253;

// Words of four bytes each, side by side.
template <std::size_t COUNT>
struct Vector {
    using Words [[gnu::vector_size(COUNT * 4)]] = std::uint32_t;
};

constexpr std::uint32_t AddByte(std::uint32_t sum, char byte)
{
    sum = (sum << 4) + static_cast<std::uint32_t>(static_cast<signed char>(byte));
    return (sum ^ (sum >> 24 & 0xF0)) & SUM_BITS;
}

template <CharacterFold FOLD>
[[gnu::noinline]] std::uint32_t AddBytes(std::uint32_t sum, const char* text, const char* end)
{
    for (; text != end; ++text) {
        sum = AddByte(sum, FOLD(*text));
    }
    return sum;
}

// What the four bytes of a word add before and after the folds.
template <typename Words>
struct Addends {
    Words before;
    Words after;
};

// The first byte of a word is its lowest.
template <typename Words>
[[gnu::always_inline]] inline Addends<Words> PartBytes(Words words)
{
    const Words first = (words & 0x00FF00FF) << 4;
    const Words second = words >> 8 & 0x00FF00FF;
    const Words pairCarries = (first ^ second ^ (first + second)) & 0x01000100;
    const Words pairs = first + second - pairCarries;

    const Words front = (pairs & 0x0000FFFF) << 8;
    const Words back = pairs >> 16;
    const Words carries = (front ^ back ^ (front + back)) & 0x00001000;
    const Words frontCarries = (pairCarries & 0x0000FFFF) << 8;
    const Words backCarries = pairCarries >> 16;
    return {front + back - carries, frontCarries + backCarries + carries};
}

// What the sum has above its 28 bits is moved out by the next bytes; the bits of `carried` that lie there
// tell whether a carry reached them.
[[gnu::always_inline]] inline std::uint32_t AddFour(std::uint32_t sum, std::uint32_t before,
                                                    std::uint32_t after, std::uint32_t& carried)
{
    const std::uint32_t start = sum << 16;
    const std::uint32_t end = ((start + before) ^ (sum >> 8 & 0xFFFF0)) + after;
    carried |= start ^ end;
    return end;
}

template <std::size_t... INDICES, typename Function>
[[gnu::always_inline]] inline void WithEach(std::index_sequence<INDICES...>, Function function)
{
    (function(INDICES), ...);
}

// As many words as fit before the end.
template <CharacterFold FOLD, std::size_t COUNT>
[[gnu::always_inline]] inline void AddWords(std::uint32_t& sum, const char*& text, const char* end)
{
    using Words = typename Vector<COUNT>::Words;
    for (; end - text >= static_cast<std::ptrdiff_t>(sizeof(Words)); text += sizeof(Words)) {
        const auto words = LoadWords<Words>(text);
        const Addends<Words> parts = PartBytes(FoldWords<FOLD>(words));
        std::uint32_t carried = 0;
        std::uint32_t added = sum;
        std::uint32_t bytes = 0;
        const auto addWord = [&](std::size_t i) {
            added = AddFour(added, parts.before[i], parts.after[i], carried);
            bytes |= words[i];
        };
        WithEach(std::make_index_sequence<COUNT>(), addWord);
        const bool isExact = carried >> 28 == 0 && IsAscii(bytes);
        sum = isExact ? added : AddBytes<FOLD>(sum, text, text + sizeof(Words));
    }
}

template <CharacterFold FOLD>
std::uint32_t Hash(const char* text, std::uint32_t maximumCount)
{
    if (IsNullOrEmpty(text)) {
        return 0;
    }
    const void* const zero = std::memchr(text, 0, maximumCount);
    const char* const end = zero != nullptr ? static_cast<const char*>(zero) : text + maximumCount;
    std::uint32_t sum = 0;
    AddWords<FOLD, 4>(sum, text, end);
    AddWords<FOLD, 2>(sum, text, end);
    AddWords<FOLD, 1>(sum, text, end);
    sum = AddBytes<FOLD>(sum, text, end) & SUM_BITS;
    return sum != 0 ? std::rotl(sum, 16) * SPREAD : 1;
}

} // namespace

std::uint32_t HashText(const char* text, std::uint32_t maximumCount)
{
    return Hash<FoldNone>(text, maximumCount);
}

std::uint32_t HashTextNoCase(const char* text, std::uint32_t maximumCount)
{
    return Hash<FoldLower>(text, maximumCount);
}

std::uint32_t HashTextPath(const char* text, std::uint32_t maximumCount)
{
    return Hash<FoldPath>(text, maximumCount);
}

} // namespace Plinth
