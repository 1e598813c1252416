#include "Plinth/Text/CString.h"
#include "Tests/Plinth/CallWithArguments.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"
#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <sstream>
#include <tuple>

namespace Plinth {
namespace {

using namespace std::string_view_literals;

std::string Text(const CString& string)
{
    EXPECT_EQ(string.CStr()[string.GetLength()], 0);
    return {string.CStr(), string.GetLength()};
}

CString Make(std::string_view text)
{
    CString string;
    string.Assign(text.data(), static_cast<std::uint32_t>(text.size()));
    return string;
}

// The block's size, asked of a fresh state of the heap: one more byte makes it grow, no fewer do.
std::uint32_t CapacityOf(CString& string)
{
    std::uint32_t capacity = string.CStr()[0] == 0 && string.GetLength() == 0 ? 0 : string.GetLength() + 1;
    for (;; ++capacity) {
        const HeapWatch watch({.ordinal = 1, .lasting = true});
        string.Reserve(capacity);
        if (watch.Blocks() != 0) {
            return capacity - 1;
        }
    }
}

TEST(CString, GrowsToTheNextMultipleOfEight)
{
    const std::pair<std::uint32_t, std::uint32_t> rows[] = {{0, 0}, {1, 8}, {8, 8}, {9, 16}, {100, 104}};
    for (const auto& [size, capacity] : rows) {
        CString string(size);
        EXPECT_EQ(CapacityOf(string), capacity);
    }
    CString string("abcdefgh");
    EXPECT_EQ(CapacityOf(string), 16u);
    string = "x"; // a block never shrinks, and an empty text keeps it
    string.Clear();
    EXPECT_EQ(CapacityOf(string), 16u);
    string.Free();
    EXPECT_EQ(CapacityOf(string), 0u);
    string.Append("abcdefgh");
    string.Prepend("x"); // just what it needs
    string.ReplaceFirst("abc", "");
    EXPECT_EQ(CapacityOf(string), 16u);
    const CString reserved(100u);
    CString copied(reserved);
    EXPECT_EQ(CapacityOf(copied), 0u);
}

TEST(CString, IsMadeFromTexts)
{
    EXPECT_EQ(Text(CString("abcdef", 3)), "abc");
    EXPECT_EQ(Text(CString("ab", 10)), "ab");
    EXPECT_EQ(Text(CString(static_cast<const char*>(nullptr), 5)), "");
    EXPECT_EQ(Text(CString(WIDE("a\u00fc\u4e2d\U0001F3AE"))), "a\xC3\xBC\xE4\xB8\xAD\xF0\x9F\x8E\xAE");
    EXPECT_EQ(Text(CString(WideText{'a', 0, 'b'})), "a");
    EXPECT_EQ(Text(CString(WideText{'a', 0xD800})), "a\xEF\xBF\xBD");
    EXPECT_EQ(CString(), CString(8u));
    CString string("before");
    string = LPCWSTR{nullptr};
    EXPECT_TRUE(string.IsEmpty());
    string = WideText(300, 'w');
    EXPECT_EQ(Text(string), std::string(300, 'w'));
    string = static_cast<const char*>(nullptr);
    EXPECT_TRUE(string.IsEmpty());
}

// Each row starts from "abcdef". Counted operations carry zeros along, the others stop at the first one.
TEST(CString, ChangesItsText)
{
    const CString other("XYZ");
    const char* const null = nullptr;
    const std::pair<std::function<void(CString&)>, std::string_view> rows[] = {
        {[](CString& s) { s.Assign(s.CStr(), 2); }, "ab"},
        {[](CString& s) { s.Assign(s.CStr(), 7); }, "abcdef"}, // more than it has
        {[](CString& s) { s.Assign(s.CStr() + 2, 3); }, "cde"},
        {[](CString& s) { s = s.CStr() + 4; }, "ef"},
        {[](CString& s) { s = *&s; }, "abcdef"},
        {[](CString& s) { s.Assign("x", 0); }, ""},
        {[&](CString& s) { s.Assign(other, 2); }, "XY"},
        {[](CString& s) { (s = Make("ab\0cd"sv)).Reserve(100); }, "ab\0cd"sv},
        {[](CString& s) { s.Append("12", 1); }, "abcdef1"},
        {[&](CString& s) { s.Append(other, 1); }, "abcdefX"},
        {[&](CString& s) { s += other; }, "abcdefXYZ"},
        {[&](CString& s) { s.Append(null); }, "abcdef"},
        {[](CString& s) { s.Append(s); }, "abcdefabcdef"},
        {[](CString& s) { s.Append(s.CStr() + 4, 2); }, "abcdefef"},
        {[](CString& s) { s.Prepend("12", 1); }, "1abcdef"},
        {[](CString& s) { s.Prepend("12", 9); }, "12abcdef"},
        {[&](CString& s) { s.Prepend(other, 2); }, "XYabcdef"},
        {[](CString& s) { s.Prepend(s); }, "abcdefabcdef"},
        {[&](CString& s) { s.Prepend(null); }, "abcdef"},
        {[](CString& s) { (s = "abcaba").Remove('a'); }, "bcb"},
        {[](CString& s) { (s = Make("ab\0cd"sv)).Remove('b'); }, "a"},
        {[](CString& s) { (s = "abcaba").Replace('a', 'z'); }, "zbczbz"},
        {[](CString& s) { (s = "AbC\xC4[Z").MakeLower(); }, "abc\xC4[z"},
        {[](CString& s) { s.AddTrailingSeparator().AddTrailingSeparator(); }, "abcdef\\"},
        {[](CString& s) { (s = "a//").RemoveTrailingSeparator(); }, "a/"},
        {[](CString& s) { (s = Make("a\0\\"sv)).RemoveTrailingSeparator(); }, "a"},
        {[](CString& s) { s = s.Mid(2, 2); }, "cd"},
        {[](CString& s) { s = s.Mid(1, NO_LIMIT); }, "bcdef"},
        {[](CString& s) { s = s.Mid(6, 1); }, ""},
        {[](CString& s) { s = Make("ab\0cd"sv).Mid(3, 9); }, "cd"},
        {[](CString& s) { s = Make("ab\0cd"sv).Mid(0, 3); }, "ab"},
    };
    for (const auto& [change, result] : rows) {
        CString string("abcdef");
        change(string);
        EXPECT_EQ(Text(string), result);
    }
    for (const char* text : {"", "C:", "dir/", "dir\\"}) {
        EXPECT_EQ(Text(CString(text).AddTrailingSeparator()), text);
    }
    for (const char* text : {"", "C:", "dir"}) {
        EXPECT_EQ(Text(CString(text).RemoveTrailingSeparator()), text);
    }
    const std::string_view trims[][2] = {{"  a b  ", "a b"}, {"   ", "   "},  {"", ""},
                                         {"a", "a"},         {"\ta ", "\ta"}, {" a \0 "sv, "a "}};
    for (const auto& [text, trimmed] : trims) {
        EXPECT_EQ(Text(Make(text).Trim()), trimmed);
    }
    const std::string_view replacements[][4] = {// in what, what, by what, with what result
                                                {"abcdcd", "cd", "long text", "ablong textcd"},
                                                {"abc", "abc", "", ""},
                                                {"abc", "zz", "X", "abc"},
                                                {"abc", "", "X", "Xabc"},
                                                {"a\0cd"sv, "cd", "X", "aX"},
                                                {"cdab\0e"sv, "cd", "X", "Xab"},
                                                {"abcd", "b", "X\0Y"sv, "aXcd"},
                                                {"abcd", "b\0\0"sv, "X", "aX"},
                                                {"abc", "a\0\0\0\0\0"sv, "", ""}};
    for (const auto& [text, from, to, result] : replacements) {
        CString replaced = Make(text);
        replaced.ReplaceFirst(Make(from), Make(to));
        EXPECT_EQ(Text(replaced), result);
    }
}

TEST(CString, FormatsWithinItsBlock)
{
    CString string(8u);
    string.Format("%d", 1234567890);
    EXPECT_EQ(Text(string), "1234567");
    string.AppendFormat("x");
    EXPECT_EQ(Text(string), "1234567");
    string.Format("%s", "");
    EXPECT_EQ(Text(string), "");
    string.Format("%s", "seven..");
    CallWithArguments([&](std::va_list list) { string.AppendFormatV(noFormat, list); });
    EXPECT_EQ(Text(string), "seven..");
    CallWithArguments([&](std::va_list list) { string.FormatV(noFormat, list); });
    EXPECT_EQ(Text(string), "");
    CString none;
    none.Format("%d", 1);
    EXPECT_EQ(Text(none), "");
    string.Format("%c%s", 0, "abcdefghij");
    EXPECT_EQ(Text(string), "\0abcdef"sv);
}

TEST(CString, Searches)
{
    EXPECT_EQ(Make("ab\0cd"sv).Find("cd", 0), 3u);
    EXPECT_EQ(CString("abc").Find(nullptr, 1), 1u);
    EXPECT_EQ(CString("abc").Find("", 2), 2u);
    EXPECT_EQ(CString("abc").Find("", 3), NOT_FOUND);
    struct ByteRow {
        std::string_view text;
        char byte;
        std::uint32_t first, last, firstOther, lastOther;
    };
    const ByteRow byteRows[] = {
        {"", 'a', NOT_FOUND, NOT_FOUND, NOT_FOUND, NOT_FOUND},
        {"", 0, NOT_FOUND, NOT_FOUND, NOT_FOUND, NOT_FOUND},
        {"abcab", 'b', 1, 4, 0, 3},
        {"aab", 'a', 0, 1, 2, 2},
        {"aa", 'z', NOT_FOUND, NOT_FOUND, 0, 1},
        {"aa", 'a', 0, 1, NOT_FOUND, NOT_FOUND},
        {"abc", 0, 3, 3, 0, 2},
        {"a\0c"sv, 'c', NOT_FOUND, NOT_FOUND, 0, 1},
        {"\0\0a"sv, 0, 0, 0, 2, 2},
    };
    for (const ByteRow& row : byteRows) {
        const CString string = Make(row.text);
        EXPECT_EQ(string.FindChar(row.byte), row.first) << row.text;
        EXPECT_EQ(string.ReverseFindChar(row.byte), row.last) << row.text;
        EXPECT_EQ(string.FindFirstNotOf(row.byte), row.firstOther) << row.text;
        EXPECT_EQ(string.FindLastNotOf(row.byte), row.lastOther) << row.text;
    }
    const CString string("abcab");
    EXPECT_TRUE(string.Contains("ca"));
    EXPECT_FALSE(string.Contains("cc"));
    EXPECT_FALSE(Make("ab\0cd"sv).Contains("cd"));
    EXPECT_TRUE(CString(8u).Contains("")); // with a block, unlike one without
    EXPECT_FALSE(CString().Contains(""));
    EXPECT_TRUE(CString().StartsWithNoCase("", 0));
    EXPECT_TRUE(string.StartsWithNoCase("ABx", 2));
    EXPECT_FALSE(string.StartsWithNoCase("abcabc"));
    EXPECT_TRUE(string.EndsWithNoCase("CAB"));
    EXPECT_FALSE(CString("c").EndsWithNoCase("BC", 2));
    EXPECT_FALSE(CString("c").StartsWithNoCase("AB", 2));
}

// Every search in long texts of few letters and of all bytes against the standard library's.
TEST(CString, FindsWhatTheStandardStringFinds)
{
    std::mt19937 random(2);
    for (int i = 0; i < 3000; ++i) {
        const unsigned letters = i % 2 == 0 ? 3 : 255;
        const auto randomText = [&](std::size_t length) {
            std::string text(length, ' ');
            for (char& byte : text) {
                byte = static_cast<char>(1 + random() % letters);
            }
            return text;
        };
        const std::string text = randomText(random() % 2000);
        std::string needle = randomText(random() % 12);
        if (random() % 2 == 0 && text.size() > 40) {
            needle = text.substr(random() % (text.size() - 40), random() % 40);
        }
        const auto start = static_cast<std::uint32_t>(random() % (text.size() + 1));
        const std::size_t expected = start < text.size() ? text.find(needle, start) : std::string::npos;
        EXPECT_EQ(CString(text.c_str()).Find(needle.c_str(), start), static_cast<std::uint32_t>(expected))
            << needle << " in " << text;
        EXPECT_EQ(CString(text.c_str()).Find(CString(needle.c_str()), start),
                  static_cast<std::uint32_t>(expected));
    }
}

TEST(CString, ComparesBytes)
{
    EXPECT_FALSE(Make("a\0b"sv) == Make("a\0c"sv));
    EXPECT_EQ(Compare(Make("a\0b"sv), Make("a\0c"sv)), 0); // up to the first zero
    EXPECT_TRUE(EqualsNoCase("ABC", "abc"));
    EXPECT_FALSE(EqualsNoCase("abc", "abcd"));
    EXPECT_FALSE(CString("abc") == CString("ABC"));
    EXPECT_TRUE(CString("ABC") < CString("abc"));
    EXPECT_TRUE(CString("z") < CString("\xE9"));
    EXPECT_FALSE(CString("") < CString());
    EXPECT_LT(CompareNoCase("ABC", "abd"), 0);
    EXPECT_EQ(CompareNoCase("aBc", "AbC"), 0);
    EXPECT_GT(CompareNoCase("abc", ""), 0);
}

TEST(CString, ForgetsItsHashWhereTheTextIsReplaced)
{
    const std::pair<std::function<void(CString&)>, bool> rows[] = {
        {[](CString& s) { s = "x"; }, true},
        {[](CString& s) { s.Append("x"); }, true},
        {[](CString& s) { s.Prepend("x"); }, true},
        {[](CString& s) { s.Clear(); }, true},
        {[](CString& s) { s.Format("x"); }, true},
        {[](CString& s) { s.Format("%s", ""); }, true},
        {[](CString& s) { static_cast<void>(s.GetBuffer(1)); }, true},
        {[](CString& s) { s = WIDE("x"); }, true},
        {[](CString& s) { s.AppendFormat("x"); }, true},
        {[](CString& s) { CString().Swap(s); }, true},
        {[](CString& s) { s.Swap(s); }, false},
        {[](CString& s) { s.Replace('b', 'c'); }, false},
        {[](CString& s) { s.Remove('b'); }, false},
        {[](CString& s) { s.MakeLower(); }, false},
        {[](CString& s) { s.ReleaseBuffer(3); }, false},
        {[](CString& s) { s.Append("x", 0); }, false},
        {[](CString& s) { s.AppendFormat("%s", ""); }, false},
    };
    for (const auto& [change, forgets] : rows) {
        CString string("A/b");
        EXPECT_EQ(string.GetHash(), 0u);
        string.ComputeHash();
        change(string);
        EXPECT_EQ(string.GetHash(), forgets ? 0 : HashTextPath("a\\B")) << string.CStr();
    }
}

TEST(CString, ReadsWords)
{
    const std::pair<const char*, const char*> rows[] = {
        {"one", "one"}, {" one\t two\n\nthree", "one two three"}, {"one ", "one "}, {"", ""}, {"  ", ""},
    };
    for (const auto& [text, words] : rows) {
        std::istringstream stream(text);
        CString string("before");
        stream >> string;
        EXPECT_EQ(Text(string), words) << '"' << text << '"';
    }
}

TEST(CString, BuffersGetTheirBackslash)
{
    const std::tuple<std::uint32_t, const char*, const char*> rows[] = {
        {5, "dir", "dir\\"}, {4, "dir", "dir"}, {3, "dir", "dir"}, {0, "dir", "dir"},
        {9, "dir/", "dir/"}, {9, "C:", "C:"},   {9, "", ""},
    };
    for (const auto& [size, text, result] : rows) {
        char buffer[10] = {};
        CopyText(buffer, sizeof(buffer), text);
        EXPECT_EQ(AddTrailingBackslash(buffer, size), buffer);
        EXPECT_STREQ(buffer, result);
    }
    EXPECT_EQ(AddTrailingBackslash(nullptr, 4), nullptr);
    char path[] = "a/b/c";
    EXPECT_STREQ(ToBackslashes(path), "a\\b\\c");
    EXPECT_EQ(ToBackslashes(nullptr), nullptr);
}

// Each operation with its n-th block failing: the text is the old one or, where all went well, the new one,
// and each failure is reported, without a block of its own.
TEST(CString, KeepsItsTextWithoutMemory)
{
    const CString longText(std::string(100, 'x').c_str());
    const CString middle("cd");
    const std::function<void(CString&)> changes[] = {
        [](CString& s) { s.Reserve(100); },
        [&](CString& s) { s = longText; },
        [&](CString& s) { s.Append(longText); },
        [](CString& s) { s.Append(s); },
        [&](CString& s) { s.Prepend(longText); },
        [](CString& s) { s = WIDE("sixteen wide units"); },
        [&](CString& s) { s.ReplaceFirst(middle, longText); },
        [](CString& s) { s.AddTrailingSeparator(); },
        [](CString& s) { static_cast<void>(s.GetBuffer(100)); },
    };
    for (const auto& change : changes) {
        for (unsigned n = 1, failures = 1; failures != 0; ++n) {
            const TraceCapture trace;
            CString string("abcdefg");
            string.ComputeHash();
            {
                const HeapWatch watch({.ordinal = n, .lasting = n % 2 == 0});
                change(string);
                failures = watch.Failures();
                EXPECT_TRUE(failures == 0 || watch.Blocks() == n);
            }
            if (failures != 0) {
                EXPECT_EQ(Text(string), "abcdefg") << &change - changes;
                EXPECT_NE(string.GetHash(), 0u) << &change - changes;
                EXPECT_NE(trace.Text().find("Failed to allocate"), std::string::npos);
            }
        }
    }
    const TraceCapture trace;
    CString string("abc");
    string.Reserve(UINT32_MAX);
    EXPECT_EQ(Text(string), "abc");
    EXPECT_NE(trace.Text().find("Failed to allocate 4294967295 bytes!"), std::string::npos);
}

} // namespace
} // namespace Plinth
