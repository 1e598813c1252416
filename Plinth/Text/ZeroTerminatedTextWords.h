// Text several bytes at a time: in unsigned words, or in vectors of words of four bytes. They are loaded from
// and stored to any address, and the first byte is the lowest.
#pragma once

#include "Plinth/Text/ZeroTerminatedText.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Plinth {

static_assert(std::endian::native == std::endian::little);

template <typename Words>
Words LoadWords(const void* bytes)
{
    Words words;
    std::memcpy(&words, bytes, sizeof(words));
    return words;
}

template <typename Words>
void StoreWords(char* text, Words words)
{
    std::memcpy(text, &words, sizeof(words));
}

// The byte in every place.
template <typename Words>
constexpr Words Repeated(std::uint32_t byte)
{
    return ~Words{} / 0xFF * byte;
}

template <typename Word>
constexpr bool IsAscii(Word word)
{
    return (word & Repeated<Word>(0x80)) == 0;
}

// The top bit of every byte that is zero.
template <typename Words>
constexpr Words ZeroBytes(Words words)
{
    const Words others = ((words & Repeated<Words>(0x7F)) + Repeated<Words>(0x7F)) | words;
    return ~others & Repeated<Words>(0x80);
}

template <typename Words>
constexpr Words FoldSlashes(Words words)
{
    const Words flags = ZeroBytes<Words>(words ^ Repeated<Words>('/'));
    return words ^ ((flags - (flags >> 7)) & Repeated<Words>('/' ^ '\\'));
}

template <typename Words>
constexpr Words FoldCapitals(Words words)
{
    const Words heptets = words & Repeated<Words>(0x7F);
    const Words fromA = heptets + Repeated<Words>(0x80 - 'A');
    const Words pastZ = heptets + Repeated<Words>(0x80 - 'Z' - 1);
    return words | ((fromA & ~pastZ & ~words & Repeated<Words>(0x80)) >> 2);
}

// A fold of ZeroTerminatedText.h, of each byte.
template <CharacterFold FOLD, typename Words>
constexpr Words FoldWords(Words words)
{
    if constexpr (FOLD('/') != '/') {
        words = FoldSlashes(words);
    }
    if constexpr (FOLD('A') != 'A') {
        words = FoldCapitals(words);
    }
    return words;
}

} // namespace Plinth
