// The formatting functions of the C runtime, and wsprintfW with its small dialect, as the real platform has
// them.
#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <sstream>
#include <tuple>
#include <type_traits>

namespace {

WideText Widened(std::string_view text)
{
    WideText result;
    for (const char byte : text) {
        result += static_cast<unsigned char>(byte);
    }
    return result;
}

template <typename... Arguments>
std::string User(const char* format, Arguments... arguments)
{
    WideText buffer(1100, '#');
    const int length = wsprintfW(buffer.data(), Widened(format).c_str(), arguments...);
    EXPECT_EQ(buffer[static_cast<std::size_t>(length)], 0);
    buffer.resize(static_cast<std::size_t>(length));
    return ToUtf8(buffer);
}

template <typename Call, typename Unit>
int WithList(const Call& call, const Unit* format, ...)
{
    va_list list;
    va_start(list, format);
    const int result = call(format, list);
    va_end(list);
    return result;
}

template <typename Unit, typename... Arguments>
int PrintTo(Unit* buffer, std::size_t size, std::size_t count, std::type_identity_t<const Unit*> format,
            Arguments... arguments)
{
    const auto print = [&](const Unit* text, va_list list) {
        if constexpr (sizeof(Unit) == 1) {
            return _vsnprintf_s(buffer, size, count, text, list);
        } else {
            return _vsnwprintf_s(buffer, size, count, text, list);
        }
    };
    return WithList(print, format, arguments...);
}

template <typename... Arguments>
int PrintFitting(char* buffer, std::size_t size, const char* format, Arguments... arguments)
{
    return WithList([&](const char* text, va_list list) { return vsprintf_s(buffer, size, text, list); },
                    format, arguments...);
}

// The text that all functions of the family agree on.
template <typename... Arguments>
std::string Print(const char* format, Arguments... arguments)
{
    char narrow[400];
    WCHAR wide[400];
    const int length = PrintTo(narrow, 400, _TRUNCATE, format, arguments...);
    EXPECT_EQ(PrintTo(wide, 400, _TRUNCATE, Widened(format).c_str(), arguments...), length) << format;
    if (length < 0) {
        return "fails";
    }
    const auto units = static_cast<std::size_t>(length);
    EXPECT_EQ(ToUnits(WideTextView(wide, units + 1)), ToUnits(Widened({narrow, units + 1}))) << format;
    EXPECT_EQ(WithList(_vscprintf, format, arguments...), length) << format;
    EXPECT_EQ(PrintFitting(narrow, units + 1, format, arguments...), length) << format;
    return ToUtf8(WideTextView(wide, units));
}

// One value in several formats, which bars part.
template <typename Value>
std::string Each(std::string (*print)(const char*, Value), Value value, const char* formats)
{
    std::istringstream stream(formats);
    std::string result;
    for (std::string format; std::getline(stream, format, '|');) {
        result += (result.empty() ? "" : "|") + print(format.c_str(), value);
    }
    return result;
}

template <typename Value>
std::string UserEach(Value value, const char* formats)
{
    return Each<Value>(User, value, formats);
}

template <typename Value>
std::string PrintEach(Value value, const char* formats)
{
    return Each<Value>(Print, value, formats);
}

const std::string POINTER = std::string(2 * sizeof(void*) - 3, '0') + "ABC";

TEST(UserFormat, Numbers)
{
    EXPECT_EQ(User("%02x%04x|%02x%04x", 0x62, 2, 0x162, 0xc0000005), "620002|162c0000005");
    EXPECT_EQ(User("%d %i %u %50d", -5, INT32_MIN, -5, 1),
              "-5 -2147483648 4294967291 " + std::string(49, ' ') + "1");
    EXPECT_EQ(UserEach(42, "%5d|%-5d|%05d|%-05d|%.3d|%8.3d|%-8.3d"),
              "   42|42   |00042|42   |042|     042|042     ");
    EXPECT_EQ(UserEach(-42, "%.3d|%5.3d|%05d|%08.3d|%-08d"), "-42|  -42|-0042|-0000042|-42     ");
    EXPECT_EQ(UserEach(255, "%x|%X|%#x|%#X|%#8x|%-#8x|%#08x|%#.5x|%012.8x"),
              "ff|FF|0xff|0XFF|      0xff|0xff      |0x000000ff|0x000ff|0000000000ff");
    EXPECT_EQ(UserEach(0, "%.0d|%#5x"), "0|    0x0");
    EXPECT_EQ(User("%ld %hd %I32d %wd", LONG{70000}, 70000, 5, 6), "70000 70000 5 6");
    EXPECT_EQ(
        User("%I64d|%I64X|%Id|%p", INT64_MIN, UINT64_MAX, std::intptr_t{-3}, reinterpret_cast<void*>(0xabc)),
        "-9223372036854775808|FFFFFFFFFFFFFFFF|-3|" + POINTER);
}

TEST(UserFormat, Texts)
{
    EXPECT_EQ(User("a%sb%Sc%hs%ls%ws%hS%lS", WIDE("1"), "2", "3", WIDE("4"), WIDE("5"), "6", WIDE("7")),
              "a1b2c34567");
    EXPECT_EQ(UserEach(LPCWSTR{WIDE("abc")}, "%10s|%-10s|%.2s|%.0s|%010s"),
              "       abc|abc       |ab|abc|       abc");
    EXPECT_EQ(UserEach(LPCWSTR{nullptr}, "%s|%.2s"), "(null)|(n");
    EXPECT_EQ(User("%.3S|%10S|", "abcdef", LPCSTR{nullptr}), "abc|    (null)|");
    EXPECT_EQ(User("%c%C%hc%lc|%3c|%-3c|%s", 'a', 'b', 'c', 'd', 'x', 'y', WIDE("\u00fc\U0001F3AE")),
              "abcd|  x|y  |\u00fc\U0001F3AE");
    // What is no conversion goes on as text.
    EXPECT_EQ(User("%%|%y %q%d|%5|", 1), "%|y q1|     |");
    EXPECT_EQ(User("%o %f %*d %+d %lld %.*s %hhd"), "o f *d +d ld *s hd");
    EXPECT_EQ(User("%0-5d|%#-8X|%--5d|end%"), "-5d|-8X|-5d|end");
}

TEST(UserFormat, OutputIsCutAtItsLimit)
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

TEST(RuntimeFormat, Integers)
{
    EXPECT_EQ(Print("%d|%i|%u|%x|%X|%%", -5, INT32_MIN, -5, 0xabc, 0xabc),
              "-5|-2147483648|4294967291|abc|ABC|%");
    EXPECT_EQ(PrintEach(42, "%5d|%-5d|%05d|%0-5d|%+d|% d|% +d|%+05d|% 05d|%-+5d|%+u|% x"),
              "   42|42   |00042|42   |+42| 42|+42|+0042| 0042|+42  |42|2a");
    EXPECT_EQ(PrintEach(42, "%.3d|%8.3d|%-8.3d|%+.3d|%.d"), "042|     042|042     |+042|42");
    EXPECT_EQ(PrintEach(-42, "%+d|% d|%.3d|%05d"), "-42|-42|-042|-0042");
    EXPECT_EQ(Print("%*d|%*d|%-*d|%.*d|%.*d|", 4, 42, -4, 42, -4, 42, 3, 42, -3, 42),
              "  42|42  |42  |042|42|");
    EXPECT_EQ(PrintEach(0, "%#x|%#o|%.0d|%.d|%5.0d|%+.0d|%.0x|%#.0x"), "0|0|||     |+||");
    EXPECT_EQ(PrintEach(255, "%#x|%#X|%#o|%#d|%#8x|%-#8x|%#08x|%#.5x"),
              "0xff|0XFF|0377|255|    0xff|0xff    |0x0000ff|0x000ff");
    EXPECT_EQ(PrintEach(8, "%o|%#08o|%#.2o|%#.5o|%wd|%Ld"), "10|00000010|010|00010|8|8");
    EXPECT_EQ(PrintEach(70000, "%hd|%hu|%hhd"), "4464|4464|4464");
    EXPECT_EQ(PrintEach(LONG{-1}, "%ld|%lu|%hx|%I32x"), "-1|4294967295|ffff|ffffffff");
    EXPECT_EQ(PrintEach(UINT64_MAX, "%I64u|%llX|%I64o"),
              "18446744073709551615|FFFFFFFFFFFFFFFF|1777777777777777777777");
    EXPECT_EQ(Print("%lld|%Id|%Ix|%d", INT64_MIN, std::intptr_t{-3}, std::intptr_t{10}, 1),
              "-9223372036854775808|-3|a|1");
    const std::string padding(20 - POINTER.size(), ' ');
    EXPECT_EQ(PrintEach(std::uintptr_t{0xabc}, "%p|%#p|%20p|%-20p"),
              POINTER + "|0X" + POINTER + "|" + padding + POINTER + "|" + POINTER + padding);
    EXPECT_EQ(Print("%300d|", 5), std::string(299, ' ') + "5|");
    char narrow[400]; // Wine writes beyond its own memory for the wide twin
    EXPECT_EQ(PrintTo(narrow, 400, _TRUNCATE, "%.300d|", -5), 302);
    EXPECT_EQ(narrow, "-" + std::string(299, '0') + "5|");
}

TEST(RuntimeFormat, FloatingPoint)
{
    EXPECT_EQ(PrintEach(1.5, "%f|%e|%g|%Lf|%lf|%10f|%-10f|%+010f|% 10.2f|%#.10g"),
              "1.500000|1.500000e+000|1.5|1.500000|1.500000|  1.500000|1.500000  |+01.500000|      "
              "1.50|1.500000000");
    EXPECT_EQ(PrintEach(-1.5, "%010f|%014.3e|%014g|%.3a|%030.2a"),
              "-01.500000|-0001.500e+000|-00000000001.5|-0x1.800p+0|-0x000000000000000000001.80p+0");
    EXPECT_EQ(PrintEach(0.0, "%f|%e|%g|%.0f|%#.0f|%#.0e|%a"),
              "0.000000|0.000000e+000|0|0|0.|0.e+000|0x0.0000000000000p+0");
    EXPECT_EQ(Print("%E|%G|%g|%*.*f|", 1e-10, 1e-10, -0.0, 6, 1, 1.5), "1.000000E-010|1E-010|-0|   1.5|");
    // Halves go away from zero.
    EXPECT_EQ(Print("%.0f|%.0f|%.0f|%.1f|%.2f|%.0e|%.1e|%.2g", 0.5, 2.5, -0.5, 0.25, 0.125, 2.5, 1.25, 125.0),
              "1|3|-1|0.3|0.13|3e+000|1.3e+000|1.3e+002");
    EXPECT_EQ(Print("%.0f|%.0f|%.1f|%.0f|%f|%.3e|%g|%.3g|%.2f", 0.49999999999999994, 0.05, 99.95, 99.5,
                    0.9999999, 9.9996, 999999.5, 999.6, 2.675),
              "0|0|100.0|100|1.000000|1.000e+001|1e+006|1e+003|2.67");
    EXPECT_EQ(Print("%g|%g|%g|%g|%#g|%#.3g|%.0g", 100000.0, 1e6, 1e-4, 1e-5, 1e5, 1e10, 1234.5),
              "100000|1e+006|0.0001|1e-005|100000.|1.00e+010|1e+003");
    EXPECT_EQ(Print("%.20f|%.17g|%f|%e|%e", 0.1, 0.1, 1e22, 5e-324, 1.7976931348623157e308),
              "0.10000000000000000555|0.10000000000000001|10000000000000000000000.000000|4.940656e-324|"
              "1.797693e+308");
    EXPECT_EQ(Print("%.0f", 1e300).substr(0, 30), "100000000000000005250476025520");
    EXPECT_EQ(Print("%.340f", 1.5), "1.5" + std::string(339, '0'));
    EXPECT_EQ(Print("%a|%A|%.0a|%.1a|%#.0a|%.14a", 1.5, 1 / 3.0, 1.5, 1.03125, 2.0, 5e-324),
              "0x1.8000000000000p+0|0X1.5555555555555P-2|0x2p+0|0x1.1p+0|0x1.p+1|0x0.00000000000010p-1022");
}

TEST(RuntimeFormat, InfinitiesAndWhatIsNoNumber)
{
    EXPECT_EQ(
        PrintEach(HUGE_VAL, "%f|%g|%+f|%010f|%a|%.0f|%.1f|%.2f|%.3f|%.4f|%.3e|%.3g"),
        "1.#INF00|1.#INF|+1.#INF00|001.#INF00|0x1.#INF000000000p+0|1|1.$|1.#J|1.#IO|1.#INF|1.#IOe+000|1.#J");
    EXPECT_EQ(PrintEach(-HUGE_VAL, "%e|%10f"), "-1.#INF00e+000| -1.#INF00");
    EXPECT_EQ(PrintEach(std::fabs(std::nan("")), "%f|%g|%.2f"), "1.#QNAN0|1.#QNAN|1.#R");
    EXPECT_EQ(PrintEach(-std::fabs(std::nan("")), "%f|%g|%.3f"), "-1.#IND00|-1.#IND|-1.#IO");
}

TEST(RuntimeFormat, Texts)
{
    EXPECT_EQ(PrintEach("abc", "%hs|%10hs|%-10hs|%.2hs|%.0hs|%010hs|%5.2hs"),
              "abc|       abc|abc       |ab||0000000abc|   ab");
    EXPECT_EQ(Print("%ls|%ws|%hS|%lS|%hhs|%lhs", WIDE("1"), WIDE("2"), "3", WIDE("4"), "5", "6"),
              "1|2|3|4|5|6");
    EXPECT_EQ(PrintEach(LPCSTR{nullptr}, "%s|%S|%hs|%10ls|%.2s"), "(null)|(null)|(null)|    (null)|(n");
    EXPECT_EQ(Print("%hs|%ls|%hc|%lc|%.1hs", "\xfc\x80", WIDE("\u00ff"), 0xfc, 0xfc, "\xff\xfe"),
              "\u00fc\u0080|\u00ff|\u00fc|\u00fc|\u00ff");
    EXPECT_EQ(PrintEach(int{'a'}, "%c|%C|%hc|%lc|%wc|%3c|%-3c|%03c"), "a|a|a|a|a|  a|a  |00a");
    EXPECT_EQ(Print("a%cb", 0), std::string("a\0b", 3));

    char narrow[8];
    WCHAR wide[8];
    EXPECT_EQ(PrintTo(narrow, 8, _TRUNCATE, "%s%S", "a", WIDE("b")), 2);
    EXPECT_STREQ(narrow, "ab");
    EXPECT_EQ(PrintTo(wide, 8, _TRUNCATE, WIDE("%s%S%c"), WIDE("\u20ac"), "b", 0x20ac), 3);
    EXPECT_EQ(ToUtf8(wide), "\u20acb\u20ac");
    // What has no narrow form is no character, and no text.
    EXPECT_EQ(PrintTo(narrow, 8, _TRUNCATE, "<%lc>", 0x20ac), 2);
    EXPECT_STREQ(narrow, "<>");
    EXPECT_EQ(PrintTo(narrow, 8, _TRUNCATE, "%ls", WIDE("a\u0100")), -1);
    EXPECT_EQ(WithList(_vscprintf, "%ls", WIDE("a\u0100")), -1);
    EXPECT_EQ(PrintTo(narrow, 8, _TRUNCATE, "%.1ls", WIDE("a\u0100")), 1);
}

TEST(RuntimeFormat, WhatIsNoConversionFailsOrCountsAsText)
{
    const std::pair<const char*, int> rows[] = {{"abc%", 3},   {"abc%5", 3}, {"abc%.", 3}, {"abc%l", 3},
                                                {"%5y|", 2},   {"%O", 1},    {"%I6d|", 4}, {"%Is|", 3},
                                                {"%.-3d|", 4}, {"%5%|", 1}};
    for (const auto& [format, length] : rows) {
        EXPECT_EQ(Print(format, 1), "fails") << format;
        EXPECT_EQ(WithList(_vscprintf, format, 1), length) << format;
    }
}

template <typename Unit>
void ExpectLimited(std::size_t size, std::size_t count, const Unit* format, std::basic_string_view<Unit> kept,
                   int result)
{
    Unit buffer[8];
    std::fill_n(buffer, 8, Unit{'#'});
    EXPECT_EQ(PrintTo(buffer, size, count, format, 12), result) << size << ' ' << count;
    EXPECT_EQ(buffer[size], Unit{'#'}) << size << ' ' << count;
    EXPECT_TRUE(size == 0 || kept == buffer) << size << ' ' << count;
}

TEST(RuntimeFormat, OutputIsCutOrRefused)
{
    const std::tuple<std::size_t, std::size_t, const char*, const char*, int> rows[] = {
        {5, _TRUNCATE, "ab%d", "ab12", 4},
        {5, _TRUNCATE, "abc%d", "abc1", -1},
        {5, _TRUNCATE, "%d/%%", "12/%", 4},
        {4, _TRUNCATE, "%d/%%", "12/", -1},
        {5, _TRUNCATE, "abcdef", "abcd", -1},
        {4, _TRUNCATE, "%5d", "   ", -1},
        {4, _TRUNCATE, "%-5d", "12 ", -1},
        {3, _TRUNCATE, "%.3d", "01", -1},
        {1, _TRUNCATE, "", "", 0},
        {1, _TRUNCATE, "a", "", -1},
        {5, 2, "%d", "12", 2},
        {5, 2, "%dc", "12", -1},
        {5, 0, "%d", "", -1},
        {5, 4, "%dabc", "12ab", -1},
        {5, 6, "%dab", "12ab", 4},
        {5, 6, "%dabc", "", -1},
        {3, 8, "abcdef", "", -1},
        {0, _TRUNCATE, "a", "", -1},
        {0, 0, "a", "", -1}};
    for (const auto& [size, count, format, kept, result] : rows) {
        ExpectLimited<char>(size, count, format, kept, result);
        ExpectLimited<WCHAR>(size, count, Widened(format).c_str(), Widened(kept), result);
    }
    char buffer[5];
    EXPECT_EQ(PrintFitting(buffer, 5, "ab%d", 12), 4);
    EXPECT_STREQ(buffer, "ab12");
    EXPECT_EQ(PrintFitting(buffer, 5, "abcd%d", 12), -1);
    EXPECT_EQ(PrintTo(buffer, 5, _TRUNCATE, LPCSTR{nullptr}), -1);
    EXPECT_EQ(PrintFitting(buffer, 5, nullptr), -1);
}

} // namespace
