// A module's name to stand behind "%ls" in narrow text. The runtime would end the text at a character that it
// cannot convert; here that is a question mark.
#pragma once

#include "Platform/Win32.h"

#include <cstdint>

namespace Plinth {

class CModuleName {
public:
    explicit CModuleName(LPCWSTR name) // cut to 1,023 characters
    {
        for (std::uint32_t i = 0; i < SIZE - 1 && name[i] != 0; ++i) {
            text_[i] = name[i] <= 255 ? name[i] : WCHAR{'?'};
        }
    }

    // Of the type that the compiler checks; on the host the platform's characters are of another one.
    [[nodiscard]] const wchar_t* Argument() const { return reinterpret_cast<const wchar_t*>(text_); }

private:
    static constexpr std::uint32_t SIZE = 1024;

    WCHAR text_[SIZE]{};
};

} // namespace Plinth
