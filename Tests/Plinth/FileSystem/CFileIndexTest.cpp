#include "Plinth/FileSystem/CFileIndex.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace Plinth {
namespace {

constexpr std::uint64_t TIME = 0x100000001; // of a file of size 1
struct Index : CFileIndex {
    using CFileIndex::budget_;

    CFileIndexEntry* Put(const CHashedText& key, std::uint32_t size)
    {
        return InsertOrAssign(key, {ENTRY_STALE, size, size * TIME, {size + 1, size + 2}});
    }
    void Expect(std::uint32_t capacity, std::int32_t budget) const
    {
        EXPECT_EQ(GetCapacity(), capacity);
        EXPECT_EQ(budget_, budget);
    }
};

// Texts that outlive every index; most share a few hashes, at the end of the table at that.
CHashedText KeyOf(std::size_t number)
{
    static const std::vector<std::string> texts = [] {
        std::vector<std::string> made;
        for (int i = 0; i < 300; ++i) {
            made.push_back("data\\" + std::to_string(i));
        }
        return made;
    }();
    const char* const text = texts[number].c_str();
    return number % 3 == 0 ? CHashedText(text) : CHashedText(text, 0xFFFFFFFE + number % 2);
}

// What the index has to hold, and when it has to grow.
struct Model {
    std::map<std::size_t, std::uint32_t> sizes;
    std::uint32_t capacity = 16;
    std::int32_t budget = 12;

    void Grow()
    {
        capacity *= 2;
        budget = static_cast<std::int32_t>(capacity - capacity / 4 - sizes.size());
    }
    void Put(std::size_t number, std::uint32_t size)
    {
        if (!sizes.contains(number) && --budget <= 0) {
            Grow();
        }
        sizes[number] = size;
    }
    void Expect(const Index& index) const
    {
        index.Expect(capacity, budget);
        for (std::size_t number = 0; number < 300; ++number) {
            const CHashedText key = KeyOf(number);
            const std::string copy = key.text;
            const auto* const entry = index.Find(CHashedText(copy.c_str(), key.hash));
            const auto size = sizes.find(number);
            ASSERT_EQ(entry != nullptr, size != sizes.end()) << number;
            ASSERT_TRUE(entry == nullptr ||
                        (entry->flags == ENTRY_STALE && entry->size == size->second &&
                         entry->time == size->second * TIME && entry->reserved[0] == size->second + 1 &&
                         entry->reserved[1] == size->second + 2))
                << number;
        }
    }
};

TEST(CFileIndex, IsWhatTheModelIs)
{
    for (unsigned seed = 0; seed < 20; ++seed) {
        std::mt19937 random(seed);
        Index indices[2];
        Model models[2];
        for (std::uint32_t step = 0; step < 400; ++step) {
            const std::size_t number = random() % 300;
            switch (random() % 100) {
            case 0:
                indices[0].ClearAll();
                models[0].sizes.clear();
                break;
            case 1:
                EXPECT_TRUE(indices[0].Grow());
                models[0].Grow();
                break;
            case 2:
                indices[0].Swap(indices[1]);
                std::swap(models[0], models[1]);
                break;
            default: // also a key that is there
                EXPECT_EQ(indices[0].Put(KeyOf(number), step)->size, step);
                models[0].Put(number, step);
            }
            if (step % 40 < 3) {
                models[0].Expect(indices[0]);
            }
        }
        models[0].Expect(indices[0]);
        models[1].Expect(indices[1]);
    }
}

TEST(CFileIndex, GrowsWithTheKeyThatUsesItsBudgetUp)
{
    struct Row {
        std::size_t keys;
        std::uint32_t capacity;
        std::int32_t budget;
    };
    const Row rows[] = {{0, 16, 12}, {1, 16, 11}, {11, 16, 1}, {12, 32, 13}, {24, 32, 1}, {25, 64, 24}};
    Index index;
    std::size_t keys = 0;
    for (const Row& row : rows) {
        for (; keys < row.keys; ++keys) {
            index.Put(KeyOf(keys), 5);
            index.Put(KeyOf(0), 6); // assigning costs nothing
        }
        index.Expect(row.capacity, row.budget);
    }
    Index cleared;
    for (std::size_t number = 0; number < 11; ++number) {
        cleared.Put(KeyOf(number), 5);
    }
    cleared.ClearAll();
    cleared.Expect(16, 1);
    EXPECT_EQ(cleared.Find(KeyOf(0)), nullptr);
    cleared.Put(KeyOf(0), 5); // as if the others were still there
    cleared.Expect(32, 24);
}

TEST(CFileIndex, GrowsInTheOrderOfItsSlots)
{
    const CHashedText keys[] = {{"first", 31}, {"second", 31}, {"third", 15}, {"first", 15}};
    Index index;
    for (const CHashedText& key : keys) { // 15, and around the end 0, 1 and 2
        index.Put(key, 5);
    }
    EXPECT_EQ(index.FindSlot(keys[3]), 2u);
    EXPECT_EQ(index.FindSlot({"missing", 31}), 3u);
    EXPECT_TRUE(index.Grow());
    const std::uint32_t slots[] = {0, 31, 15, 16}; // the second key was met before the first
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(index.FindSlot(keys[i]), slots[i]) << i;
    }
}

TEST(CFileIndex, StaysAsItWasWithoutMemory)
{
    const TraceCapture trace;
    std::optional<HeapWatch> watch(HeapRule{.ordinal = 1, .lasting = true});
    Index index;
    index.Expect(0, 0);
    EXPECT_FALSE(index.Grow());
    EXPECT_EQ(index.Put(KeyOf(0), 5), nullptr);
    EXPECT_EQ(index.Find(KeyOf(0)), nullptr);
    index.ClearAll();
    watch.reset();
    Model model;
    for (std::size_t number = 0; number < 11; ++number) { // it comes to life
        index.Put(KeyOf(number), 5);
        model.Put(number, 5);
    }
    model.Expect(index);
    for (const bool puts : {true, false}) {
        watch.emplace(HeapRule{.ordinal = 1});
        EXPECT_FALSE(puts ? index.Put(KeyOf(11), 5) != nullptr : index.Grow());
        watch.reset();
        model.Expect(index);
    }
    index.Put(KeyOf(11), 5);
    index.Expect(32, 13);
    EXPECT_NE(trace.Text().find("Failed to allocate"), std::string::npos);
}

} // namespace
} // namespace Plinth
