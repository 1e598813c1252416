// Floating-point numbers as the platform's C runtime writes them, down to the last digit of their exact
// value.
#pragma once

#include "Platform/Host/FormatOutput.h"

namespace Platform::Host {

// Significant digits, the first before the point, and zeros without end behind them. Infinities and what is
// no number have letters for digits.
struct FloatDigits {
    char text[800]; // the longest number has 767, and is made with a point and an exponent
    std::size_t count = 0;
    std::ptrdiff_t exponent = 0;
};

struct FloatText {
    FloatDigits digits;
    std::ptrdiff_t point = 0; // index of the last digit before the point; before index 0 lie zeros
    std::size_t fraction = 0; // digits behind the point
    bool hasPoint = false;
    std::string_view prefix;
    char exponent[8]; // with its letter
    std::size_t exponentLength = 0;

    [[nodiscard]] std::size_t WholeDigits() const
    {
        return point > 0 ? static_cast<std::size_t>(point) + 1 : 1;
    }

    [[nodiscard]] std::size_t Length() const
    {
        return prefix.size() + WholeDigits() + (hasPoint ? 1 : 0) + fraction + exponentLength;
    }
};

// The text without sign and padding. The conversion is one of e E f g G a A.
FloatText ToFloatText(double value, const FormatSpec& spec, char conversion);

// Writes so many digits from an index on.
template <typename Unit>
void PutDigits(FormatOutput<Unit>& output, const FloatDigits& digits, std::ptrdiff_t from, std::size_t count)
{
    const std::size_t before = from < 0 ? std::min(count, static_cast<std::size_t>(-from)) : 0;
    const std::size_t start = from < 0 ? 0 : std::min(static_cast<std::size_t>(from), digits.count);
    const std::string_view present =
        std::string_view(digits.text, digits.count).substr(start, count - before);
    output.Fill(before, '0');
    output.Put(present);
    output.Fill(count - before - present.size(), '0');
}

// Writes the text, with zeros between its prefix and the digits.
template <typename Unit>
void PutFloatText(FormatOutput<Unit>& output, const FloatText& text, std::size_t zeros)
{
    output.Put(text.prefix);
    output.Fill(zeros, '0');
    PutDigits(output, text.digits, std::min<std::ptrdiff_t>(text.point, 0), text.WholeDigits());
    output.Fill(text.hasPoint ? 1 : 0, '.');
    PutDigits(output, text.digits, text.point + 1, text.fraction);
    output.Put(std::string_view(text.exponent, text.exponentLength));
}

} // namespace Platform::Host
