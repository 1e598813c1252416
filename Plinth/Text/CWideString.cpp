#include "Plinth/Text/CWideString.h"

#include <algorithm>

namespace Plinth {

namespace {

LPCWSTR OrEmpty(LPCWSTR text)
{
    return text != nullptr ? text : WIDE("");
}

std::uint32_t Length(const char* text)
{
    return text != nullptr ? static_cast<std::uint32_t>(std::strlen(text)) : 0;
}

template <typename Pieces>
void SplitInto(const CWideString& text, WCHAR delimiter, Pieces& pieces)
{
    std::size_t start = 0;
    for (std::size_t end; (end = text.find(delimiter, start)) != CWideString::npos; start = end + 1) {
        pieces.push_back(
            text.Mid(static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end - start)));
    }
    pieces.push_back(text.Mid(static_cast<std::uint32_t>(start), NO_LIMIT));
}

} // namespace

CWideString::CWideString(LPCWSTR text) : Base(OrEmpty(text)) {}

CWideString::CWideString(const Base& text) : Base(text) {}

CWideString::CWideString(std::uint32_t size)
{
    reserve(size);
}

CWideString::CWideString(const char* utf8)
{
    AssignUtf8(utf8, Length(utf8));
}

CWideString::CWideString(const CString& utf8)
{
    AssignUtf8(utf8.CStr(), utf8.GetLength());
}

void CWideString::Assign(LPCWSTR text, std::uint32_t count)
{
    if (text != nullptr) {
        assign(text, count);
    }
}

CWideString& CWideString::operator=(LPCWSTR text)
{
    Assign(text, static_cast<std::uint32_t>(wcslen(OrEmpty(text))));
    return *this;
}

CWideString& CWideString::operator=(const Base& text)
{
    Assign(text.data(), static_cast<std::uint32_t>(text.size()));
    return *this;
}

void CWideString::AssignUtf8(const char* utf8, std::uint32_t byteCount)
{
    const bool convertible = utf8 != nullptr && byteCount <= INT32_MAX;
    const auto bytes = static_cast<int>(byteCount);
    const int units = convertible ? MultiByteToWideChar(CP_UTF8, 0, utf8, bytes, nullptr, 0) : 0;
    resize(static_cast<std::size_t>(units));
    if (units != 0) {
        resize(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8, bytes, data(), units)));
    }
}

CWideString& CWideString::operator=(const char* utf8)
{
    AssignUtf8(utf8, Length(utf8));
    return *this;
}

CWideString& CWideString::operator=(const CString& utf8)
{
    AssignUtf8(utf8.CStr(), utf8.GetLength());
    return *this;
}

void CWideString::AppendFormat(LPCWSTR format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    AppendFormatV(format, arguments);
    va_end(arguments);
}

void CWideString::AppendFormatV(LPCWSTR format, std::va_list arguments)
{
    const std::size_t used = size();
    const std::size_t spare = capacity() - used;
    if (format == nullptr || spare < 2) {
        return;
    }
    resize(capacity());
    (*this)[used + spare - 2] = '#'; // becomes the terminator of a text that is cut
    const int result = _vsnwprintf_s(data() + used, spare - 1, _TRUNCATE, format, arguments);
    const bool cut = result < 0 && (*this)[used + spare - 2] == 0;
    resize(used + (cut ? spare - 2 : static_cast<std::size_t>(std::max(result, 0))));
}

void CWideString::Format(LPCWSTR format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    FormatV(format, arguments);
    va_end(arguments);
}

void CWideString::FormatV(LPCWSTR format, std::va_list arguments)
{
    clear();
    AppendFormatV(format, arguments);
}

CWideString CWideString::Mid(std::uint32_t start, std::uint32_t count) const
{
    return substr(start, count).c_str();
}

std::uint32_t CWideString::Find(LPCWSTR needle, std::uint32_t start) const
{
    const size_type position = find(OrEmpty(needle), start);
    return position != npos ? static_cast<std::uint32_t>(position) : NOT_FOUND;
}

void CWideString::Split(WCHAR delimiter, std::list<CWideString>& pieces) const
{
    SplitInto(*this, delimiter, pieces);
}

void CWideString::Split(WCHAR delimiter, std::vector<CWideString>& pieces) const
{
    SplitInto(*this, delimiter, pieces);
}

} // namespace Plinth
