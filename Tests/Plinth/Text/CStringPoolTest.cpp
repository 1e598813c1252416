#include "Plinth/Text/CStringPool.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <utility>
#include <vector>

namespace Plinth {
namespace {

TEST(CStringPool, KeepsOneCopyOfEachText)
{
    CStringPool pool;
    char text[] = "abc";
    const char* const pooled = pool.Intern(text)->text;
    EXPECT_NE(pooled, text);
    text[0] = 'A';
    const char* const upper = pool.Intern(text)->text;
    EXPECT_STREQ(pooled, "abc");
    EXPECT_STREQ(upper, "Abc");
    EXPECT_EQ(pool.Intern("abc")->hash, HashText("abc"));
    const HeapWatch watch;
    EXPECT_EQ(pool.Intern("abc")->text, pooled);
    EXPECT_EQ(pool.FindOrInsert(CHashedText("Abc"))->text, upper);
    const char* const own = "the caller's own";
    EXPECT_EQ(pool.FindOrInsert(CHashedText(own))->text, own);
    EXPECT_EQ(watch.Blocks(), 0u);
    EXPECT_TRUE(CHashedText("a") != CHashedText("b", HashText("a")));
    EXPECT_TRUE(CHashedText("a") != CHashedText("a", 1));
    EXPECT_FALSE(CHashedText("a") != CHashedText(std::string("a").c_str()));
}

TEST(CStringPool, TheLibrarysOwnIsThereBeforeItsFirstUse)
{
    const char* const text = globalStringPool.Intern("global")->text;
    const HeapWatch watch;
    EXPECT_EQ(globalStringPool.Intern("global")->text, text);
    EXPECT_EQ(watch.Blocks(), 0u);
}

TEST(CHashedTextSet, RoundsItsCapacityUp)
{
    const std::pair<std::uint32_t, std::uint32_t> rows[] = {{0, 16}, {16, 16}, {17, 32}, {100, 128}};
    for (const auto& [asked, capacity] : rows) {
        EXPECT_EQ(CHashedTextSet(asked).GetCapacity(), capacity);
    }
}

// Hashes of one's own choice: the last slot, and again, and once more.
TEST(CHashedTextSet, ProbesOnPastTheLastSlot)
{
    CHashedTextSet set;
    const CHashedText keys[] = {{"a", 15}, {"b", 31}, {"c", 15}, {"d", 0}};
    const std::uint32_t slots[] = {15, 0, 1, 2};
    for (std::size_t i = 0; i < std::size(keys); ++i) {
        EXPECT_EQ(set.FindSlot(keys[i]), slots[i]);
        EXPECT_EQ(set.EntryAt(slots[i]), nullptr);
        const CHashedText* const inserted = set.InsertAt(slots[i], keys[i]);
        EXPECT_EQ(inserted, set.EntryAt(slots[i]));
    }
    for (std::size_t i = 0; i < std::size(keys); ++i) {
        EXPECT_EQ(set.FindSlot(keys[i]), slots[i]);
        EXPECT_EQ(set.FindOrInsert(keys[i]), set.EntryAt(slots[i]));
    }
    EXPECT_EQ(set.InsertAt(15, {"other", 15})->text, keys[0].text); // occupied
    CHashedTextSet other;
    other.Swap(set);
    EXPECT_EQ(set.EntryAt(15), nullptr);
    EXPECT_EQ(other.EntryAt(15)->text, keys[0].text);
}

// The set's rules one by one: growth in the order of the slots, and each pair in its first free slot.
struct SetModel {
    std::vector<const CHashedText*> slots = std::vector<const CHashedText*>(16);
    std::size_t budget = 12;

    void Insert(const CHashedText& key)
    {
        if (--budget == 0) {
            const std::vector<const CHashedText*> old =
                std::exchange(slots, decltype(slots)(2 * slots.size()));
            budget = slots.size() - slots.size() / 4;
            for (const CHashedText* entry : old) {
                if (entry != nullptr) {
                    Place(*entry);
                    --budget;
                }
            }
        }
        Place(key);
    }

    void Place(const CHashedText& key)
    {
        std::size_t slot = key.hash % slots.size();
        while (slots[slot] != nullptr) {
            slot = (slot + 1) % slots.size();
        }
        slots[slot] = &key;
    }
};

TEST(CHashedTextSet, AgreesWithItsRules)
{
    std::mt19937 random(5);
    for (int run = 0; run < 50; ++run) {
        std::vector<std::string> texts(random() % 200 + 1);
        std::vector<CHashedText> keys;
        for (std::size_t i = 0; i < texts.size(); ++i) {
            texts[i] = std::to_string(i);
            keys.emplace_back(texts[i].c_str(), random() % (run % 2 == 0 ? 8u : 0xFFFFFFFFu));
        }
        CHashedTextSet set;
        SetModel model;
        for (const CHashedText& key : keys) {
            EXPECT_EQ(set.Insert(key)->text, key.text);
            model.Insert(key);
        }
        ASSERT_EQ(set.GetCapacity(), model.slots.size());
        for (std::uint32_t slot = 0; slot < set.GetCapacity(); ++slot) {
            const CHashedText* const entry = set.EntryAt(slot);
            ASSERT_EQ(entry != nullptr ? entry->text : nullptr,
                      model.slots[slot] != nullptr ? model.slots[slot]->text : nullptr);
        }
    }
}

TEST(CHashedTextSet, ComesToLifeWhenMemoryIsBack)
{
    const TraceCapture trace;
    EXPECT_EQ(CHashedTextSet(0xFFFFFFFF).GetCapacity(), 0u);
    const std::string texts[] = {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12"};
    const HeapWatch watch({.ordinal = 1});
    CHashedTextSet set;
    EXPECT_EQ(set.GetCapacity(), 0u);
    EXPECT_EQ(set.EntryAt(set.FindSlot(CHashedText("1"))), nullptr);
    for (std::size_t i = 0; i < std::size(texts); ++i) {
        EXPECT_NE(set.Insert(CHashedText(texts[i].c_str())), nullptr);
        EXPECT_EQ(set.GetCapacity(), i < 11 ? 16u : 32u);
    }
}

TEST(CStringArena, PacksTextsIntoBlocks)
{
    constexpr std::size_t LINK = sizeof(void*);
    struct Row {
        std::size_t length;
        unsigned blocks; // that it begins
    };
    const Row rows[] = {
        {4096 - LINK - 1, 1}, {0, 1}, {4096 - LINK - 2, 0}, {0, 1}, {4096 - LINK - 1, 1}, {5000, 1}, {0, 1},
    };
    CStringArena arena(4096);
    arena.ReleaseAll();
    for (const auto& [length, blocks] : rows) {
        const std::string text(length, 'x');
        const HeapWatch watch;
        const char* const copy = arena.StoreText(text.c_str());
        EXPECT_EQ(watch.Blocks(), blocks) << length;
        EXPECT_EQ(copy, text);
    }
    arena.ReleaseAll();
    const std::string text(5000, 'x');
    for (const std::size_t size : {LINK + 5000, LINK + 5001}) {
        const TraceCapture trace;
        const HeapWatch watch({.largest = size});
        EXPECT_EQ(arena.StoreText(text.c_str()) != nullptr, size == LINK + 5001);
    }
}

TEST(CStringPool, HoldsWhatItHeldWithoutMemory)
{
    for (unsigned n = 1, failures = 1; failures != 0; ++n) {
        const TraceCapture trace;
        {
            const HeapWatch watch({.ordinal = n, .lasting = true});
            CStringPool pool;
            const char* first = nullptr;
            for (int i = 0; i < 60; ++i) {
                char text[200];
                FormatText(text, sizeof(text), "%0150d", i);
                const unsigned failuresBefore = watch.Failures();
                const CHashedText* const entry = pool.Intern(text);
                EXPECT_EQ(entry == nullptr, watch.Failures() != failuresBefore);
                first = i == 0 && entry != nullptr ? entry->text : first;
            }
            char text[200];
            FormatText(text, sizeof(text), "%0150d", 0);
            if (first != nullptr) {
                EXPECT_EQ(pool.Intern(text)->text, first);
            }
            failures = watch.Failures();
        }
        const std::string text = trace.Text();
        unsigned lines = 0;
        for (std::size_t at = 0; (at = text.find("Failed to allocate", at)) != std::string::npos; ++at) {
            ++lines;
        }
        EXPECT_EQ(lines, failures);
    }
}

// A text that found no place in the set leaves no trace in the arena: all the room is still there later.
TEST(CStringPool, TakesBackACopyThatFoundNoPlace)
{
    CStringPool pool;
    std::array<std::string, 12> texts;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        texts[i] = std::string(300, static_cast<char>('a' + i));
    }
    for (std::size_t i = 0; i < 11; ++i) {
        pool.Intern(texts[i].c_str());
    }
    for (int i = 0; i < 100; ++i) {
        const HeapWatch watch({.ordinal = 1, .lasting = true});
        EXPECT_EQ(pool.Intern(texts[11].c_str()), nullptr);
        EXPECT_EQ(watch.Blocks(), 1u); // the table's, never one of the arena's
    }
    const HeapWatch watch;
    EXPECT_STREQ(pool.Intern(texts[11].c_str())->text, texts[11].c_str());
    EXPECT_EQ(watch.Blocks(), 1u);
}

} // namespace
} // namespace Plinth
