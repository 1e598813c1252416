#include "Platform/Host/Api/RuntimeText.h"

#include "Platform/Host/Gate.h"
#include "Platform/Host/InvalidArgument.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace Platform::Host {

namespace {

template <typename Unit>
Unit Lower(Unit unit)
{
    return unit >= 'A' && unit <= 'Z' ? static_cast<Unit>(unit + ('a' - 'A')) : unit;
}

bool IsDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}

template <typename Unit>
int MakeLower(Unit* text, std::size_t size)
{
    if (text == nullptr || size == 0) {
        return EINVAL;
    }
    Unit* const end = std::find(text, text + size, Unit{0});
    if (end == text + size) {
        *text = 0;
        return EINVAL;
    }
    std::transform(text, end, text, Lower<Unit>);
    return 0;
}

template <typename Fold>
int Compare(LPCWSTR a, LPCWSTR b, const Fold& fold)
{
    for (; *a != 0 && fold(*a) == fold(*b); ++a, ++b) {
    }
    return fold(*a) - fold(*b);
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

int _strlwr_s(char* text, std::size_t size)
{
    GateSees("_strlwr_s");
    return Refusing(MakeLower(text, size));
}

int _wcslwr_s(LPWSTR text, std::size_t size)
{
    GateSees("_wcslwr_s");
    return Refusing(MakeLower(text, size));
}

std::size_t wcslen(LPCWSTR text)
{
    GateSees("wcslen");
    return std::char_traits<WCHAR>::length(text);
}

int wcscmp(LPCWSTR a, LPCWSTR b)
{
    GateSees("wcscmp");
    return Compare(a, b, [](WCHAR unit) { return unit; });
}

int _wcsicmp(LPCWSTR a, LPCWSTR b)
{
    GateSees("_wcsicmp");
    return Compare(a, b, Lower<WCHAR>);
}

double DecimalAtof(const char* text)
{
    GateSees("atof");
    const char* start = text + std::strspn(text, " \t\n\v\f\r");
    start += *start == '+' || *start == '-' ? 1 : 0;
    const bool isNumber = IsDigit(*start) || (*start == '.' && IsDigit(start[1]));
    const bool isHexadecimal = *start == '0' && Lower(start[1]) == 'x';
    return isNumber && !isHexadecimal ? std::strtod(text, nullptr) : 0;
}
