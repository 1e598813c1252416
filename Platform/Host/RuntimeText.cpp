#include "Platform/Host/Api/RuntimeText.h"

#include "Platform/Host/Gate.h"

#include <algorithm>
#include <cerrno>
#include <string>

namespace Platform::Host {

namespace {

template <typename Unit>
Unit Lower(Unit unit)
{
    return unit >= 'A' && unit <= 'Z' ? static_cast<Unit>(unit + ('a' - 'A')) : unit;
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

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

int _strlwr_s(char* text, std::size_t size)
{
    GateSees("_strlwr_s");
    return MakeLower(text, size);
}

int _wcslwr_s(LPWSTR text, std::size_t size)
{
    GateSees("_wcslwr_s");
    return MakeLower(text, size);
}

std::size_t wcslen(LPCWSTR text)
{
    GateSees("wcslen");
    return std::char_traits<WCHAR>::length(text);
}
