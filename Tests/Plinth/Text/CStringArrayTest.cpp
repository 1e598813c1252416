#include "Plinth/Text/CStringArray.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/FailingInTurn.h"

#include <gtest/gtest.h>

#include <tuple>

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

template <typename Operation>
unsigned BlocksFor(const Operation& operation)
{
    const HeapWatch watch;
    operation();
    return watch.Blocks();
}

TEST(CPagedArray, TakesPagesWhenTheirSlotsAreUsed)
{
    CPagedArray array(8, 4);
    EXPECT_EQ(BlocksFor([&] { array.EnsurePages(9); }), 1u);  // the table, of three entries
    EXPECT_EQ(BlocksFor([&] { array.EnsurePages(13); }), 1u); // doubles it
    EXPECT_EQ(BlocksFor([&] { array.EnsurePages(24); }), 0u);
    auto* const first = static_cast<char*>(array.At(0));
    EXPECT_EQ(array.At(3), first + 24);
    void* const distant = array.At(100);
    EXPECT_EQ(array.At(0), first);
    EXPECT_EQ(array.At(100), distant);
}

TEST(CStringArray, StringsStayWhereTheyAre)
{
    CStringArray array;
    EXPECT_EQ(BlocksFor([&] { array.Resize(40); }), 4u); // pointers, page table, two pages
    CString* const second = array.GetAt(1);
    *second = "text";
    array.Resize(1);
    array.Resize(2);
    EXPECT_EQ(Joined(array), "||");
    array.Resize(1000);
    EXPECT_EQ(array.GetAt(1), second);
    EXPECT_EQ(array.GetCount(), 1000u);
}

TEST(CStringArray, IsFilledBySplit)
{
    const std::tuple<const char*, const char*, std::uint32_t, std::uint32_t, const char*> rows[] = {
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
    for (const auto& [text, delimiters, start, count, pieces] : rows) {
        EXPECT_EQ(CString(text).Split(delimiters, &array, start), count) << text;
        EXPECT_EQ(Joined(array), pieces) << text;
        EXPECT_EQ(CString(text).Split(delimiters, nullptr, start), count) << text;
    }
    EXPECT_EQ(array.FindContaining("a", 0), 0u); // of a, blanks and b
    EXPECT_EQ(array.FindContaining("a", 1), NOT_FOUND);
    EXPECT_EQ(array.FindContaining("b", 1), 2u);
    EXPECT_EQ(array.FindContaining("b", 3), NOT_FOUND);
}

TEST(CStringArray, KeepsItsStringsWithoutMemory)
{
    const CString path("C:\\a long folder name\\x");
    FailingInTurn splitting("CString::Split");
    while (splitting.Next()) {
        const TraceCapture trace;
        CStringArray array;
        const bool whole = splitting.Try([&] { path.Split("\\", &array, 0); });
        EXPECT_EQ(Joined(array) == "C:|a long folder name|x|", whole);
    }
    FailingInTurn resizing("CStringArray::Resize");
    while (resizing.Next()) {
        CStringArray array;
        CString("a,b").Split(",", &array, 0);
        const bool done = resizing.Try([&] { array.Resize(100); });
        EXPECT_EQ(array.GetCount(), done ? 100u : 2u);
        EXPECT_STREQ(array.GetAt(1)->CStr(), "b");
        array.Resize(70);
        EXPECT_TRUE(array.GetAt(69)->IsEmpty());
    }
}

} // namespace
} // namespace Plinth
