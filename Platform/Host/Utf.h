// UTF-16 as the host keeps it in file names, arguments and environment: UTF-8 in which an unpaired surrogate
// stands as its own three bytes (WTF-8), so that every text of the platform survives the way there and back.
// Bytes that are not that become U+FFFD.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace Platform::Host {

inline bool IsAscii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char byte) { return (byte & '\x80') == 0; });
}

std::string ToHost(std::u16string_view text);
std::u16string FromHost(std::string_view text);

// Without heap memory: gives the units written, as many as there is room for.
std::size_t FromHost(std::string_view text, char16_t* units, std::size_t room);

} // namespace Platform::Host
