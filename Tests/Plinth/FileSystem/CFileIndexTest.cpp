#include "Plinth/FileSystem/CFileIndex.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <optional>
#include <random>
#include <string>

namespace Plinth {
namespace {

// An index, and what it has to hold and when it has to grow. Most keys share a few hashes, at the table's
// end.
class CheckedIndex : public CFileIndex {
public:
    static CHashedText KeyOf(const std::string& text)
    {
        const auto last = static_cast<std::uint32_t>(text.back() - '0');
        return last < 4 ? CHashedText(text.c_str()) : CHashedText(text.c_str(), 0xFFFFFFFD + last % 3);
    }

    void Put(std::uint32_t number)
    {
        const std::string text = std::to_string(number % 300);
        if (!wanted.entries.contains(text) && --wanted.budget <= 0) {
            GrowWanted();
        }
        const CFileIndexEntry entry = {number, number + 1, number + 2, {number + 3, number + 4}};
        // The key's text outlives what is stored.
        const auto place = wanted.entries.insert_or_assign(text, entry).first;
        EXPECT_EQ(InsertOrAssign(KeyOf(place->first), entry)->size, number + 1);
    }
    void Check() const
    {
        Expect(wanted.capacity, wanted.budget);
        for (int number = 0; number < 300; ++number) {
            const std::string text = std::to_string(number);
            const CFileIndexEntry* const entry = Find(KeyOf(text));
            const auto place = wanted.entries.find(text);
            ASSERT_EQ(entry != nullptr, place != wanted.entries.end()) << text;
            ASSERT_TRUE(entry == nullptr || std::memcmp(entry, &place->second, sizeof(*entry)) == 0) << text;
        }
    }
    void Expect(std::uint32_t capacity, std::int32_t budget) const
    {
        EXPECT_EQ(GetCapacity(), capacity);
        EXPECT_EQ(budget_, budget);
    }
    void GrowWanted()
    {
        wanted.capacity *= 2;
        wanted.budget =
            static_cast<std::int32_t>(wanted.capacity - wanted.capacity / 4 - wanted.entries.size());
    }

    struct Wanted {
        std::map<std::string, CFileIndexEntry> entries;
        std::uint32_t capacity = 16;
        std::int32_t budget = 12;
    };
    Wanted wanted;
};

TEST(CFileIndex, HoldsWhatAMapHolds)
{
    std::mt19937 random;
    for (int round = 0; round < 20; ++round) {
        CheckedIndex indices[2];
        for (std::uint32_t step = 0; step < 400; ++step) {
            const auto operation = random() % 100;
            if (operation == 0) {
                indices[0].ClearAll();
                indices[0].wanted.entries.clear();
            } else if (operation == 1) {
                EXPECT_TRUE(indices[0].Grow());
                indices[0].GrowWanted();
            } else if (operation == 2) {
                indices[0].Swap(indices[1]);
                std::swap(indices[0].wanted, indices[1].wanted);
            } else {
                indices[0].Put(static_cast<std::uint32_t>(random() % 30000));
            }
            if (step < 15 || step % 50 == 0) {
                indices[0].Check();
                indices[1].Check();
            }
        }
    }
}

TEST(CFileIndex, GrowsInTheOrderOfItsSlots)
{
    const CHashedText keys[] = {{"first", 31}, {"second", 31}, {"third", 15}, {"first", 15}};
    CFileIndex index;
    for (const CHashedText& key : keys) { // 15, and around the end 0, 1 and 2
        index.InsertOrAssign(key, {});
    }
    EXPECT_EQ(index.FindSlot(keys[3]), 2u);
    EXPECT_TRUE(index.Grow());
    const std::uint32_t slots[] = {0, 31, 15, 16}; // the second key was met before the first
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(index.FindSlot(keys[i]), slots[i]) << i;
        EXPECT_NE(index.Find(keys[i]), nullptr) << i;
    }
}

TEST(CFileIndex, StaysAsItWasWithoutMemory)
{
    const TraceCapture trace;
    const CHashedText key("key");
    std::optional<HeapWatch> watch(HeapRule{.ordinal = 1, .lasting = true});
    CheckedIndex index;
    index.Expect(0, 0);
    EXPECT_FALSE(index.Grow() || index.InsertOrAssign(key, {}) != nullptr || index.Find(key) != nullptr);
    index.ClearAll();
    watch.reset();
    for (std::uint32_t number = 0; number < 11; ++number) { // it comes to life
        index.Put(number);
    }
    watch.emplace(HeapRule{.ordinal = 1, .lasting = true});
    EXPECT_FALSE(index.InsertOrAssign(key, {}) != nullptr || index.Grow());
    watch.reset();
    index.Check();
    index.Put(11);
    index.Expect(32, 13);
    EXPECT_NE(trace.Text().find("Failed to allocate"), std::string::npos);
}

} // namespace
} // namespace Plinth
