#include "Platform/Host/RegistryText.h"

#include "Platform/Host/Api/Registry.h"

#include <algorithm>

namespace Platform::Host {

namespace {

constexpr std::u16string_view LINE_END = u"\r\n";
constexpr std::size_t LONGEST_LINE = 80; // of bytes, the backslash at its end included
constexpr std::size_t BYTE_WIDTH = 3;    // two digits and a comma

void AppendHex(std::u16string& text, DWORD number, unsigned digits)
{
    for (unsigned shift = digits * 4; shift != 0; shift -= 4) {
        text += u"0123456789abcdef"[number >> (shift - 4) & 0xF];
    }
}

// Without leading zeros.
void AppendType(std::u16string& text, DWORD type)
{
    unsigned digits = 1;
    while (digits < 8 && type >> digits * 4 != 0) {
        ++digits;
    }
    AppendHex(text, type, digits);
}

void AppendQuoted(std::u16string& text, std::u16string_view content)
{
    text += u'"';
    for (const char16_t unit : content) {
        if (unit == u'\n' || unit == u'\r') {
            text += unit == u'\n' ? u"\\n" : u"\\r";
            continue;
        }
        if (unit == u'"' || unit == u'\\') {
            text += u'\\';
        }
        text += unit;
    }
    text += u'"';
}

std::u16string ToText(const std::vector<BYTE>& data)
{
    std::u16string text;
    for (std::size_t i = 0; i + 1 < data.size(); i += 2) {
        text += static_cast<char16_t>(data[i] | data[i + 1] << 8);
    }
    return text;
}

// Whether quotes can hold it: one terminator, at the end, and no line end.
bool IsWholeText(const std::vector<BYTE>& data, std::u16string_view text)
{
    constexpr std::u16string_view unquotable(u"\0\r\n", 3);
    return data.size() % 2 == 0 && !text.empty() && text.find_first_of(unquotable) == text.size() - 1 &&
           text.back() == 0;
}

void AppendBytes(std::u16string& text, std::size_t lineStart, const std::vector<BYTE>& data)
{
    for (std::size_t i = 0; i < data.size(); ++i) {
        AppendHex(text, data[i], 2);
        if (i + 1 == data.size()) {
            return;
        }
        text += u',';
        if (text.size() - lineStart + BYTE_WIDTH + 1 > LONGEST_LINE) {
            text += u"\\\r\n";
            lineStart = text.size();
            text += u"  ";
        }
    }
}

void AppendData(std::u16string& text, std::size_t lineStart, const RegistryValue& value)
{
    const std::vector<BYTE>& data = value.data;
    const std::u16string content = value.type == REG_SZ ? ToText(data) : std::u16string();
    if (value.type == REG_SZ && IsWholeText(data, content)) {
        AppendQuoted(text, std::u16string_view(content).substr(0, content.size() - 1));
    } else if (value.type == REG_DWORD && data.size() == 4) {
        text += u"dword:";
        for (std::size_t i = data.size(); i-- > 0;) {
            AppendHex(text, data[i], 2);
        }
    } else {
        text += u"hex";
        if (value.type != REG_BINARY) {
            text += u'(';
            AppendType(text, value.type);
            text += u')';
        }
        text += u':';
        AppendBytes(text, lineStart, data);
    }
}

void AppendValue(std::u16string& text, const std::u16string& name, const RegistryValue& value)
{
    const std::size_t lineStart = text.size();
    if (name.empty()) {
        text += u'@';
    } else {
        AppendQuoted(text, name);
    }
    text += u'=';
    AppendData(text, lineStart, value);
    text += LINE_END;
}

void AppendKey(std::u16string& text, const std::u16string& path, const RegistryKey& key)
{
    text += u'[';
    text += path;
    text += u']';
    text += LINE_END;
    for (const auto& [name, value] : key.values) {
        AppendValue(text, name, value);
    }
    text += LINE_END;
}

// The keys below this one. `path` is as it was in the end.
void AppendKeysBelow(std::u16string& text, std::u16string& path, const RegistryKey& key)
{
    const std::size_t length = path.size();
    for (const auto& [name, below] : key.keys) {
        path += u'\\';
        path += name;
        AppendKey(text, path, below);
        AppendKeysBelow(text, path, below);
        path.resize(length);
    }
}

std::string ToBytes(std::u16string_view text)
{
    std::string bytes;
    bytes.reserve(text.size() * 2);
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

} // namespace

std::string WriteRegistryText(const RegistryKey& top)
{
    std::u16string text = u"\uFEFFWindows Registry Editor Version 5.00\r\n\r\n";
    for (const auto& [name, key] : top.keys) {
        if (!key.values.empty()) {
            AppendKey(text, name, key);
        }
        std::u16string path = name;
        AppendKeysBelow(text, path, key);
    }
    return ToBytes(text);
}

} // namespace Platform::Host
