#include "Plinth/Text/CStringPool.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"

#include <gtest/gtest.h>

#include <algorithm>
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

// The set's rules one by one: growth in the order of the slots, and each pair in its first free slot.
struct SetModel {
    std::vector<const CHashedText*> slots = std::vector<const CHashedText*>(16);
    std::size_t budget = 12;

    void Insert(const CHashedText& key)
    {
        if (--budget == 0) {
            const auto old = std::exchange(slots, decltype(slots)(2 * slots.size()));
            budget = slots.size() - slots.size() / 4;
            for (const CHashedText* entry : old) {
                budget -= entry != nullptr ? Place(*entry) : 0;
            }
        }
        Place(key);
    }

    unsigned Place(const CHashedText& key)
    {
        std::size_t slot = key.hash % slots.size();
        while (slots[slot] != nullptr) {
            slot = (slot + 1) % slots.size();
        }
        slots[slot] = &key;
        return 1;
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
        CHashedTextSet set(16);
        SetModel model;
        for (const CHashedText& key : keys) {
            const std::uint32_t slot = set.FindSlot(key);
            EXPECT_EQ(set.EntryAt(slot), nullptr);
            EXPECT_EQ((run % 3 == 0 ? set.Insert(key) : set.InsertAt(slot, key))->text, key.text);
            model.Insert(key);
            EXPECT_EQ(set.FindOrInsert(key)->text, key.text);
        }
        EXPECT_EQ(set.InsertAt(set.FindSlot(keys[0]), {"other", keys[0].hash})->text,
                  keys[0].text); // occupied
        CHashedTextSet swapped(17);
        EXPECT_EQ(swapped.GetCapacity(), 32u);
        swapped.Swap(set);
        EXPECT_EQ(set.GetCapacity(), 32u);
        ASSERT_EQ(swapped.GetCapacity(), model.slots.size());
        const auto textOf = [](const CHashedText* entry) { return entry != nullptr ? entry->text : nullptr; };
        for (std::uint32_t slot = 0; slot < swapped.GetCapacity(); ++slot) {
            ASSERT_EQ(textOf(swapped.EntryAt(slot)), textOf(model.slots[slot]));
        }
    }
}

TEST(CHashedTextSet, ComesToLifeWhenMemoryIsBack)
{
    const TraceCapture trace;
    EXPECT_EQ(CHashedTextSet(0xFFFFFFFF).GetCapacity(), 0u);
    const HeapWatch watch({.ordinal = 1});
    CHashedTextSet set;
    EXPECT_EQ(set.GetCapacity(), 0u);
    EXPECT_EQ(set.EntryAt(set.FindSlot(CHashedText("1"))), nullptr);
    for (std::uint32_t i = 0; i < 12; ++i) {
        EXPECT_NE(set.Insert({"any", i}), nullptr);
        EXPECT_EQ(set.GetCapacity(), i < 11 ? 16u : 32u);
    }
}

TEST(CStringArena, PacksTextsIntoBlocks)
{
    constexpr std::size_t WHOLE = 4096 - sizeof(void*) - 1; // the longest text in a block of the usual size
    const std::pair<std::size_t, unsigned> rows[] = {       // lengths, and the blocks that they begin
                                                     {WHOLE, 1}, {0, 1},    {WHOLE - 1, 0}, {0, 1},
                                                     {WHOLE, 1}, {5000, 1}, {0, 1}};
    CStringArena arena(4096);
    arena.ReleaseAll();
    for (const auto& [length, blocks] : rows) {
        const std::string text(length, 'x');
        const HeapWatch watch({.largest = std::max<std::size_t>(4096, sizeof(void*) + length + 1)});
        EXPECT_EQ(arena.StoreText(text.c_str()), text);
        EXPECT_EQ(watch.Blocks(), blocks) << length;
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
            char text[200];
            for (int i = 0; i < 60; ++i) {
                FormatText(text, sizeof(text), "%0150d", i);
                const unsigned failuresBefore = watch.Failures();
                const CHashedText* const entry = pool.Intern(text);
                EXPECT_EQ(entry == nullptr, watch.Failures() != failuresBefore);
                first = i == 0 && entry != nullptr ? entry->text : first;
            }
            FormatText(text, sizeof(text), "%0150d", 0);
            EXPECT_TRUE(first == nullptr || pool.Intern(text)->text == first);
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
    for (char letter = 'a'; letter < 'a' + 11; ++letter) {
        pool.Intern(std::string(300, letter).c_str());
    }
    const std::string last(300, 'z');
    for (int i = 0; i < 100; ++i) {
        const HeapWatch watch({.ordinal = 1, .lasting = true});
        EXPECT_EQ(pool.Intern(last.c_str()), nullptr);
        EXPECT_EQ(watch.Blocks(), 1u); // the table's, never one of the arena's
    }
    const HeapWatch watch;
    EXPECT_EQ(pool.Intern(last.c_str())->text, last);
    EXPECT_EQ(watch.Blocks(), 1u);
}

} // namespace
} // namespace Plinth
