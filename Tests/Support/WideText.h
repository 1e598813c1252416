// Wide texts in tests: printing them in failure messages and comparing them unit by unit.
#pragma once

#include "Platform/Win32.h"

#include <string>
#include <string_view>

using WideText = std::basic_string<WCHAR>;
using WideTextView = std::basic_string_view<WCHAR>;

// UTF-8; unpaired surrogates become U+FFFD.
inline std::string ToUtf8(WideTextView text)
{
    const auto units = static_cast<int>(text.size());
    std::string result(text.size() * 3, '\0');
    const int length = units == 0 ? 0
                                  : WideCharToMultiByte(CP_UTF8, 0, text.data(), units, result.data(),
                                                        3 * units, nullptr, nullptr);
    result.resize(static_cast<std::size_t>(length));
    return result;
}

// Four hexadecimal digits a unit: exact for every text.
inline std::string ToUnits(WideTextView text)
{
    std::string result;
    for (const WCHAR unit : text) {
        for (int shift = 12; shift >= 0; shift -= 4) {
            result += "0123456789abcdef"[unit >> shift & 0xF];
        }
    }
    return result;
}
