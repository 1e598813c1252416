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
//   after. All bytes of a word are parted into these two addends before they meet the sum.
// - The sum, moved up by four nibbles, takes the first addend, the four folds and the second addend.
// - Where a carry did reach the nibbles that leave, the four bytes are added again one by one; so are bytes
//   from 0x80 on, which are negative and borrow.
#include "Plinth/Text/ZeroTerminatedText.h"

#include <bit>
#include <cstring>

namespace Plinth {

namespace {

constexpr std::uint32_t SUM_BITS = 0x0FFFFFFF;
constexpr std::uint32_t SPREAD = 1812433253;

// The pattern in each 32-bit lane of a word.
template <typename Word>
constexpr Word Lanes(std::uint32_t pattern)
{
    return ~Word{0} / 0xFFFFFFFF * pattern;
}

template <typename Word>
constexpr Word Bytes(std::uint8_t byte)
{
    return ~Word{0} / 0xFF * byte;
}

// How a hash sees its bytes: one by one, and a word of bytes below 0x80 at a time.
struct AsItIs {
    static char Fold(char byte) { return byte; }

    template <typename Word>
    static Word FoldWord(Word bytes)
    {
        return bytes;
    }
};

struct Lower {
    static char Fold(char byte) { return FoldLower(byte); }

    template <typename Word>
    static Word FoldWord(Word bytes)
    {
        const Word fromA = bytes + Bytes<Word>(0x80 - 'A');
        const Word pastZ = bytes + Bytes<Word>(0x80 - 'Z' - 1);
        return bytes | ((fromA & ~pastZ & Bytes<Word>(0x80)) >> 2);
    }
};

struct Path {
    static char Fold(char byte) { return FoldPath(byte); }

    template <typename Word>
    static Word FoldWord(Word bytes)
    {
        const Word others = (bytes ^ Bytes<Word>('/')) + Bytes<Word>(0x7F);
        const Word slashes = (~others & Bytes<Word>(0x80)) >> 7;
        return Lower::FoldWord(bytes ^ slashes * ('/' ^ '\\'));
    }
};

constexpr std::uint32_t AddByte(std::uint32_t sum, char byte)
{
    sum = (sum << 4) + static_cast<std::uint32_t>(static_cast<signed char>(byte));
    return (sum ^ (sum >> 24 & 0xF0)) & SUM_BITS;
}

template <typename Fold>
[[gnu::noinline]] std::uint32_t AddBytes(std::uint32_t sum, const char* text, const char* end)
{
    for (; text != end; ++text) {
        sum = AddByte(sum, Fold::Fold(*text));
    }
    return sum;
}

// What four bytes add before and after the folds, in each 32-bit lane.
template <typename Word>
struct Addends {
    Word before;
    Word after;
};

// The first byte of a lane is its lowest.
template <typename Word>
[[gnu::always_inline]] inline Addends<Word> PartBytes(Word bytes)
{
    const Word first = (bytes & Lanes<Word>(0x00FF00FF)) << 4;
    const Word second = bytes >> 8 & Lanes<Word>(0x00FF00FF);
    const Word pairCarries = (first ^ second ^ (first + second)) & Lanes<Word>(0x01000100);
    const Word pairs = first + second - pairCarries;

    const Word front = (pairs & Lanes<Word>(0x0000FFFF)) << 8;
    const Word back = pairs >> 16 & Lanes<Word>(0x0000FFFF);
    const Word carries = (front ^ back ^ (front + back)) & Lanes<Word>(0x00001000);
    const Word frontCarries = (pairCarries & Lanes<Word>(0x0000FFFF)) << 8;
    const Word backCarries = pairCarries >> 16 & Lanes<Word>(0x0000FFFF);
    return {front + back - carries, frontCarries + backCarries + carries};
}

template <typename Fold>
[[gnu::always_inline]] inline std::uint32_t AddFour(std::uint32_t sum, std::uint32_t before,
                                                    std::uint32_t after, const char* text)
{
    const std::uint32_t start = sum << 16;
    const std::uint32_t end = ((start + before) ^ (sum >> 8 & 0xFFFF0)) + after;
    if ((start ^ end) >> 28 != 0) [[unlikely]] {
        return AddBytes<Fold>(sum, text, text + 4);
    }
    return end & SUM_BITS;
}

template <typename Word>
Word LoadBytes(const char* text)
{
    Word bytes;
    std::memcpy(&bytes, text, sizeof(bytes));
    static_assert(std::endian::native == std::endian::little);
    return bytes;
}

template <typename Fold, typename Word>
std::uint32_t AddWord(std::uint32_t sum, const char* text)
{
    const Word bytes = LoadBytes<Word>(text);
    if ((bytes & Bytes<Word>(0x80)) != 0) {
        return AddBytes<Fold>(sum, text, text + sizeof(Word));
    }
    const Addends<Word> parts = PartBytes(Fold::FoldWord(bytes));
    sum = AddFour<Fold>(sum, static_cast<std::uint32_t>(parts.before),
                        static_cast<std::uint32_t>(parts.after), text);
    if constexpr (sizeof(Word) == 8) {
        sum = AddFour<Fold>(sum, static_cast<std::uint32_t>(parts.before >> 32),
                            static_cast<std::uint32_t>(parts.after >> 32), text + 4);
    }
    return sum;
}

template <typename Fold>
std::uint32_t Hash(const char* text, std::uint32_t maximumCount)
{
    if (IsNullOrEmpty(text)) {
        return 0;
    }
    using Word = std::size_t;
    const void* const zero = std::memchr(text, 0, maximumCount);
    const char* const end = zero != nullptr ? static_cast<const char*>(zero) : text + maximumCount;
    std::uint32_t sum = 0;
    for (; end - text >= static_cast<std::ptrdiff_t>(sizeof(Word)); text += sizeof(Word)) {
        sum = AddWord<Fold, Word>(sum, text);
    }
    if (sizeof(Word) > 4 && end - text >= 4) {
        sum = AddWord<Fold, std::uint32_t>(sum, text);
        text += 4;
    }
    sum = AddBytes<Fold>(sum, text, end);
    return sum != 0 ? std::rotl(sum, 16) * SPREAD : 1;
}

} // namespace

std::uint32_t HashText(const char* text, std::uint32_t maximumCount)
{
    return Hash<AsItIs>(text, maximumCount);
}

std::uint32_t HashTextNoCase(const char* text, std::uint32_t maximumCount)
{
    return Hash<Lower>(text, maximumCount);
}

std::uint32_t HashTextPath(const char* text, std::uint32_t maximumCount)
{
    return Hash<Path>(text, maximumCount);
}

} // namespace Plinth
