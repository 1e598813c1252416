#include "Tests/Support/PlainIni.h"

#include <algorithm>

namespace {

const char* const KEY_BYTES = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_";

std::string UpToZero(const std::string& text)
{
    return text.substr(0, text.find('\0'));
}

std::string Narrowed(const std::string& bytes)
{
    if (!bytes.starts_with("\xFF\xFE")) {
        return bytes;
    }
    std::string text;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
        text += bytes[i];
    }
    text.resize((bytes.size() - 1) / 2 + 2);
    return text;
}

// The line feed, what follows the first carriage return, or the end.
std::size_t EndOfComment(const std::string& text, std::size_t semicolon)
{
    const std::size_t end = text.find_first_of("\r\n", semicolon);
    if (end == std::string::npos) {
        return text.size();
    }
    return text[end] == '\r' ? end + 1 : end;
}

} // namespace

PlainIni ReadPlainIni(const std::string& bytes)
{
    const std::string text = Narrowed(bytes);
    const std::size_t size = text.size();
    PlainIni document;
    std::map<std::string, std::string>* section = nullptr;
    for (std::size_t i = 0; i < size; ++i) {
        if (text[i] == '[') {
            const std::size_t bracket = text.find(']', i);
            if (bracket == std::string::npos) {
                return document;
            }
            section = &document[UpToZero(text.substr(i + 1, bracket - i - 1))];
            i = bracket;
        } else if (text[i] == ';') {
            i = EndOfComment(text, i);
        }
        const std::size_t keyEnd = std::min(text.find_first_not_of(KEY_BYTES, i), size);
        if (section == nullptr || i >= size || keyEnd == i) {
            continue;
        }
        if (keyEnd == size) {
            return document;
        }
        const std::size_t equals = text.find('=', keyEnd);
        const std::size_t begin = equals == std::string::npos ? size : equals + 1;
        const std::size_t end = std::min(text.find_first_of("\r\n;", begin), size);
        (*section)[text.substr(i, keyEnd - i)] = UpToZero(text.substr(begin, end - begin));
        i = end;
        if (end < size && text[end] == ';') {
            i = EndOfComment(text, end);
        } else if (end < size && text[end] == '\r') {
            i = end + 1;
        }
    }
    return document;
}

std::string WritePlainIni(const PlainIni& document)
{
    std::string text;
    std::size_t written = 0;
    for (const auto& [section, keys] : document) {
        if (keys.empty()) {
            continue;
        }
        text.append("[").append(section).append("]\r\n");
        for (const auto& [key, value] : keys) {
            text.append(key).append(" = ").append(value).append("\r\n");
        }
        ++written;
        text += written < document.size() ? "\r\n" : "";
    }
    return text;
}

std::size_t LargestPlainIniText(const PlainIni& document)
{
    std::size_t size = 0;
    for (const auto& [section, keys] : document) {
        size += section.size() + (size == 0 ? 4 : 6);
        for (const auto& [key, value] : keys) {
            size += key.size() + value.size() + 5;
        }
    }
    return size;
}

std::string WidePlainText(const std::string& bytes)
{
    std::string wide = "\xFF\xFE";
    for (const char byte : bytes) {
        wide += {byte, '\0'};
    }
    return wide;
}
