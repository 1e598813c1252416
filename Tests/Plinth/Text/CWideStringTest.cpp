#include "Plinth/Text/CWideString.h"
#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace Plinth {
namespace {

TEST(CWideString, IsMadeFromUtf8AndFromWideTexts)
{
    EXPECT_EQ(CWideString("Gr\xC3\xBC"), WideText(WIDE("Gr\u00fc")));
    EXPECT_EQ(CWideString(CString("Gr\xC3\xBC")), WideText(WIDE("Gr\u00fc")));
    for (const CWideString& none : {CWideString(static_cast<const char*>(nullptr)), CWideString(CString()),
                                    CWideString(LPCWSTR{nullptr}), CWideString(100u)}) {
        EXPECT_TRUE(none.empty());
    }
    EXPECT_EQ(ToUnits(CWideString("a\xFF\xF0\x9F\x8E\xAE")), "0061fffdd83cdfae");
    CString zeros;
    zeros.Assign("a\0b", 3);
    EXPECT_EQ(ToUnits(CWideString(zeros)), "006100000062");
    EXPECT_EQ(CWideString(WideText{'a', 0, 'b'}).size(), 3u);
    EXPECT_GE(CWideString(100u).capacity(), 100u);
}

TEST(CWideString, NullLeavesOrEmptiesIt)
{
    using Change = std::function<void(CWideString&)>;
    // Each row starts from "abc".
    const std::pair<Change, const char*> rows[] = {
        {[](CWideString& s) { s = LPCWSTR{nullptr}; }, "006100620063"},
        {[](CWideString& s) { s.Assign(nullptr, 3); }, "006100620063"},
        {[](CWideString& s) { s.Assign(s.c_str() + 1, 1); }, "0062"},
        {[](CWideString& s) { s = WIDE("p"); }, "0070"},
        {[](CWideString& s) {
             s = WideText{'a', 0, 'b'};
         },
         "006100000062"},
        {[](CWideString& s) { s.AssignUtf8("abc", NO_LIMIT); }, ""},
        {[](CWideString& s) { s.AssignUtf8("xyz", 2); }, "00780079"},
        {[](CWideString& s) { s = CString("n"); }, "006e"},
        {[](CWideString& s) { s = static_cast<const char*>(nullptr); }, ""},
    };
    for (const auto& [change, units] : rows) {
        CWideString string(WIDE("abc"));
        change(string);
        EXPECT_EQ(ToUnits(string), units);
    }
}

TEST(CWideString, FormatsWithinItsCapacity)
{
    CWideString string;
    ASSERT_EQ(string.capacity(), 7u);
    string.Format(WIDE("%d"), 1234567);
    EXPECT_EQ(ToUtf8(string), "12345");
    string.AppendFormat(WIDE("%d"), 67); // two units to spare, none of them free
    EXPECT_EQ(ToUtf8(string), "12345");
    for (const char* full : {"123456", "1234567"}) {
        string = full;
        string.AppendFormat(WIDE("x"));
        EXPECT_EQ(ToUtf8(string), full);
    }
    string.Format(nullptr);
    EXPECT_TRUE(string.empty());
    CWideString roomy(64u);
    roomy.Format(WIDE("%d"), 1234567);
    roomy.AppendFormat(WIDE(" %s"), WIDE("w"));
    roomy.AppendFormat(nullptr);
    EXPECT_EQ(ToUtf8(roomy), "1234567 w");
}

TEST(CWideString, CutsIntoPieces)
{
    const CWideString text(WIDE("abcb"));
    EXPECT_EQ(text.Find(WIDE("b"), 2), 3u);
    EXPECT_EQ(text.Find(WIDE("x"), 0), NOT_FOUND);
    EXPECT_EQ(text.Find(nullptr, 1), 1u);
    EXPECT_EQ(ToUtf8(text.Mid(1, 2)), "bc");
    EXPECT_EQ(CWideString(WideText{'a', 0, 'b'}).Mid(0, 3).size(), 1u);
    EXPECT_THROW(static_cast<void>(text.Mid(5, 1)), std::out_of_range);

    const std::pair<const char*, std::string> rows[] = {
        {"a,,b,", "a||b||"}, {"", "|"}, {"abc", "abc|"}, {",", "||"}, {"a,b", "a|b|"},
    };
    for (const auto& [source, expected] : rows) {
        std::list<CWideString> list{CWideString("before")};
        std::vector<CWideString> vector{CWideString("before")};
        CWideString(source).Split(',', list);
        CWideString(source).Split(',', vector);
        EXPECT_TRUE(std::equal(list.begin(), list.end(), vector.begin(), vector.end()));
        std::string joined;
        for (const CWideString& piece : vector) {
            joined += ToUtf8(piece) + '|';
        }
        EXPECT_EQ(joined, "before|" + expected);
    }
}

} // namespace
} // namespace Plinth
