#include "Plinth/Text/CWideString.h"
#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Plinth {
namespace {

TEST(CWideString, IsMadeFromUtf8AndFromWideTexts)
{
    const WideText umlaut = WIDE("Gr\u00fc");
    EXPECT_EQ(CWideString("Gr\xC3\xBC"), umlaut);
    EXPECT_EQ(CWideString(CString("Gr\xC3\xBC")), umlaut);
    EXPECT_EQ(CWideString(static_cast<const char*>(nullptr)), CWideString());
    EXPECT_EQ(CWideString(CString()), CWideString());
    EXPECT_EQ(CWideString(LPCWSTR{nullptr}), CWideString());
    EXPECT_EQ(ToUnits(CWideString("a\xFF"
                                  "b\xF0\x9F\x8E\xAE")),
              "0061fffd0062d83cdfae");
    CString zeros;
    zeros.Assign("a\0b", 3);
    EXPECT_EQ(ToUnits(CWideString(zeros)), "006100000062");
    EXPECT_EQ(CWideString(WideText{'a', 0, 'b'}).size(), 3u);
    EXPECT_GE(CWideString(100u).capacity(), 100u);
    EXPECT_TRUE(CWideString(100u).empty());
}

TEST(CWideString, NullLeavesOrEmptiesIt)
{
    CWideString string(WIDE("abc"));
    string = LPCWSTR{nullptr};
    string.Assign(nullptr, 3);
    EXPECT_EQ(string, WideText(WIDE("abc")));
    string.Assign(string.c_str() + 1, 1);
    EXPECT_EQ(string, WideText(WIDE("b")));
    string = WIDE("pointer");
    EXPECT_EQ(ToUtf8(string), "pointer");
    string = WideText{'a', 0, 'b'};
    EXPECT_EQ(ToUnits(string), "006100000062");
    EXPECT_EQ(string.Mid(2, 1).size(), 1u);
    string.AssignUtf8("abc", NO_LIMIT);
    EXPECT_TRUE(string.empty());
    string = CString("narrow");
    EXPECT_EQ(ToUtf8(string), "narrow");
    string.AssignUtf8("abc", 2);
    EXPECT_EQ(ToUtf8(string), "ab");
    string = static_cast<const char*>(nullptr);
    EXPECT_TRUE(string.empty());
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
        std::vector<CWideString> vector;
        CWideString(source).Split(',', list);
        CWideString(source).Split(',', vector);
        EXPECT_EQ(ToUtf8(list.front()), "before");
        list.pop_front();
        EXPECT_TRUE(std::equal(list.begin(), list.end(), vector.begin(), vector.end()));
        std::string joined;
        for (const CWideString& piece : vector) {
            joined += ToUtf8(piece) + '|';
        }
        EXPECT_EQ(joined, expected);
    }
}

} // namespace
} // namespace Plinth
