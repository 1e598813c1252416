// Numbers as reports show them.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

// The low 32 bits in eight digits, in lower case.
inline std::string Hexadecimal(std::uint64_t number)
{
    char text[16];
    std::snprintf(text, sizeof(text), "%08x", static_cast<unsigned>(number));
    return text;
}
