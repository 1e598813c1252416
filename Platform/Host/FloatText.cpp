#include "Platform/Host/FloatText.h"

#include <bit>
#include <cmath>
#include <cstdlib>

namespace Platform::Host {

namespace {

constexpr int MOST_DIGITS = 767;
constexpr unsigned FRACTION_BITS = 52;
constexpr std::size_t FRACTION_DIGITS = FRACTION_BITS / 4; // hexadecimal

void SetSpecial(FloatDigits& digits, double value)
{
    const std::string_view nan = std::signbit(value) ? "1#IND" : "1#QNAN";
    digits.count = (std::isnan(value) ? nan : "1#INF").copy(digits.text, sizeof(digits.text));
}

// All digits of the exact value. Each binary place gives at most one, beside the 17 of the highest.
void SetDecimal(FloatDigits& digits, double magnitude)
{
    int binaryExponent = 0;
    std::frexp(magnitude, &binaryExponent);
    const int places = std::min(MOST_DIGITS - 1, 17 + std::abs(binaryExponent - 53));
    char* const end = std::to_chars(digits.text, digits.text + sizeof(digits.text), magnitude,
                                    std::chars_format::scientific, places)
                          .ptr;
    char* const mark = std::find(digits.text, end, 'e');
    std::from_chars(mark[1] == '+' ? mark + 2 : mark + 1, end, digits.exponent);
    char* const digitsEnd = std::copy(digits.text + 2, mark, digits.text + 1); // over the point
    digits.count = static_cast<std::size_t>(digitsEnd - digits.text);
}

// Rounds by itself, since no carry makes a digit more: the first one becomes 2.
void SetHexadecimal(FloatDigits& digits, double magnitude, std::size_t precision, bool capitals)
{
    const auto bits = std::bit_cast<std::uint64_t>(magnitude);
    constexpr std::uint64_t ONE = std::uint64_t{1} << FRACTION_BITS;
    const bool normal = bits >= ONE;
    std::uint64_t mantissa = normal ? (bits & (ONE - 1)) | ONE : bits;
    if (precision < FRACTION_DIGITS) {
        const std::size_t dropped = FRACTION_BITS - 4 * precision;
        mantissa = (mantissa + (std::uint64_t{1} << (dropped - 1))) >> dropped << dropped;
    }
    char room[24];
    const std::string_view all = ToDigits(room, mantissa | ONE << 4, 16, capitals); // keeps zeros in front
    digits.count = all.substr(1).copy(digits.text, sizeof(digits.text));
    digits.exponent = bits == 0 ? 0 : static_cast<std::ptrdiff_t>(normal ? bits >> FRACTION_BITS : 1) - 1023;
}

// Adds one to the last digit.
void Increment(FloatDigits& digits)
{
    std::size_t at = digits.count;
    while (at != 0 && digits.text[at - 1] == '9') {
        digits.text[--at] = '0';
    }
    if (at != 0) {
        ++digits.text[at - 1];
        return;
    }
    digits.text[0] = '1';
    digits.count = std::max<std::size_t>(digits.count, 1);
    ++digits.exponent;
}

// Keeps so many digits, halves rounded away from zero. Letters are rounded with the rest, as on the platform.
void Round(FloatDigits& digits, std::ptrdiff_t kept)
{
    if (kept >= static_cast<std::ptrdiff_t>(digits.count)) {
        return;
    }
    digits.count = static_cast<std::size_t>(std::max<std::ptrdiff_t>(kept, 0));
    if (kept >= 0 && digits.text[kept] >= '5') {
        Increment(digits);
    }
}

void SetExponent(FloatText& text, char letter, std::size_t leastDigits)
{
    char room[24];
    const std::string_view digits = ToDigits(room, Magnitude(text.digits.exponent), 10, false);
    char* end = text.exponent;
    *end++ = letter;
    *end++ = text.digits.exponent < 0 ? '-' : '+';
    end = std::fill_n(end, Missing(digits.size(), leastDigits), '0');
    end = std::copy(digits.begin(), digits.end(), end);
    text.exponentLength = static_cast<std::size_t>(end - text.exponent);
}

void LayFixed(FloatText& text, std::size_t precision)
{
    Round(text.digits, text.digits.exponent + 1 + static_cast<std::ptrdiff_t>(precision));
    text.point = text.digits.exponent;
    text.fraction = precision;
}

void LayScientific(FloatText& text, std::size_t precision, bool capitals)
{
    Round(text.digits, static_cast<std::ptrdiff_t>(precision) + 1);
    text.fraction = precision;
    SetExponent(text, capitals ? 'E' : 'e', 3);
}

// Leaves zeros at the end of the fraction out.
void Trim(FloatText& text)
{
    const std::string_view digits(text.digits.text, text.digits.count);
    const auto significant = static_cast<std::ptrdiff_t>(digits.find_last_not_of('0') + 1);
    const std::ptrdiff_t needed = std::max<std::ptrdiff_t>(significant - text.point - 1, 0);
    text.fraction = std::min(text.fraction, static_cast<std::size_t>(needed));
}

void LayGeneral(FloatText& text, std::size_t precision, bool capitals, bool keepZeros)
{
    const auto significant = static_cast<std::ptrdiff_t>(std::max<std::size_t>(precision, 1));
    Round(text.digits, significant);
    const std::ptrdiff_t exponent = text.digits.exponent;
    if (exponent < -4 || exponent >= significant) {
        LayScientific(text, static_cast<std::size_t>(significant - 1), capitals);
    } else {
        LayFixed(text, static_cast<std::size_t>(significant - 1 - exponent));
    }
    if (!keepZeros) {
        Trim(text);
    }
}

void LayHexadecimal(FloatText& text, std::size_t precision, bool capitals)
{
    Round(text.digits, static_cast<std::ptrdiff_t>(precision) + 1);
    text.prefix = capitals ? "0X" : "0x";
    text.fraction = precision;
    SetExponent(text, capitals ? 'P' : 'p', 1);
}

} // namespace

FloatText ToFloatText(double value, const FormatSpec& spec, char conversion)
{
    const bool capitals = conversion < 'a';
    const char style = capitals ? static_cast<char>(conversion - 'A' + 'a') : conversion;
    const std::size_t precision = spec.precision.value_or(style == 'a' ? FRACTION_DIGITS : 6);
    FloatText text;
    if (!std::isfinite(value)) {
        SetSpecial(text.digits, value);
    } else if (style == 'a') {
        SetHexadecimal(text.digits, std::fabs(value), precision, capitals);
    } else {
        SetDecimal(text.digits, std::fabs(value));
    }
    switch (style) {
    case 'a':
        LayHexadecimal(text, precision, capitals);
        break;
    case 'e':
        LayScientific(text, precision, capitals);
        break;
    case 'f':
        LayFixed(text, precision);
        break;
    default:
        LayGeneral(text, precision, capitals, spec.alternate);
    }
    text.hasPoint = text.fraction != 0 || spec.alternate;
    return text;
}

} // namespace Platform::Host
