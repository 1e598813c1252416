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
        if (!wanted_.contains(text) && --wantedBudget_ <= 0) {
            GrowWanted();
        }
        const CFileIndexEntry entry = {number, number + 1, number + 2, {number + 3, number + 4}};
        const auto place = wanted_.insert_or_assign(text, entry).first; // its text outlives what is stored
        EXPECT_EQ(InsertOrAssign(KeyOf(place->first), entry)->size, number + 1);
    }
    void ClearBoth()
    {
        ClearAll();
        wanted_.clear();
    }
    void GrowBoth()
    {
        EXPECT_TRUE(Grow());
        GrowWanted();
    }
    void SwapBoth(CheckedIndex& other)
    {
        Swap(other);
        std::swap(wanted_, other.wanted_);
        std::swap(wantedCapacity_, other.wantedCapacity_);
        std::swap(wantedBudget_, other.wantedBudget_);
    }
    void Check() const
    {
        Expect(wantedCapacity_, wantedBudget_);
        for (int number = 0; number < 300; ++number) {
            const std::string text = std::to_string(number);
            const CFileIndexEntry* const entry = Find(KeyOf(text));
            const auto place = wanted_.find(text);
            ASSERT_EQ(entry != nullptr, place != wanted_.end()) << text;
            ASSERT_TRUE(entry == nullptr || std::memcmp(entry, &place->second, sizeof(*entry)) == 0) << text;
        }
    }
    void Expect(std::uint32_t capacity, std::int32_t budget) const
    {
        EXPECT_EQ(GetCapacity(), capacity);
        EXPECT_EQ(budget_, budget);
    }

private:
    void GrowWanted()
    {
        wantedCapacity_ *= 2;
        wantedBudget_ = static_cast<std::int32_t>(wantedCapacity_ - wantedCapacity_ / 4 - wanted_.size());
    }

    std::map<std::string, CFileIndexEntry> wanted_;
    std::uint32_t wantedCapacity_ = 16;
    std::int32_t wantedBudget_ = 12;
};

TEST(CFileIndex, HoldsWhatAMapHolds)
{
    for (unsigned seed = 0; seed < 20; ++seed) {
        std::mt19937 random(seed);
        CheckedIndex indices[2];
        for (std::uint32_t step = 0; step < 400; ++step) {
            switch (random() % 100) {
            case 0:
                indices[0].ClearBoth();
                break;
            case 1:
                indices[0].GrowBoth();
                break;
            case 2:
                indices[0].SwapBoth(indices[1]);
                break;
            default:
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
    EXPECT_FALSE(index.Grow());
    EXPECT_EQ(index.InsertOrAssign(key, {}), nullptr);
    EXPECT_EQ(index.Find(key), nullptr);
    index.ClearAll();
    watch.reset();
    for (std::uint32_t number = 0; number < 11; ++number) { // it comes to life
        index.Put(number);
    }
    for (const bool inserts : {true, false}) {
        watch.emplace(HeapRule{.ordinal = 1});
        EXPECT_FALSE(inserts ? index.InsertOrAssign(key, {}) != nullptr : index.Grow());
        watch.reset();
        index.Check();
        index.Expect(16, 1);
    }
    index.Put(11);
    index.Expect(32, 13);
    EXPECT_NE(trace.Text().find("Failed to allocate"), std::string::npos);
}

} // namespace
} // namespace Plinth
