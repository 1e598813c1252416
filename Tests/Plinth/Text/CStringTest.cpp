#include "Plinth/Text/CString.h"
#include "Tests/Plinth/CallWithArguments.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"
#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <sstream>

namespace Plinth {
namespace {

std::string Text(const CString& string)
{
    return {string.CStr(), string.GetLength()};
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

TEST(CString, BeginsEmpty)
{
    const CString empty;
    EXPECT_STREQ(empty.CStr(), "");
    EXPECT_EQ(empty.GetLength(), 0u);
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_EQ(empty.FindChar('a'), NOT_FOUND);
    EXPECT_EQ(empty.FindChar(0), NOT_FOUND);
    EXPECT_EQ(empty.ReverseFindChar('a'), NOT_FOUND);
    EXPECT_EQ(empty.FindFirstNotOf('a'), NOT_FOUND);
    EXPECT_EQ(empty.FindLastNotOf('a'), NOT_FOUND);
    EXPECT_FALSE(empty.Contains(""));
    EXPECT_EQ(Text(empty.Mid(0, 5)), "");
    EXPECT_EQ(Text(empty.Trim()), "");
    EXPECT_TRUE(empty.StartsWithNoCase("", 0));
    EXPECT_TRUE(empty == CString(8u));
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
    string = "";
    string.Clear();
    EXPECT_EQ(CapacityOf(string), 16u);
    string.Free();
    EXPECT_EQ(CapacityOf(string), 0u);
    string.Append("abcdefgh");
    string.Prepend("x"); // just what it needs
    string.ReplaceFirst("abc", "");
    EXPECT_EQ(CapacityOf(string), 16u);
    string.Free();
    const CString reserved(100u);
    CString copied(reserved);
    EXPECT_EQ(CapacityOf(copied), 0u);
    unsigned blocks = 0;
    {
        const HeapWatch watch;
        for (int i = 0; i < 64; ++i) {
            string.Append("x", 1);
        }
        blocks = watch.Blocks();
    }
    EXPECT_EQ(blocks, 9u); // each eighth byte, the terminator included
}

TEST(CString, IsMadeFromTexts)
{
    EXPECT_EQ(Text(CString("abcdef", 3)), "abc");
    EXPECT_EQ(Text(CString("ab", 10)), "ab");
    EXPECT_EQ(Text(CString(static_cast<const char*>(nullptr))), "");
    EXPECT_EQ(Text(CString(static_cast<const char*>(nullptr), 5)), "");
    EXPECT_EQ(Text(CString(LPCWSTR{nullptr})), "");
    EXPECT_EQ(Text(CString(WIDE("a\u00fc\u4e2d\U0001F3AE"))), "a\xC3\xBC\xE4\xB8\xAD\xF0\x9F\x8E\xAE");
    EXPECT_EQ(Text(CString(WideText{'a', 0, 'b'})), "a");
    EXPECT_EQ(Text(CString(WideText{'a', 0xD800, 'b'})), "a\xEF\xBF\xBD"
                                                         "b");
    CString string("before");
    string = LPCWSTR{nullptr};
    EXPECT_TRUE(string.IsEmpty());
    string = WideText(300, 'w');
    EXPECT_EQ(Text(string), std::string(300, 'w'));
    string = static_cast<const char*>(nullptr);
    EXPECT_TRUE(string.IsEmpty());
}

// Each row starts from "abcdef".
TEST(CString, ChangesItsText)
{
    const CString other("XYZ");
    struct Row {
        std::function<void(CString&)> change;
        std::string result;
    };
    const Row rows[] = {
        {[](CString& s) { s.Assign(s.CStr(), 2); }, "ab"},
        {[](CString& s) { s.Assign(s.CStr(), 7); }, "abcdef"}, // more than it has
        {[](CString& s) { s.Assign(s.CStr() + 2, 3); }, "cde"},
        {[](CString& s) { s = s.CStr() + 4; }, "ef"},
        {[](CString& s) { s = *&s; }, "abcdef"},
        {[](CString& s) { s.Assign("x", 0); }, ""},
        {[](CString& s) { s.Assign("1\0002", 3); }, std::string("1\0002", 3)},
        {[&](CString& s) { s.Assign(other, 2); }, "XY"},
        {[](CString& s) { s.Append("12"); }, "abcdef12"},
        {[](CString& s) { s.Append("12", 1); }, "abcdef1"},
        {[&](CString& s) { s.Append(other, 1); }, "abcdefX"},
        {[&](CString& s) { s += other; }, "abcdefXYZ"},
        {[](CString& s) { s.Append(static_cast<const char*>(nullptr)); }, "abcdef"},
        {[](CString& s) { s.Append(s); }, "abcdefabcdef"},
        {[](CString& s) { s.Append(s.CStr() + 4, 2); }, "abcdefef"},
        {[](CString& s) { s.Prepend("12"); }, "12abcdef"},
        {[](CString& s) { s.Prepend("12", 1); }, "1abcdef"},
        {[](CString& s) { s.Prepend("12", 9); }, "12abcdef"},
        {[&](CString& s) { s.Prepend(other, 2); }, "XYabcdef"},
        {[](CString& s) { s.Prepend(s); }, "abcdefabcdef"},
        {[](CString& s) { s.Prepend(static_cast<const char*>(nullptr)); }, "abcdef"},
        {[](CString& s) { (s = "abcaba").Remove('a'); }, "bcb"},
        {[](CString& s) { (s = "abcaba").Replace('a', 'z'); }, "zbczbz"},
        {[](CString& s) { (s = "AbC\xC4[Z").MakeLower(); }, "abc\xC4[z"},
        {[](CString& s) { s.ReplaceFirst("ef", "X"); }, "abcdX"},
        {[](CString& s) { (s = "abcdcd").ReplaceFirst("cd", "long text"); }, "ablong textcd"},
        {[](CString& s) { s.ReplaceFirst("abcdef", ""); }, ""},
        {[](CString& s) { s.ReplaceFirst("zz", "X"); }, "abcdef"},
        {[](CString& s) { s.AddTrailingSeparator().AddTrailingSeparator(); }, "abcdef\\"},
        {[](CString& s) { (s = "a//").RemoveTrailingSeparator(); }, "a/"},
    };
    for (const Row& row : rows) {
        CString string("abcdef");
        row.change(string);
        EXPECT_EQ(Text(string), row.result);
        EXPECT_EQ(string.CStr()[string.GetLength()], 0);
    }
    for (const char* text : {"", "C:", "dir/", "dir\\"}) {
        EXPECT_EQ(Text(CString(text).AddTrailingSeparator()), text);
    }
    for (const char* text : {"", "C:", "dir"}) {
        EXPECT_EQ(Text(CString(text).RemoveTrailingSeparator()), text);
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
    EXPECT_EQ(Text(string), "seven..");
    CallWithArguments([&](std::va_list list) { string.AppendFormatV(noFormat, list); });
    EXPECT_EQ(Text(string), "seven..");
    CallWithArguments([&](std::va_list list) { string.FormatV(noFormat, list); });
    EXPECT_EQ(Text(string), "");
    CString none;
    none.Format("%d", 1);
    EXPECT_EQ(Text(none), "");
    string.Format("%c%s", 0, "abcdefghij");
    EXPECT_EQ(Text(string), std::string("\0abcdef", 7));
}

TEST(CString, Searches)
{
    struct Row {
        const char* text;
        const char* needle;
        std::uint32_t start;
        std::uint32_t position;
    };
    const Row rows[] = {
        {"aab", "ab", 0, 1},           {"abc", "", 2, 2},
        {"abc", "c", 3, NOT_FOUND},    {"abcab", "ab", 1, 3},
        {"abc", "abcd", 0, NOT_FOUND}, {"abc", "", 3, NOT_FOUND},
        {"abc", nullptr, 1, 1},        {"aaab", "aab", 0, 1},
        {"", "", 0, NOT_FOUND},
    };
    for (const auto& [text, needle, start, position] : rows) {
        EXPECT_EQ(CString(text).Find(needle, start), position) << text;
        EXPECT_EQ(CString(text).Find(CString(needle), start), position) << text;
    }
    const CString string("abcab");
    EXPECT_EQ(string.FindChar('b'), 1u);
    EXPECT_EQ(string.FindChar(0), 5u);
    EXPECT_EQ(string.ReverseFindChar('b'), 4u);
    EXPECT_EQ(string.ReverseFindChar('z'), NOT_FOUND);
    EXPECT_EQ(string.FindFirstNotOf('a'), 1u);
    EXPECT_EQ(string.FindLastNotOf('b'), 3u);
    EXPECT_EQ(CString("aa").FindLastNotOf('a'), NOT_FOUND);
    EXPECT_TRUE(string.Contains("ca"));
    EXPECT_TRUE(string.Contains(""));
    EXPECT_FALSE(string.Contains("cc"));
    EXPECT_TRUE(CString(8u).Contains("")); // with a block, unlike one without
    EXPECT_TRUE(string.StartsWithNoCase("AB", 2));
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
    }
}

TEST(CString, ComparesBytes)
{
    CString zeros;
    zeros.Assign("a\0b", 3);
    CString others;
    others.Assign("a\0c", 3);
    EXPECT_FALSE(zeros == others);
    EXPECT_EQ(Compare(zeros, others), 0); // up to the first zero
    EXPECT_EQ(zeros.FindLastNotOf('b'), 1u);
    EXPECT_EQ(Text(zeros.Mid(0, 3)), "a");

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

// Counted operations carry zeros along, the others stop at the first one.
TEST(CString, EmbeddedZeros)
{
    const auto zeros = [](std::string_view text) {
        CString string;
        string.Assign(text.data(), static_cast<std::uint32_t>(text.size()));
        return string;
    };
    using namespace std::string_view_literals;
    CString string = zeros("ab\0cd"sv);
    string.Reserve(100);
    EXPECT_EQ(Text(string), "ab\0cd"sv);
    EXPECT_EQ(string.Find("cd", 0), 3u);
    EXPECT_EQ(string.Find(zeros("b\0x"sv), 0), 1u);
    EXPECT_FALSE(string.Contains("cd"));
    EXPECT_EQ(string.FindChar('c'), NOT_FOUND);
    EXPECT_EQ(zeros("\0\0a"sv).FindFirstNotOf(0), 2u);
    EXPECT_EQ(Text(string.Mid(3, 9)), "cd");
    EXPECT_EQ(Text(zeros(" a \0 "sv).Trim()), "a ");
    string.Remove('b');
    EXPECT_EQ(Text(string), "a");
    EXPECT_EQ(Text(zeros("a\0\\"sv).RemoveTrailingSeparator()), "a");

    struct Row {
        std::string_view text;
        std::string_view from;
        std::string_view to;
        std::string_view result;
    };
    const Row rows[] = {
        {"a\0cd"sv, "cd"sv, "X"sv, "aX"sv},     {"cdab\0e"sv, "cd"sv, "X"sv, "Xab"sv},
        {"abcd"sv, "b"sv, "X\0Y"sv, "aXcd"sv},  {"abcd"sv, "b\0\0"sv, "X"sv, "aX"sv},
        {"abc"sv, "a\0\0\0\0\0"sv, ""sv, ""sv}, {"abc"sv, ""sv, "X"sv, "Xabc"sv},
    };
    for (const auto& [text, from, to, result] : rows) {
        CString replaced = zeros(text);
        replaced.ReplaceFirst(zeros(from), zeros(to));
        EXPECT_EQ(Text(replaced), result);
    }
}

TEST(CString, Trims)
{
    const std::pair<const char*, const char*> rows[] = {
        {"  a b  ", "a b"}, {"   ", "   "}, {"", ""}, {"a", "a"}, {"\ta ", "\ta"},
    };
    for (const auto& [text, trimmed] : rows) {
        EXPECT_EQ(Text(CString(text).Trim()), trimmed);
    }
    EXPECT_EQ(Text(CString("abcdef").Mid(2, 2)), "cd");
    EXPECT_EQ(Text(CString("abc").Mid(1, NO_LIMIT)), "bc");
    EXPECT_EQ(Text(CString("abc").Mid(3, 1)), "");
}

TEST(CString, ForgetsItsHashWhereTheTextIsReplaced)
{
    CString string("A/b and a longer text");
    EXPECT_EQ(string.GetHash(), 0u);
    string.ComputeHash();
    EXPECT_EQ(string.GetHash(), HashTextPath("a\\B AND A LONGER TEXT"));
    const std::uint32_t hash = string.GetHash();
    string.Replace('b', 'c');
    string.Remove('c');
    string.MakeLower();
    string.ReleaseBuffer(3);
    string.Swap(string);
    EXPECT_EQ(string.GetHash(), hash);
    CString other;
    string.Swap(other);
    EXPECT_EQ(other.GetHash(), hash);
    EXPECT_EQ(string.GetHash(), 0u);
    using Change = std::function<void(CString&)>;
    const Change changes[] = {
        [](CString& s) { s = "x"; },        [](CString& s) { s.Append("x"); },
        [](CString& s) { s.Prepend("x"); }, [](CString& s) { s.Clear(); },
        [](CString& s) { s.Format("x"); },  [](CString& s) { static_cast<void>(s.GetBuffer(1)); },
        [](CString& s) { s = WIDE("x"); },  [](CString& s) { s.AppendFormat("x"); },
    };
    for (const Change& change : changes) {
        CString changed("text");
        changed.ComputeHash();
        change(changed);
        EXPECT_EQ(changed.GetHash(), 0u);
    }
    CString kept("text");
    kept.ComputeHash();
    kept.Append("x", 0);
    kept.AppendFormat("%s", "");
    EXPECT_NE(kept.GetHash(), 0u);
    kept.Format("%s", "");
    EXPECT_EQ(kept.GetHash(), 0u);
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
    struct Row {
        std::uint32_t size;
        const char* text;
        const char* result;
    };
    const Row rows[] = {
        {5, "dir", "dir\\"}, {4, "dir", "dir"}, {9, "dir/", "dir/"}, {9, "C:", "C:"}, {9, "", ""}};
    for (const auto& [size, text, result] : rows) {
        char buffer[10] = {};
        CopyText(buffer, sizeof(buffer), text);
        EXPECT_EQ(AddTrailingBackslash(buffer, size), buffer);
        EXPECT_STREQ(buffer, result);
    }
    EXPECT_EQ(AddTrailingBackslash(nullptr, 4), nullptr);
    char full[] = {'d', 'i', 'r'}; // no end in the size
    AddTrailingBackslash(full, sizeof(full));
    AddTrailingBackslash(full, 0);
    EXPECT_EQ(full[2], 'r');
    char path[] = "a/b/c";
    EXPECT_STREQ(ToBackslashes(path), "a\\b\\c");
    EXPECT_EQ(ToBackslashes(nullptr), nullptr);
}

// Each operation with its n-th block failing: the text is the old one or, where all went well, the new one,
// and each failure is reported.
TEST(CString, KeepsItsTextWithoutMemory)
{
    const CString longText(std::string(100, 'x').c_str());
    const CString middle("cd");
    using Change = std::function<void(CString&)>;
    const Change changes[] = {
        [](CString& s) { s.Reserve(100); },
        [&](CString& s) { s = longText; },
        [&](CString& s) { s.Append(longText); },
        [](CString& s) { s.Append(s); },
        [&](CString& s) { s.Prepend(longText); },
        [](CString& s) { s = WIDE("sixteen wide units"); },
        [&](CString& s) { s.ReplaceFirst(middle, longText); },
        [](CString& s) { s.AddTrailingSeparator(); },
        [](CString& s) {
            if (char* const buffer = s.GetBuffer(100); buffer != nullptr) {
                buffer[99] = 'x';
            }
        },
    };
    for (std::size_t i = 0; i < std::size(changes); ++i) {
        for (unsigned n = 1, failures = 1; failures != 0; ++n) {
            const TraceCapture trace;
            CString string("abcdefg");
            string.ComputeHash();
            {
                const HeapWatch watch({.ordinal = n, .lasting = n % 2 == 0});
                changes[i](string);
                failures = watch.Failures();
                EXPECT_TRUE(failures == 0 || watch.Blocks() == n) << "the report takes no block";
            }
            EXPECT_EQ(string.CStr()[string.GetLength()], 0);
            if (failures != 0) {
                EXPECT_EQ(Text(string), "abcdefg") << i;
                EXPECT_NE(string.GetHash(), 0u) << i;
                EXPECT_NE(trace.Text().find("Failed to allocate"), std::string::npos) << i;
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
