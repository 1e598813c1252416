// UTF-8 and UTF-16 conversion, ill-formed input included, as the real platform does it with flags 0.
#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

namespace {

constexpr DWORD UNTOUCHED = 77;

// The source lies in a block of its exact size, so that a sanitizer sees a byte read too far.
template <typename Unit>
std::unique_ptr<Unit[]> ExactCopy(std::basic_string_view<Unit> text)
{
    std::unique_ptr<Unit[]> copy(new Unit[text.size()]);
    std::copy(text.begin(), text.end(), copy.get());
    return copy;
}

WideText Widen(std::string_view text)
{
    const auto source = ExactCopy(text);
    const auto length = static_cast<int>(text.size());
    WideText wide(text.size(), '#');
    const int written = MultiByteToWideChar(CP_UTF8, 0, source.get(), length, wide.data(), length);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, source.get(), length, nullptr, 0), written);
    wide.resize(static_cast<std::size_t>(written));
    return wide;
}

std::string Narrow(WideTextView text)
{
    const auto source = ExactCopy(text);
    const auto units = static_cast<int>(text.size());
    std::string narrow(text.size() * 3, '#');
    const int written =
        WideCharToMultiByte(CP_UTF8, 0, source.get(), units, narrow.data(), units * 3, nullptr, nullptr);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, source.get(), units, nullptr, 0, nullptr, nullptr), written);
    narrow.resize(static_cast<std::size_t>(written));
    return narrow;
}

TEST(TextConversion, ReplacesIllFormedUtf8)
{
    const std::pair<std::string_view, const char*> rows[] = {
        {{"a\0b", 3}, "006100000062"},
        {"\x7f\xc2\x80\xdf\xbf", "007f008007ff"},
        {"\xe0\xa0\x80\xed\x9f\xbf\xee\x80\x80\xef\xbf\xbf", "0800d7ffe000ffff"},
        {"\xf0\x90\x80\x80\xf4\x8f\xbf\xbf", "d800dc00dbffdfff"},
        {"\x80-\xbf", "fffd002dfffd"},                               // continuations alone
        {"\xf0\x80\x80\x80-", "fffdfffdfffd002d"},                   // overlong four
        {"\xed\xa0\x80-", "fffdfffd002d"},                           // a surrogate
        {"\xe1\x80-\xf1\x80\x80-\xc3-", "fffd002dfffd002dfffd002d"}, // cut by another character
        {"-\xc3", "002dfffd"},
        {"-\xf1\x80\x80", "002dfffd"}, // cut by the end
        {"-\xe1x", "002dfffd"},        // the end swallows what is left
    };
    for (const auto& [text, units] : rows) {
        EXPECT_EQ(ToUnits(Widen(text)), units) << testing::PrintToString(text);
    }
}

// Every sequence of four of the bytes at which the rules change; the sum was read off the real platform.
TEST(TextConversion, AgreesWithThePlatformOnEveryByteSequence)
{
    constexpr std::array<unsigned char, 26> BYTES = {0x41, 0x7f, 0x80, 0x8f, 0x90, 0x9f, 0xa0, 0xbf, 0xc0,
                                                     0xc1, 0xc2, 0xdf, 0xe0, 0xe1, 0xec, 0xed, 0xee, 0xef,
                                                     0xf0, 0xf1, 0xf3, 0xf4, 0xf5, 0xf7, 0xf8, 0xff};
    std::uint32_t sum = 2166136261u; // FNV-1a
    const auto add = [&sum](std::uint32_t unit) { sum = (sum ^ unit) * 16777619u; };
    for (std::size_t i = 0; i < BYTES.size() * BYTES.size() * BYTES.size() * BYTES.size(); ++i) {
        char source[4];
        std::size_t rest = i;
        for (char& byte : source) {
            byte = static_cast<char>(BYTES[rest % BYTES.size()]);
            rest /= BYTES.size();
        }
        WCHAR units[4];
        const int count = MultiByteToWideChar(CP_UTF8, 0, source, 4, units, 4);
        add(static_cast<std::uint32_t>(count));
        for (int unit = 0; unit < count; ++unit) {
            add(units[unit]);
        }
    }
    EXPECT_EQ(sum, 2050458969u);
}

TEST(TextConversion, ReplacesUnpairedSurrogates)
{
    const WCHAR high = 0xD83C;
    const WCHAR low = 0xDFAE;
    const std::pair<WideText, std::string> rows[] = {
        {{'a', 0, 0x7f, 0x80, 0x7ff, 0x800, 0xffff},
         std::string("a\0\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xef\xbf\xbf", 13)},
        {{high, low, 0xD800, 0xDC00, 0xDBFF, 0xDFFF}, "\xf0\x9f\x8e\xae\xf0\x90\x80\x80\xf4\x8f\xbf\xbf"},
        {{high}, "\xef\xbf\xbd"},
        {{low, high}, "\xef\xbf\xbd\xef\xbf\xbd"},
        {{high, '-', low}, "\xef\xbf\xbd-\xef\xbf\xbd"},
        {{high, high, low}, "\xef\xbf\xbd\xf0\x9f\x8e\xae"},
    };
    for (const auto& [text, bytes] : rows) {
        EXPECT_EQ(Narrow(text), bytes) << ToUnits(text);
    }
}

TEST(TextConversion, JudgesItsArguments)
{
    struct Row {
        UINT codePage;
        DWORD flags;
        bool hasSource;
        int length, room, result;
        DWORD error;
    };
    const Row rows[] = {
        {CP_UTF8, 0, true, -1, 8, 4, UNTOUCHED}, // the terminator counts
        {CP_UTF8, 0, true, 3, 3, 3, UNTOUCHED},
        {CP_UTF8, 0, true, 3, 2, 0, ERROR_INSUFFICIENT_BUFFER}, // what fits is there all the same
        {CP_UTF8, 0, true, 0, 8, 0, ERROR_INVALID_PARAMETER},
        {CP_UTF8, 0, true, 3, -1, 0, ERROR_INVALID_PARAMETER},
        {CP_UTF8, 0, false, 3, 8, 0, ERROR_INVALID_PARAMETER},
        {64999, 0, true, 3, 8, 0, ERROR_INVALID_PARAMETER},
        {CP_UTF8, 0x40000000, true, 3, 8, 0, ERROR_INVALID_FLAGS},
    };
    for (const Row& row : rows) {
        const WCHAR wideText[] = WIDE("abc");
        WCHAR wide[8] = {'#', '#', '#', '#'};
        char narrow[8] = "####";
        SetLastError(UNTOUCHED);
        EXPECT_EQ(MultiByteToWideChar(row.codePage, row.flags, row.hasSource ? "abc" : nullptr, row.length,
                                      wide, row.room),
                  row.result);
        EXPECT_EQ(GetLastError(), row.error);
        SetLastError(UNTOUCHED);
        EXPECT_EQ(WideCharToMultiByte(row.codePage, row.flags, row.hasSource ? wideText : nullptr, row.length,
                                      narrow, row.room, nullptr, nullptr),
                  row.result);
        EXPECT_EQ(GetLastError(), row.error);
        const bool writes = row.result != 0 || row.error == ERROR_INSUFFICIENT_BUFFER;
        EXPECT_EQ(wide[1], writes ? 'b' : '#');
        EXPECT_EQ(narrow[1], writes ? 'b' : '#');
        EXPECT_EQ(wide[3], row.result == 4 ? 0 : '#');
    }
}

} // namespace
