// The bytes are a polynomial whose remainder is the checksum. A block of 16 bytes that stands d powers above
// another has the remainder that it would have there if its halves are multiplied by the remainders of x^(d +
// 64) and x^d: it is folded onto the other. Several blocks side by side do not wait for each other; the last
// block's remainder is found by dividing it, which is multiplying by the polynomial's inverse.
//
// A register holds a block with the powers in the order of its bits, or, low bits first, in the opposite one.
// Then its low half has the high powers, and a product of two halves comes out one power too high.
#include "Plinth/Debug/CrcFolding.h"

#include <array>
#include <immintrin.h>

namespace Plinth {

namespace {

constexpr std::uint32_t LEAST_FOLDED = 16;

constexpr std::uint32_t TimesX(std::uint32_t remainder)
{
    return remainder << 1 ^ (remainder >> 31 != 0 ? CRC_POLYNOMIAL : 0);
}

constexpr std::uint32_t RemainderOfPower(std::uint32_t power)
{
    std::uint32_t remainder = 1;
    for (; power != 0; --power) {
        remainder = TimesX(remainder);
    }
    return remainder;
}

// The quotient of x^96 and the polynomial, without its x^64.
constexpr std::uint64_t InversePolynomial()
{
    std::uint64_t quotient = 0;
    std::uint32_t remainder = CRC_POLYNOMIAL;
    for (int i = 0; i < 64; ++i) {
        quotient = quotient << 1 | remainder >> 31;
        remainder = TimesX(remainder);
    }
    return quotient;
}

constexpr std::uint64_t Reflected(std::uint64_t value)
{
    std::uint64_t reflected = 0;
    for (int i = 0; i < 64; ++i) {
        reflected |= (value >> i & 1) << (63 - i);
    }
    return reflected;
}

constexpr std::array<unsigned char, 16> REVERSAL = {15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};

// Read from n on, it moves n bytes to a register's end; from 16 + n on, all but n to its start. Zeros come
// in.
constexpr auto MOVES = [] {
    std::array<unsigned char, 48> moves{};
    for (std::uint32_t i = 0; i < 48; ++i) {
        moves[i] = static_cast<unsigned char>(i - 16 < 16 ? i - 16 : 0x80);
    }
    return moves;
}();

[[gnu::target("sse4.1,pclmul"), gnu::always_inline]] inline __m128i Halves(std::uint64_t high,
                                                                           std::uint64_t low)
{
    return _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low));
}

// What the halves of a block are multiplied by to stand that many powers higher. Low bits first, a product
// comes out one power too high.
template <BitOrder ORDER, std::uint32_t POWERS>
[[gnu::target("sse4.1,pclmul"), gnu::always_inline]] inline __m128i Factors()
{
    if constexpr (ORDER == BitOrder::LOW_FIRST) {
        return Halves(Reflected(RemainderOfPower(POWERS - 1)), Reflected(RemainderOfPower(POWERS + 63)));
    } else {
        return Halves(RemainderOfPower(POWERS + 64), RemainderOfPower(POWERS));
    }
}

// The block that many powers higher, to be added to the one that stands there.
template <BitOrder ORDER, std::uint32_t POWERS>
[[gnu::target("sse4.1,pclmul"), gnu::always_inline]] inline __m128i Folded(__m128i block)
{
    const __m128i factors = Factors<ORDER, POWERS>();
    return _mm_clmulepi64_si128(block, factors, 0x00) ^ _mm_clmulepi64_si128(block, factors, 0x11);
}

template <BitOrder ORDER, std::uint32_t POWERS>
[[gnu::target("avx2,pclmul,vpclmulqdq"), gnu::always_inline]] inline __m256i Folded(__m256i blocks)
{
    const __m256i factors = _mm256_broadcastsi128_si256(Factors<ORDER, POWERS>());
    return _mm256_clmulepi64_epi128(blocks, factors, 0x00) ^ _mm256_clmulepi64_epi128(blocks, factors, 0x11);
}

[[gnu::target("sse4.1,pclmul"), gnu::always_inline]] inline __m128i LoadBytes(const unsigned char* bytes)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

// Bytes in the order of memory as a block.
template <BitOrder ORDER>
[[gnu::target("sse4.1,pclmul"), gnu::always_inline]] inline __m128i Block(__m128i bytes)
{
    return ORDER == BitOrder::LOW_FIRST ? bytes : _mm_shuffle_epi8(bytes, LoadBytes(REVERSAL.data()));
}

template <BitOrder ORDER>
[[gnu::target("sse4.1,pclmul"), gnu::always_inline]] inline __m128i LoadBlock(const unsigned char* bytes)
{
    return Block<ORDER>(LoadBytes(bytes));
}

template <BitOrder ORDER>
[[gnu::target("avx2,pclmul,vpclmulqdq"), gnu::always_inline]] inline __m256i
LoadBlocks(const unsigned char* bytes)
{
    const __m256i blocks = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
    const __m256i reversal = _mm256_broadcastsi128_si256(LoadBytes(REVERSAL.data()));
    return ORDER == BitOrder::LOW_FIRST ? blocks : _mm256_shuffle_epi8(blocks, reversal);
}

// Takes so many bytes that whole blocks are left: the first block and, folded onto it, what is too much for
// blocks. Zeros before a text make no difference.
template <BitOrder ORDER>
[[gnu::target("sse4.1,pclmul"), gnu::always_inline]] inline __m128i
TakeFirstBlock(std::uint32_t state, const unsigned char*& bytes, std::uint32_t& count)
{
    const std::uint32_t head = count % 16;
    const __m128i start = _mm_cvtsi32_si128(static_cast<int>(AsNextBytes<ORDER>(state)));
    const __m128i first = LoadBytes(bytes) ^ start;
    __m128i block = Block<ORDER>(first);
    if (head != 0) {
        const __m128i toEnd = LoadBytes(MOVES.data() + head);
        const __m128i fromHead = LoadBytes(MOVES.data() + 16 + head);
        block = Folded<ORDER, 128>(Block<ORDER>(_mm_shuffle_epi8(first, toEnd))) ^
                Block<ORDER>(LoadBytes(bytes + head) ^ _mm_shuffle_epi8(start, fromHead));
    }
    bytes += head + 16;
    count -= head + 16;
    return block;
}

// The remainder of the block 32 powers higher. The high half is multiplied down to 96 bits and the low half
// added; the product of their upper 64 and the inverse is, in its upper half, the quotient.
template <BitOrder ORDER>
[[gnu::target("sse4.1,pclmul"), gnu::always_inline]] inline std::uint32_t Remainder(__m128i block)
{
    constexpr std::uint64_t INVERSE = InversePolynomial();
    const __m128i factors = Factors<ORDER, 32>();
    if constexpr (ORDER == BitOrder::LOW_FIRST) {
        // The inverse's last bit makes no difference to the upper half.
        const __m128i numbers =
            Halves(Reflected(CRC_POLYNOMIAL), Reflected(INVERSE >> 1 | std::uint64_t{1} << 63));
        const __m128i low = _mm_slli_si128(_mm_srli_si128(block, 8), 4);
        const __m128i sum = _mm_clmulepi64_si128(block, factors, 0x00) ^ low;
        const __m128i quotient = _mm_clmulepi64_si128(_mm_srli_si128(sum, 4), numbers, 0x00);
        const __m128i product = _mm_slli_epi64(_mm_clmulepi64_si128(quotient, numbers, 0x10), 1);
        return static_cast<std::uint32_t>(_mm_extract_epi32(sum ^ product, 3));
    } else {
        const __m128i numbers = Halves(CRC_POLYNOMIAL, INVERSE);
        const __m128i low = _mm_slli_si128(_mm_move_epi64(block), 4);
        const __m128i sum = _mm_clmulepi64_si128(block, factors, 0x11) ^ low;
        const __m128i upper = _mm_srli_si128(sum, 4);
        const __m128i quotient = _mm_srli_si128(_mm_clmulepi64_si128(upper, numbers, 0x00), 8) ^ upper;
        return static_cast<std::uint32_t>(
            _mm_cvtsi128_si32(sum ^ _mm_clmulepi64_si128(quotient, numbers, 0x10)));
    }
}

// Of the block and those that follow it.
template <BitOrder ORDER>
[[gnu::target("sse4.1,pclmul"), gnu::always_inline]] inline std::uint32_t
FoldBlocks(__m128i block, const unsigned char* bytes, std::uint32_t count)
{
    if (count >= 48) {
        __m128i a = block;
        __m128i b = LoadBlock<ORDER>(bytes);
        __m128i c = LoadBlock<ORDER>(bytes + 16);
        __m128i d = LoadBlock<ORDER>(bytes + 32);
        bytes += 48;
        for (count -= 48; count >= 64; bytes += 64, count -= 64) {
            a = Folded<ORDER, 512>(a) ^ LoadBlock<ORDER>(bytes);
            b = Folded<ORDER, 512>(b) ^ LoadBlock<ORDER>(bytes + 16);
            c = Folded<ORDER, 512>(c) ^ LoadBlock<ORDER>(bytes + 32);
            d = Folded<ORDER, 512>(d) ^ LoadBlock<ORDER>(bytes + 48);
        }
        block = (Folded<ORDER, 384>(a) ^ Folded<ORDER, 256>(b)) ^ (Folded<ORDER, 128>(c) ^ d);
    }
    for (; count != 0; bytes += 16, count -= 16) {
        block = Folded<ORDER, 128>(block) ^ LoadBlock<ORDER>(bytes);
    }
    return Remainder<ORDER>(block);
}

template <BitOrder ORDER>
[[gnu::target("sse4.1,pclmul")]] std::uint32_t FoldNarrow(std::uint32_t state, const unsigned char* bytes,
                                                          std::uint32_t count)
{
    const __m128i block = TakeFirstBlock<ORDER>(state, bytes, count);
    return FoldBlocks<ORDER>(block, bytes, count);
}

template <BitOrder ORDER>
[[gnu::target("avx2,pclmul,vpclmulqdq")]] std::uint32_t
FoldWide(std::uint32_t state, const unsigned char* bytes, std::uint32_t count)
{
    __m128i block = TakeFirstBlock<ORDER>(state, bytes, count);
    if (count >= 112) {
        __m256i a = _mm256_set_m128i(LoadBlock<ORDER>(bytes), block);
        __m256i b = LoadBlocks<ORDER>(bytes + 16);
        __m256i c = LoadBlocks<ORDER>(bytes + 48);
        __m256i d = LoadBlocks<ORDER>(bytes + 80);
        bytes += 112;
        for (count -= 112; count >= 128; bytes += 128, count -= 128) {
            a = Folded<ORDER, 1024>(a) ^ LoadBlocks<ORDER>(bytes);
            b = Folded<ORDER, 1024>(b) ^ LoadBlocks<ORDER>(bytes + 32);
            c = Folded<ORDER, 1024>(c) ^ LoadBlocks<ORDER>(bytes + 64);
            d = Folded<ORDER, 1024>(d) ^ LoadBlocks<ORDER>(bytes + 96);
        }
        a = (Folded<ORDER, 768>(a) ^ Folded<ORDER, 512>(b)) ^ (Folded<ORDER, 256>(c) ^ d);
        block = Folded<ORDER, 128>(_mm256_castsi256_si128(a)) ^ _mm256_extracti128_si256(a, 1);
    }
    return FoldBlocks<ORDER>(block, bytes, count);
}

// The runtime has asked processor and system before the program's first line.
bool HasNarrowFolding()
{
    return __builtin_cpu_supports("pclmul") != 0 && __builtin_cpu_supports("sse4.1") != 0;
}

bool HasWideFolding()
{
    return __builtin_cpu_supports("vpclmulqdq") != 0 && __builtin_cpu_supports("avx2") != 0 &&
           HasNarrowFolding();
}

} // namespace

template <BitOrder ORDER>
std::uint32_t AdvanceCrc(std::uint32_t state, const unsigned char* bytes, std::uint32_t count)
{
    if (count >= LEAST_FOLDED && HasWideFolding()) {
        return FoldWide<ORDER>(state, bytes, count);
    }
    if (count >= LEAST_FOLDED && HasNarrowFolding()) {
        return FoldNarrow<ORDER>(state, bytes, count);
    }
    return AdvanceByTables<ORDER>(state, bytes, count);
}

template <BitOrder ORDER>
CrcAdvance NarrowFolding()
{
    return HasNarrowFolding() ? FoldNarrow<ORDER> : nullptr;
}

template <BitOrder ORDER>
CrcAdvance WideFolding()
{
    return HasWideFolding() ? FoldWide<ORDER> : nullptr;
}

template std::uint32_t AdvanceCrc<BitOrder::LOW_FIRST>(std::uint32_t, const unsigned char*, std::uint32_t);
template std::uint32_t AdvanceCrc<BitOrder::HIGH_FIRST>(std::uint32_t, const unsigned char*, std::uint32_t);
template CrcAdvance NarrowFolding<BitOrder::LOW_FIRST>();
template CrcAdvance NarrowFolding<BitOrder::HIGH_FIRST>();
template CrcAdvance WideFolding<BitOrder::LOW_FIRST>();
template CrcAdvance WideFolding<BitOrder::HIGH_FIRST>();

} // namespace Plinth
