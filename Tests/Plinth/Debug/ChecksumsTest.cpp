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
    std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<unsigned char>(random()); });
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
void ExpectDefinition(const char* way, CrcAdvance advance, std::uint32_t leastCount)
{
    std::mt19937 random(1);
    for (std::uint32_t i = leastCount; i < 701; ++i) {
        const std::uint32_t count = i < 600 ? i : i < 700 ? random() % 5000 + leastCount : (2 << 20) + 77;
        const std::uint32_t start = random() % 33;
        const std::vector<unsigned char> bytes = RandomBytes(start + count);
        const auto state = static_cast<std::uint32_t>(random());
        EXPECT_EQ(advance(state, bytes.data() + start, count),
                  AdvanceBitByBit<ORDER>(state, bytes.data() + start, count))
            << way << ", " << count;
    }
}

template <BitOrder ORDER>
void ExpectDefinitionInEachWay()
{
    ExpectDefinition<ORDER>("tables", AdvanceByTables<ORDER>, 0);
    ExpectDefinition<ORDER>("the fastest", AdvanceCrc<ORDER>, 0);
    if (NarrowFolding<ORDER>() == nullptr) {
        GTEST_SKIP() << "no folding here";
    }
    ExpectDefinition<ORDER>("narrow folding", NarrowFolding<ORDER>(), 16);
    if (WideFolding<ORDER>() == nullptr) {
        GTEST_SKIP() << "no wide folding here";
    }
    ExpectDefinition<ORDER>("wide folding", WideFolding<ORDER>(), 16);
}

TEST(Checksums, AreThoseOfTheDefinitionInEachWay)
{
    ExpectDefinitionInEachWay<BitOrder::LOW_FIRST>();
    ExpectDefinitionInEachWay<BitOrder::HIGH_FIRST>();
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
    for (const std::uint32_t count : {0, 1, 15, 16, 17, 33, 1023, 1024, 1025, 5003}) {
        for (const std::uint32_t start : {0, 1}) {
            const std::vector<unsigned char> units = RandomBytes(start + count * 2);
            std::vector<unsigned char> bytes;
            for (std::uint32_t i = start + 1; i < units.size(); i += 2) {
                bytes.push_back(units[i]);
            }
            EXPECT_EQ(Crc32Wide(units.data() + start, count, 5), Crc32(bytes.data(), count, 5)) << count;
        }
    }
}

TEST(CrcAccumulator, GivesTheSameForEachKindOfUpdate)
{
    CrcAccumulator crc;
    EXPECT_EQ(crc.Value(), 0xFFFFFFFF);
    EXPECT_EQ(crc.UpdateString(DIGITS), 0x0376E6E7u);
    EXPECT_EQ(crc.UpdateString(nullptr), 0x0376E6E7u);
    EXPECT_EQ(crc.Update(nullptr, 9), 0x0376E6E7u);
    crc.Reset();
    crc.UpdateByte('1');
    EXPECT_EQ(crc.UpdateU32(0x35343332), crc.Value());
    EXPECT_EQ(crc.Update(DIGITS + 5, 4), 0x0376E6E7u);
}

struct FirstUse {
    LateCrcSlices slices;
    std::atomic<std::uint32_t> waiting = 2;
};

DWORD WINAPI UseFirst(LPVOID parameter)
{
    FirstUse& use = *static_cast<FirstUse*>(parameter);
    for (--use.waiting; use.waiting != 0;) {
    }
    return use.slices.Get()[CRC_SLICES - 1][255];
}

TEST(CrcAccumulator, HasItsTableFromTheFirstUseOnInEachThread)
{
    std::vector<unsigned char> lastByte(CRC_SLICES);
    lastByte[0] = 255;
    const std::uint32_t expected = AdvanceBitByBit<BitOrder::HIGH_FIRST>(
        0, lastByte.data(), static_cast<std::uint32_t>(lastByte.size()));
    for (int i = 0; i < 100; ++i) {
        FirstUse use;
        auto* const thread = CreateThread(nullptr, 0, UseFirst, &use, 0, nullptr);
        EXPECT_EQ(UseFirst(&use), expected);
        WaitForSingleObject(thread, INFINITE);
        DWORD word = 0;
        EXPECT_TRUE(GetExitCodeThread(thread, &word));
        EXPECT_EQ(word, expected);
        CloseHandle(thread);
    }
}

} // namespace
} // namespace Plinth
