#include "Platform/Host/Names.h"

#include <algorithm>
#include <clocale>
#include <cwctype>

namespace Platform::Host {

namespace {

char16_t CapitalBeyondAscii(char16_t unit)
{
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (locale == nullptr) {
        return unit;
    }
    const wint_t capital = towupper_l(unit, locale);
    const bool leadsBack = capital <= 0xFFFF && towlower_l(capital, locale) == unit;
    return leadsBack ? static_cast<char16_t>(capital) : unit;
}

char16_t Capital(char16_t unit)
{
    if (unit >= 0x80) {
        return CapitalBeyondAscii(unit);
    }
    return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - u'a' + u'A') : unit;
}

} // namespace

int CompareNames(std::u16string_view left, std::u16string_view right)
{
    const std::size_t shorter = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < shorter; ++i) {
        const int difference = left[i] == right[i] ? 0 : Capital(left[i]) - Capital(right[i]);
        if (difference != 0) {
            return difference;
        }
    }
    return left.size() == right.size() ? 0 : (left.size() < right.size() ? -1 : 1);
}

} // namespace Platform::Host
