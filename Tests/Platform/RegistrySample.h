// Values of every form that a registry file has. RegistrySample.reg is the file that the platform's own tool
// and the host layer make of them below the tests' key.
#pragma once

#include "Tests/Support/RegistryKey.h"

#include <vector>

struct RegistrySampleValue {
    LPCWSTR key; // below the tests' key
    LPCWSTR name;
    DWORD type;
    Bytes data;
};

inline std::vector<RegistrySampleValue> RegistrySample()
{
    using namespace std::string_literals;
    Bytes many(60, '\0');
    for (std::size_t i = 0; i < many.size(); ++i) {
        many[i] = static_cast<char>(i * 7);
    }
    const auto text = [](WideTextView content) { return BytesOf(content) + Bytes(2, '\0'); };
    const LPCWSTR types = WIDE("Types");
    const LPCWSTR lines = WIDE("a ]\\Lines");
    return {
        {types, WIDE(""), REG_SZ, text(WIDE("default"))},
        {types, WIDE("escapes \\ and \" in both"), REG_SZ, text(WIDE("C:\\x \"y\""))},
        {types, WIDE("\u00C4\u0416\U0001F3AE"), REG_SZ, text(WIDE("\u00E4\u0436\U0001F3AE \t;"))},
        {types, WIDE("line\nend\r"), REG_SZ, text(WIDE(""))},
        {types, WIDE("binary"), REG_BINARY, "\x01\xFF"},
        {types, WIDE("binary, none"), REG_BINARY, ""},
        {types, WIDE("dword"), REG_DWORD, "\x2a\x00\x00\x80"s},
        {types, WIDE("dword, none"), REG_DWORD, ""},
        {types, WIDE("dword, swapped"), REG_DWORD_BIG_ENDIAN, "\x01\x02\x03\x04"},
        {types, WIDE("expand"), REG_EXPAND_SZ, text(WIDE("%a%"))},
        {types, WIDE("link"), REG_LINK, "ab"},
        {types, WIDE("multi"), REG_MULTI_SZ, text(WIDE("a\0b\0"s))},
        {types, WIDE("none"), REG_NONE, "ab"},
        {types, WIDE("qword"), REG_QWORD, "\x01\x02\x03\x04\x05\x06\x07\x08"},
        {types, WIDE("unknown"), 0x12345, "ab"},
        {types, WIDE("unknown, largest"), 0xFFFFFFFF, ""},
        {lines, WIDE("n22"), REG_BINARY, many.substr(0, 22)},
        {lines, WIDE("n23"), REG_BINARY, many.substr(0, 23)},
        {lines, WIDE("n24"), REG_BINARY, many.substr(0, 24)},
        {lines, WIDE("n48"), REG_QWORD, many.substr(0, 48)},
        {lines, WIDE("n49"), REG_QWORD, many.substr(0, 49)},
        {lines, WIDE("a name that leaves room for one byte alone in its line, \"...\""), REG_BINARY, many},
        {lines,
         WIDE("a name that is longer than a line can be, so that the first byte stands behind it all the "
              "same"),
         REG_NONE, many},
    };
}
