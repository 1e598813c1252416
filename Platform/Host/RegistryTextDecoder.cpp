#include "Platform/Host/RegistryTextDecoder.h"

#include "Platform/Host/Utf.h"

#include <algorithm>

namespace Platform::Host {

namespace {

// Units of one byte, or of two with the low one first; half a unit is left out.
std::u16string FromUnits(std::string_view bytes, std::size_t width)
{
    std::u16string text;
    text.reserve(bytes.size() / width);
    for (std::size_t i = 0; i + width <= bytes.size(); i += width) {
        const auto high = static_cast<BYTE>(width == 1 ? 0 : bytes[i + 1]);
        text += static_cast<char16_t>(static_cast<BYTE>(bytes[i]) | high << 8);
    }
    return text;
}

// Ill-formed bytes come back as others.
bool DecodeUtf8(std::string_view bytes, std::u16string& text, RegistryTextFault& fault)
{
    text = FromHost(bytes);
    const std::string back = ToHost(text);
    const auto [same, differs] = std::mismatch(bytes.begin(), bytes.end(), back.begin(), back.end());
    fault = {static_cast<std::size_t>(std::count(bytes.begin(), same, '\n')) + 1, "ill-formed UTF-8"};
    return same == bytes.end() && differs == back.end();
}

} // namespace

bool DecodeRegistryText(std::string_view bytes, std::u16string& text, RegistryTextFault& fault)
{
    if (bytes.starts_with("\xFF\xFE")) {
        text = FromUnits(bytes.substr(2), 2);
        fault = {static_cast<std::size_t>(std::count(text.begin(), text.end(), u'\n')) + 1,
                 "half a character at the end"};
        return bytes.size() % 2 == 0;
    }
    if (bytes.starts_with("REGEDIT4")) {
        text = FromUnits(bytes, 1);
        return true;
    }
    bytes.remove_prefix(bytes.starts_with("\xEF\xBB\xBF") ? 3 : 0);
    return DecodeUtf8(bytes, text, fault);
}

} // namespace Platform::Host
