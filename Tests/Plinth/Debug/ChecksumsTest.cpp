#include "Plinth/Debug/Checksums.h"

#include "Platform/Win32.h"
#include "Plinth/Debug/CrcFolding.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace Plinth {
namespace {

constexpr char DIGITS[] = "123456789";

// A heap block of its exact size, so that a sanitizer sees a byte too far.
std::vector<unsigned char> RandomBytes(std::uint32_t count)
{
    std::mt19937 random(count);
    std::vector<unsigned char> bytes(count);
    std::generate(bytes.begin(), bytes.end(), random);
    return bytes;
}

template <BitOrder ORDER>
std::uint32_t AdvanceBitByBit(std::uint32_t state, const unsigned char* bytes, std::uint32_t count)
{
    for (; count != 0; ++bytes, --count) {
        state ^= AsNextBytes<ORDER>(*bytes);
        for (int bit = 0; bit < 8; ++bit) {
            state = ORDER == BitOrder::LOW_FIRST ? state >> 1 ^ ((state & 1) != 0 ? 0xEDB88320 : 0)
                                                 : state << 1 ^ (state >> 31 != 0 ? 0x04C11DB7 : 0);
        }
    }
    return state;
}

template <BitOrder ORDER>
void ExpectDefinition()
{
    const CrcAdvance ways[] = {AdvanceByTables<ORDER>, AdvanceCrc<ORDER>, NarrowFolding<ORDER>(),
                               WideFolding<ORDER>()};
    for (std::uint32_t i = 0; i < 701; ++i) {
        const std::uint32_t count = i < 600 ? i : i < 700 ? i * 7919 % 5000 : (1 << 20) + 77;
        const std::uint32_t start = i % 33;
        const std::uint32_t state = i * 2654435761;
        const std::vector<unsigned char> bytes = RandomBytes(start + count);
        const std::uint32_t expected = AdvanceBitByBit<ORDER>(state, bytes.data() + start, count);
        for (int way = 0; way < (count < 16 ? 2 : 4) && ways[way] != nullptr; ++way) {
            EXPECT_EQ(ways[way](state, bytes.data() + start, count), expected) << way << ", " << count;
        }
    }
    if (ways[2] == nullptr || ways[3] == nullptr) {
        GTEST_SKIP() << "the processor or the system lacks a kind of multiplication";
    }
}

TEST(Checksums, AreThoseOfTheDefinition)
{
    ExpectDefinition<BitOrder::LOW_FIRST>();
    ExpectDefinition<BitOrder::HIGH_FIRST>();
}

TEST(Checksums, GoOnFromOneAnother)
{
    EXPECT_EQ(Crc32(DIGITS, 9, 0), 0xCBF43926);
    EXPECT_EQ(Crc32(DIGITS + 4, 5, Crc32(DIGITS, 4, 0)), 0xCBF43926);
    EXPECT_EQ(Crc32(DIGITS, 0, 77), 77u);
    EXPECT_EQ(Crc32(nullptr, 9, 77), 77u);
}

TEST(Checksums, OfWideTextTakeTheSecondByteOfEachUnit)
{
    EXPECT_EQ(Crc32Wide(nullptr, 9, 77), 77u);
    for (const std::uint32_t count : {0u, 1u, 15u, 16u, 17u, 33u, 1023u, 1024u, 1025u, 5003u}) {
        const std::vector<unsigned char> units = RandomBytes(1 + count * 2); // at an odd address
        std::vector<unsigned char> bytes;
        for (std::uint32_t i = 2; i < units.size(); i += 2) {
            bytes.push_back(units[i]);
        }
        EXPECT_EQ(Crc32Wide(units.data() + 1, count, 5), Crc32(bytes.data(), count, 5)) << count;
    }
}

TEST(CrcAccumulator, GivesTheSameForEachKindOfUpdate)
{
    CrcAccumulator crc;
    EXPECT_EQ(crc.UpdateString(DIGITS), 0x0376E6E7u);
    EXPECT_EQ(crc.UpdateString(nullptr), 0x0376E6E7u);
    EXPECT_EQ(crc.Update(nullptr, 9), 0x0376E6E7u);
    crc.Reset();
    crc.UpdateByte('1');
    EXPECT_EQ(crc.UpdateU32(0x35343332), CrcAccumulator().UpdateString("12345"));
    EXPECT_EQ(crc.Update(DIGITS + 5, 4), 0x0376E6E7u);
}

struct FirstUse {
    LateCrcSlices slices;
    std::uint32_t lateness; // of the one that came first
    std::atomic<std::uint32_t> waiting = 2;
};

DWORD WINAPI UseFirst(LPVOID parameter)
{
    auto& use = *static_cast<FirstUse*>(parameter);
    std::uint32_t spins = --use.waiting * use.lateness;
    while (use.waiting != 0 || spins-- != 0) {
    }
    return use.slices.Get().back().back(); // no word but those of byte 0 is 0
}

TEST(CrcAccumulator, HasItsTableFromTheFirstUseOnInEachThread)
{
    for (std::uint32_t i = 0; i < 100; ++i) {
        FirstUse use{.lateness = i * 100};
        auto* const thread = CreateThread(nullptr, 0, UseFirst, &use, 0, nullptr);
        EXPECT_NE(UseFirst(&use), 0u);
        WaitForSingleObject(thread, INFINITE);
        DWORD word = 0;
        EXPECT_TRUE(GetExitCodeThread(thread, &word) && word != 0);
        CloseHandle(thread);
    }
}

} // namespace
} // namespace Plinth
