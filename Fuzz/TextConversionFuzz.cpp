// Any bytes to UTF-16 and back: counted and written lengths agree, what is well-formed comes back unchanged,
// what is not is replaced once and then stays.
#include "Fuzz/Require.h"
#include "Platform/Win32.h"

#include <cstdint>
#include <string>

using WideText = std::basic_string<WCHAR>;

namespace {

WideText Widen(const std::string& text)
{
    const auto length = static_cast<int>(text.size());
    const int count = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
    WideText wide(static_cast<std::size_t>(count), WCHAR{'#'});
    Require(MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), count) == count);
    return wide;
}

std::string Narrow(const WideText& text)
{
    const auto length = static_cast<int>(text.size());
    const int count = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(count), '#');
    Require(WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(), count, nullptr, nullptr) ==
            count);
    return narrow;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const WideText wide = Widen(std::string(data, data + size));
    const std::string wellFormed = Narrow(wide);
    Require(wide.size() <= size);
    Require(Widen(wellFormed) == wide);
    Require(Narrow(Widen(wellFormed)) == wellFormed);
    return 0;
}
