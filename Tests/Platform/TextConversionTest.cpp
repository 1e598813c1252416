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
    const std::pair<std::string, std::string> rows[] = {
        {std::string("a\0b", 3), "0061"
                                 "0000"
                                 "0062"},
        {"\x7f\xc2\x80\xdf\xbf", "007f"
                                 "0080"
                                 "07ff"},
        {"\xe0\xa0\x80\xed\x9f\xbf\xee\x80\x80\xef\xbf\xbf", "0800"
                                                             "d7ff"
                                                             "e000"
                                                             "ffff"},
        {"\xf0\x90\x80\x80\xf4\x8f\xbf\xbf", "d800"
                                             "dc00"
                                             "dbff"
                                             "dfff"},
        {"\x80"
         "a\xbf",
         "fffd"
         "0061"
         "fffd"}, // continuations alone
        {"\xc0\x80\xc1\xbf", "fffd"
                             "fffd"
                             "fffd"
                             "fffd"}, // overlong two
        {"\xe0\x80\x80-", "fffd"
                          "fffd"
                          "002d"}, // overlong three
        {"\xf0\x80\x80\x80-", "fffd"
                              "fffd"
                              "fffd"
                              "002d"}, // overlong four
        {"\xed\xa0\x80-", "fffd"
                          "fffd"
                          "002d"}, // a surrogate
        {"\xf4\x90\x80\x80-", "fffd"
                              "fffd"
                              "fffd"
                              "002d"}, // past the last code point
        {"\xf5\x80\xff-", "fffd"
                          "fffd"
                          "fffd"
                          "002d"},
        {"\xe1\x80-\xf1\x80\x80-\xc3-", "fffd"
                                        "002d"
                                        "fffd"
                                        "002d"
                                        "fffd"
                                        "002d"}, // cut by another character
        {"-\xc3", "002d"
                  "fffd"},
        {"-\xf1\x80\x80", "002d"
                          "fffd"}, // cut by the end
        {"-\xe1x", "002d"
                   "fffd"}, // the end swallows what is left
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
        {{high, 'a', low},
         "\xef\xbf\xbd"
         "a\xef\xbf\xbd"},
        {{high, high, low}, "\xef\xbf\xbd\xf0\x9f\x8e\xae"},
    };
    for (const auto& [text, bytes] : rows) {
        EXPECT_EQ(Narrow(text), bytes) << ToUnits(text);
    }
}

TEST(TextConversion, JudgesItsArguments)
{
    const WCHAR text[] = WIDE("a\u00fcc");
    WCHAR wide[8] = {};
    char narrow[8] = {};
    const auto widen = [&](const char* source, int length, int room) {
        SetLastError(UNTOUCHED);
        return MultiByteToWideChar(CP_UTF8, 0, source, length, wide, room);
    };
    const auto narrowed = [&](LPCWSTR source, int length, int room) {
        SetLastError(UNTOUCHED);
        return WideCharToMultiByte(CP_UTF8, 0, source, length, narrow, room, nullptr, nullptr);
    };
    EXPECT_EQ(widen("abc", -1, 8), 4); // the terminator counts
    EXPECT_EQ(wide[3], 0);
    EXPECT_EQ(narrowed(text, -1, 8), 5);
    EXPECT_EQ(GetLastError(), UNTOUCHED);

    EXPECT_EQ(widen("xyz", 3, 2), 0); // what fits is there all the same
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(wide[1], 'y');
    EXPECT_EQ(narrowed(text, 3, 3), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);

    const std::pair<int, int> refused[] = {{0, 8}, {3, -1}};
    for (const auto& [length, room] : refused) {
        EXPECT_EQ(widen("abc", length, room), 0);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
        EXPECT_EQ(narrowed(text, length, room), 0);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    }
    EXPECT_EQ(widen(nullptr, 3, 8), 0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(MultiByteToWideChar(64999, 0, "abc", 3, wide, 8), 0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0x80, "abc", 3, wide, 8), 0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_FLAGS);
}

} // namespace
