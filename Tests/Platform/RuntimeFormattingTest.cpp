// wsprintfW and its small dialect, as the real platform has it.
#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

template <typename... Arguments>
std::string Format(LPCWSTR format, Arguments... arguments)
{
    WideText buffer(1100, '#');
    const int length = wsprintfW(buffer.data(), format, arguments...);
    EXPECT_EQ(buffer[static_cast<std::size_t>(length)], 0);
    buffer.resize(static_cast<std::size_t>(length));
    return ToUtf8(buffer);
}

TEST(WideFormat, Numbers)
{
    EXPECT_EQ(Format(WIDE("%02x%04x|%02x%04x"), 0x62, 2, 0x162, 0xc0000005), "620002|162c0000005");
    EXPECT_EQ(Format(WIDE("%d %i %u %x %X"), -5, INT32_MIN, -5, 0xabc, 0xabc),
              "-5 -2147483648 4294967291 abc ABC");
    EXPECT_EQ(Format(WIDE("%5d|%-5d|%05d|%-05d|%50d|"), 42, 42, 42, 42, 1),
              "   42|42   |00042|42   |" + std::string(49, ' ') + "1|");
    EXPECT_EQ(Format(WIDE("%.3d|%8.3d|%-8.3d|%.0d|%012.8x|"), 42, 42, 42, 0, 255),
              "042|     042|042     |0|0000000000ff|");
    EXPECT_EQ(Format(WIDE("%.3d|%5.3d|%05d|%08.3d|%-08d|"), -42, -42, -42, -42, -42),
              "-42|  -42|-0042|-0000042|-42     |");
    EXPECT_EQ(Format(WIDE("%#x|%#X|%#8x|%-#8x|%#08x|%#.5x|%#5x|"), 255, 255, 255, 255, 255, 255, 0),
              "0xff|0XFF|      0xff|0xff      |0x000000ff|0x000ff|    0x0|");
    EXPECT_EQ(Format(WIDE("%ld %hd %I32d %wd"), LONG{70000}, 70000, 5, 6), "70000 70000 5 6");
    EXPECT_EQ(Format(WIDE("%I64d|%I64X|%Id"), INT64_MIN, UINT64_MAX, std::intptr_t{-3}),
              "-9223372036854775808|FFFFFFFFFFFFFFFF|-3");
    std::string pointer = std::string(2 * sizeof(void*) - 3, '0') + "ABC";
    EXPECT_EQ(Format(WIDE("%p"), reinterpret_cast<void*>(0xabc)), pointer);
}

TEST(WideFormat, Texts)
{
    EXPECT_EQ(
        Format(WIDE("a%sb%Sc%hs%ls%ws%hS%lS"), WIDE("1"), "2", "3", WIDE("4"), WIDE("5"), "6", WIDE("7")),
        "a1b2c34567");
    EXPECT_EQ(Format(WIDE("%10s|%-10s|%.2s|%.0s|%010s|%.3S|"), WIDE("abc"), WIDE("abc"), WIDE("abc"),
                     WIDE("abc"), WIDE("abc"), "abcdef"),
              "       abc|abc       |ab|abc|       abc|abc|");
    EXPECT_EQ(Format(WIDE("%s|%.2s|%10S|"), LPCWSTR{nullptr}, LPCWSTR{nullptr}, LPCSTR{nullptr}),
              "(null)|(n|    (null)|");
    EXPECT_EQ(Format(WIDE("%c%C%hc%lc|%3c|%-3c|%s"), 'a', 'b', 'c', 'd', 'x', 'y', WIDE("\u00fc\U0001F3AE")),
              "abcd|  x|y  |\u00fc\U0001F3AE");
}

TEST(WideFormat, WhatIsNoConversionGoesOnAsText)
{
    EXPECT_EQ(Format(WIDE("%%|%y %q%d|%5|"), 1), "%|y q1|     |");
    EXPECT_EQ(Format(WIDE("%o %f %*d %+d %lld %.*s %hhd")), "o f *d +d ld *s hd");
    EXPECT_EQ(Format(WIDE("%0-5d|%#-8X|%--5d|")), "-5d|-8X|-5d|");
    EXPECT_EQ(Format(WIDE("end%")), "end");
}

TEST(WideFormat, OutputIsCutAtItsLimit)
{
    for (const int length : {1022, 1023, 1024, 3000}) {
        const WideText text(static_cast<std::size_t>(length), 'x');
        WideText buffer(1100, '#');
        const bool fits = length < 1023;
        EXPECT_EQ(wsprintfW(buffer.data(), WIDE("%s"), text.c_str()), fits ? length : 1024);
        EXPECT_EQ(WideTextView(buffer.c_str()).size(), static_cast<std::size_t>(fits ? length : 1023));
        EXPECT_EQ(buffer[1024], '#');
    }
}

} // namespace
