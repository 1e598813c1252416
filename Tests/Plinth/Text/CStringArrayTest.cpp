#include "Plinth/Text/CStringArray.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"

#include <gtest/gtest.h>

#include <new>

namespace Plinth {
namespace {

std::string Joined(const CStringArray& array)
{
    std::string joined;
    for (std::uint32_t i = 0; i < array.GetCount(); ++i) {
        joined += array.GetAt(i)->CStr() + std::string("|");
    }
    return joined;
}

TEST(CPagedArray, TakesPagesWhenTheirSlotsAreUsed)
{
    CPagedArray array(8, 4);
    unsigned blocks = 0;
    {
        const HeapWatch watch;
        array.EnsurePages(9);
        blocks = watch.Blocks();
    }
    EXPECT_EQ(blocks, 1u); // the table, of three entries
    {
        const HeapWatch watch;
        array.EnsurePages(13); // doubles it
        array.EnsurePages(24);
        blocks = watch.Blocks();
    }
    EXPECT_EQ(blocks, 1u);
    auto* const first = static_cast<char*>(array.At(0));
    EXPECT_EQ(array.At(3), first + 24);
    void* const distant = array.At(100);
    EXPECT_EQ(array.At(0), first);
    EXPECT_EQ(array.At(100), distant);
}

TEST(CStringArray, StringsStayWhereTheyAre)
{
    CStringArray array;
    array.Resize(3);
    EXPECT_EQ(Joined(array), "|||");
    CString* const second = array.GetAt(1);
    *second = "text";
    array.Resize(1);
    array.Resize(2);
    EXPECT_EQ(array.GetAt(1), second);
    EXPECT_EQ(Joined(array), "||");
    CString* const first = array.GetAt(0);
    array.Resize(1000);
    EXPECT_EQ(array.GetAt(0), first);
    EXPECT_EQ(array.GetCount(), 1000u);

    CStringArray forty;
    unsigned blocks = 0;
    {
        const HeapWatch watch;
        forty.Resize(40);
        blocks = watch.Blocks();
    }
    EXPECT_EQ(blocks, 4u); // pointers, page table, two pages
}

TEST(CStringArray, FindsTheStringThatContainsAText)
{
    CStringArray array;
    EXPECT_EQ(CString("abc,xyz,b").Split(",", &array, 0), 3u);
    EXPECT_EQ(array.FindContaining("b", 0), 0u);
    EXPECT_EQ(array.FindContaining("b", 1), 2u);
    EXPECT_EQ(array.FindContaining("q", 0), NOT_FOUND);
    EXPECT_EQ(array.FindContaining("b", 3), NOT_FOUND);
}

TEST(CStringArray, IsFilledBySplit)
{
    struct Row {
        const char* text;
        const char* delimiters;
        std::uint32_t start;
        std::uint32_t count;
        const char* pieces;
    };
    const Row rows[] = {
        {"C:\\dir/sub", "\\/", 0, 3, "C:|dir|sub|"},
        {"a, b;;c,", ",;", 0, 3, "a|b|c|"},
        {",,,", ",", 0, 0, ""},
        {"a", "", 0, 1, "a|"},
        {"a b", nullptr, 0, 1, "a b|"},
        {"a,b,c", ",", 2, 2, "b|c|"},
        {"", ",", 0, 0, ""},
        {"a", ",", 5, 0, ""},
        {"a", ",", NO_LIMIT, 0, ""},
        {"a,  ,b", ",", 0, 3, "a|  |b|"},
    };
    CStringArray array;
    for (const Row& row : rows) {
        EXPECT_EQ(CString(row.text).Split(row.delimiters, &array, row.start), row.count) << row.text;
        EXPECT_EQ(Joined(array), row.pieces) << row.text;
        EXPECT_EQ(CString(row.text).Split(row.delimiters, nullptr, row.start), row.count) << row.text;
    }
}

TEST(CStringArray, SplitLosesNoPieceWithoutMemory)
{
    const CString path("C:\\a long folder name\\x");
    for (unsigned n = 1, failures = 1; failures != 0; ++n) {
        const TraceCapture trace;
        CStringArray array;
        bool whole = true;
        {
            const HeapWatch watch({.ordinal = n});
            try {
                path.Split("\\", &array, 0);
            } catch (const std::bad_alloc&) {
                whole = false;
            }
            failures = watch.Failures();
        }
        EXPECT_EQ(whole, failures == 0);
        EXPECT_EQ(Joined(array) == "C:|a long folder name|x|", whole);
    }
}

TEST(CStringArray, KeepsItsStringsWithoutMemory)
{
    for (unsigned n = 1, failures = 1; failures != 0; ++n) {
        CStringArray array;
        CString("a,b").Split(",", &array, 0);
        {
            const HeapWatch watch({.ordinal = n});
            try {
                array.Resize(100);
            } catch (const std::bad_alloc&) {
                EXPECT_NE(watch.Failures(), 0u);
            }
            failures = watch.Failures();
        }
        EXPECT_EQ(array.GetCount(), failures != 0 ? 2u : 100u);
        EXPECT_STREQ(array.GetAt(1)->CStr(), "b");
        array.Resize(70);
        EXPECT_TRUE(array.GetAt(69)->IsEmpty());
    }
}

} // namespace
} // namespace Plinth
