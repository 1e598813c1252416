#include "Plinth/Text/CString.h"

#include "Plinth/Debug/Allocation.h"
#include "Plinth/Text/ByteSearch.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <istream>
#include <string_view>
#include <utility>

namespace Plinth {

struct CString::Layout {
    static_assert(offsetof(CString, text_) == 0 && offsetof(CString, capacity_) == sizeof(char*));
    static_assert(offsetof(CString, length_) == offsetof(CString, capacity_) + 4);
    static_assert(offsetof(CString, hash_) == offsetof(CString, length_) + 4);
};

namespace {

constexpr std::uint32_t BLOCK_STEP = 8;

const char* OrEmpty(const char* text)
{
    return text != nullptr ? text : "";
}

std::uint32_t Length(const char* text)
{
    return static_cast<std::uint32_t>(std::strlen(OrEmpty(text)));
}

std::uint32_t PositionOf(const char* found, const char* text)
{
    return found != nullptr ? static_cast<std::uint32_t>(found - text) : NOT_FOUND;
}

bool IsSeparator(char byte)
{
    return byte == '/' || byte == '\\';
}

bool IsSeparatorOrColon(char byte)
{
    return IsSeparator(byte) || byte == ':';
}

} // namespace

CString::CString(const char* text)
{
    Assign(text, Length(text));
}

CString::CString(const char* text, std::uint32_t count)
{
    Assign(text, BoundedLength(text, count));
}

CString::CString(const CString& other)
{
    Assign(other, other.length_);
}

CString::CString(std::uint32_t size)
{
    Reserve(size);
}

CString::CString(LPCWSTR text)
{
    AssignWide(text);
}

CString::CString(const std::basic_string<WCHAR>& text)
{
    AssignWide(text.c_str());
}

// The size is wider than a size can be, so that no sum of a caller wraps around.
bool CString::MakeRoom(std::uint64_t size)
{
    if (size <= capacity_) {
        return text_ != nullptr;
    }
    const std::uint64_t capacity = (size + BLOCK_STEP - 1) / BLOCK_STEP * BLOCK_STEP;
    auto* const block = static_cast<char*>(AllocateSummed(capacity));
    if (block == nullptr) {
        return false;
    }
    if (text_ != nullptr) {
        std::memcpy(block, text_, length_);
        FreeMemory(text_);
    }
    block[length_] = 0;
    text_ = block;
    capacity_ = static_cast<std::uint32_t>(capacity);
    return true;
}

void CString::Reserve(std::uint32_t size)
{
    static_cast<void>(MakeRoom(size));
}

void CString::SetLength(std::uint32_t length)
{
    length_ = length;
    text_[length] = 0;
    hash_ = 0;
}

void CString::Clear()
{
    if (text_ != nullptr) {
        SetLength(0);
    }
    hash_ = 0;
}

void CString::Free()
{
    Clear();
    FreeMemory(text_);
    text_ = nullptr;
    capacity_ = 0;
}

char* CString::GetBuffer(std::uint32_t size)
{
    if (!MakeRoom(size)) {
        return nullptr;
    }
    hash_ = 0;
    return text_;
}

void CString::ReleaseBuffer(std::uint32_t newLength)
{
    if (newLength < capacity_) {
        length_ = newLength;
        text_[newLength] = 0;
    }
}

bool CString::Owns(const char* text) const
{
    const std::less<> before;
    return text_ != nullptr && !before(text, text_) && before(text, text_ + capacity_);
}

// A part of the own text already has its room, and moves to the front in place.
void CString::Assign(const char* text, std::uint32_t count)
{
    if (count == 0) {
        Clear();
        return;
    }
    if (text == text_) {
        if (text_ != nullptr && count <= length_) {
            SetLength(count);
        }
        return;
    }
    if (Owns(text) || MakeRoom(std::uint64_t{count} + 1)) {
        std::memmove(text_, text, count);
        SetLength(count);
    }
}

void CString::Assign(const CString& other, std::uint32_t count)
{
    Assign(other.CStr(), count);
}

CString& CString::operator=(const char* text)
{
    Assign(text, Length(text));
    return *this;
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): Assign takes a source in the own block.
CString& CString::operator=(const CString& other)
{
    Assign(other, other.length_);
    return *this;
}

void CString::AssignWide(LPCWSTR text)
{
    const int count =
        text != nullptr ? WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr) : 0;
    if (count > 0 && !MakeRoom(static_cast<std::uint32_t>(count))) {
        return;
    }
    Clear();
    if (count <= 0) {
        return;
    }
    const int room = static_cast<int>(std::min<std::uint32_t>(capacity_, INT32_MAX));
    const int written = WideCharToMultiByte(CP_UTF8, 0, text, -1, text_, room, nullptr, nullptr);
    SetLength(written > 0 ? static_cast<std::uint32_t>(written) - 1 : 0);
}

CString& CString::operator=(LPCWSTR text)
{
    AssignWide(text);
    return *this;
}

CString& CString::operator=(const std::basic_string<WCHAR>& text)
{
    AssignWide(text.c_str());
    return *this;
}

void CString::Append(const char* text, std::uint32_t count)
{
    if (count == 0) {
        return;
    }
    const bool own = Owns(text);
    const std::size_t offset = own ? static_cast<std::size_t>(text - text_) : 0;
    if (!MakeRoom(std::uint64_t{length_} + count + 1)) {
        return;
    }
    std::memmove(text_ + length_, own ? text_ + offset : text, count);
    SetLength(length_ + count);
}

void CString::Append(const char* text)
{
    Append(text, Length(text));
}

void CString::Append(const CString& other)
{
    Append(other, other.length_);
}

void CString::Append(const CString& other, std::uint32_t count)
{
    Append(other.CStr(), count);
}

CString& CString::operator+=(const CString& other)
{
    Append(other);
    return *this;
}

void CString::Prepend(const char* text, std::uint32_t count)
{
    const std::uint32_t added = BoundedLength(text, count);
    const std::uint64_t whole = std::uint64_t{added} + length_;
    CString joined;
    if (whole != 0 && !joined.MakeRoom(whole + 1)) {
        return;
    }
    joined.Append(text, added);
    joined.Append(*this);
    Swap(joined);
}

void CString::Prepend(const char* text)
{
    Prepend(text, Length(text));
}

void CString::Prepend(const CString& other)
{
    Prepend(other, other.length_);
}

void CString::Prepend(const CString& other, std::uint32_t count)
{
    Prepend(other.CStr(), count);
}

void CString::AppendFormat(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    AppendFormatV(format, arguments);
    va_end(arguments);
}

void CString::AppendFormatV(const char* format, std::va_list arguments)
{
    if (format == nullptr || text_ == nullptr) {
        return;
    }
    const std::uint32_t room = capacity_ - length_ - 1;
    text_[capacity_ - 1] = '#'; // becomes the terminator of a text that is cut
    const int result = _vsnprintf_s(text_ + length_, std::size_t{room} + 1, _TRUNCATE, format, arguments);
    const bool cut = result < 0 && text_[capacity_ - 1] == 0;
    const std::uint32_t added = cut ? room : static_cast<std::uint32_t>(std::max(result, 0));
    if (added != 0) {
        SetLength(length_ + added);
    }
    text_[length_] = 0;
}

void CString::Format(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    FormatV(format, arguments);
    va_end(arguments);
}

void CString::FormatV(const char* format, std::va_list arguments)
{
    Clear();
    AppendFormatV(format, arguments);
}

std::uint32_t CString::Find(const char* needle, std::uint32_t start) const
{
    if (start >= length_) {
        return NOT_FOUND;
    }
    return PositionOf(FindBytes(text_ + start, length_ - start, OrEmpty(needle), Length(needle)), text_);
}

std::uint32_t CString::Find(const CString& needle, std::uint32_t start) const
{
    return Find(needle.CStr(), start);
}

std::uint32_t CString::FindChar(char byte) const
{
    return text_ != nullptr ? PositionOf(std::strchr(text_, byte), text_) : NOT_FOUND;
}

std::uint32_t CString::ReverseFindChar(char byte) const
{
    return text_ != nullptr ? PositionOf(std::strrchr(text_, byte), text_) : NOT_FOUND;
}

std::uint32_t CString::FindFirstNotOf(char byte) const
{
    for (std::uint32_t i = 0; i < length_; ++i) {
        if (text_[i] != byte) {
            return i;
        }
    }
    return NOT_FOUND;
}

std::uint32_t CString::FindLastNotOf(char byte) const
{
    for (std::uint32_t i = length_; i-- > 0;) {
        if (text_[i] != byte) {
            return i;
        }
    }
    return NOT_FOUND;
}

bool CString::Contains(const CString& needle) const
{
    return text_ != nullptr && std::strstr(text_, needle.CStr()) != nullptr;
}

bool CString::StartsWithNoCase(const char* prefix, std::uint32_t count) const
{
    return length_ >= count && _strnicmp(CStr(), OrEmpty(prefix), count) == 0;
}

bool CString::StartsWithNoCase(const CString& prefix) const
{
    return StartsWithNoCase(prefix.CStr(), prefix.length_);
}

bool CString::EndsWithNoCase(const char* suffix, std::uint32_t count) const
{
    return length_ >= count && _strnicmp(CStr() + length_ - count, OrEmpty(suffix), count) == 0;
}

bool CString::EndsWithNoCase(const CString& suffix) const
{
    return EndsWithNoCase(suffix.CStr(), suffix.length_);
}

void CString::Remove(char byte)
{
    if (length_ == 0) {
        return;
    }
    char* const end = std::remove(text_, text_ + std::strlen(text_), byte);
    *end = 0;
    length_ = static_cast<std::uint32_t>(end - text_);
}

void CString::Replace(char oldByte, char newByte)
{
    if (length_ != 0) {
        ReplaceChar(text_, oldByte, newByte);
    }
}

void CString::ReplaceFirst(const CString& from, const CString& to)
{
    const std::uint32_t position = Find(from, 0);
    if (position == NOT_FOUND) {
        return;
    }
    const std::uint64_t end = std::min<std::uint64_t>(std::uint64_t{position} + from.length_, length_);
    const char* const right = text_ + end;
    const std::uint32_t leftLength = BoundedLength(text_, position);
    const std::uint32_t middleLength = Length(to.CStr());
    const std::uint32_t rightLength = BoundedLength(right, length_);
    CString replaced;
    if (!replaced.MakeRoom(std::uint64_t{leftLength} + middleLength + rightLength + 1)) {
        return;
    }
    replaced.Append(text_, leftLength);
    replaced.Append(to.CStr(), middleLength);
    replaced.Append(right, rightLength);
    *this = replaced;
}

void CString::MakeLower()
{
    if (text_ != nullptr) {
        _strlwr_s(text_, std::size_t{length_} + 1);
    }
}

CString CString::Mid(std::uint32_t start, std::uint32_t count) const
{
    return start < length_ ? CString(text_ + start, count) : CString();
}

CString CString::Trim() const
{
    CString trimmed;
    static_cast<void>(trimmed.AssignTrimmed(CStr(), length_));
    return trimmed;
}

// Of the bytes without the blanks at both ends what comes before a zero; nothing but blanks stays. False
// where there is no memory.
bool CString::AssignTrimmed(const char* text, std::uint32_t count)
{
    const std::string_view whole(text, count);
    const std::size_t first = whole.find_first_not_of(' ');
    std::string_view trimmed = whole;
    if (first != std::string_view::npos) {
        trimmed = whole.substr(first, whole.find_last_not_of(' ') + 1 - first);
    }
    const std::uint32_t length = BoundedLength(trimmed.data(), static_cast<std::uint32_t>(trimmed.size()));
    Assign(trimmed.data(), length);
    return length_ == length;
}

CString& CString::AddTrailingSeparator()
{
    if (length_ != 0 && !IsSeparatorOrColon(text_[length_ - 1])) {
        Append("\\", 1);
    }
    return *this;
}

CString& CString::RemoveTrailingSeparator()
{
    if (length_ != 0 && IsSeparator(text_[length_ - 1])) {
        Assign(text_, BoundedLength(text_, length_ - 1));
    }
    return *this;
}

void CString::ComputeHash()
{
    hash_ = HashTextPath(text_);
}

bool operator<(const CString& a, const CString& b)
{
    return Compare(a, b) < 0;
}

bool EqualsNoCase(const CString& a, const CString& b)
{
    return EqualBytesNoCase(a.CStr(), a.GetLength(), b.CStr(), b.GetLength());
}

int Compare(const CString& a, const CString& b)
{
    return std::strcmp(a.CStr(), b.CStr());
}

std::istream& operator>>(std::istream& stream, CString& string)
{
    std::string joined;
    while (stream.good()) {
        std::string word;
        stream >> word;
        joined += word;
        if (!stream.eof()) {
            joined += ' ';
        }
    }
    string.Assign(joined.data(), static_cast<std::uint32_t>(joined.size()));
    return stream;
}

char* AddTrailingBackslash(char* buffer, std::uint32_t size)
{
    if (buffer == nullptr || size == 0) {
        return buffer;
    }
    const std::uint32_t length = BoundedLength(buffer, size);
    const bool hasRoom = size - length > 1;
    if (length != 0 && hasRoom && !IsSeparatorOrColon(buffer[length - 1])) {
        buffer[length] = '\\';
        buffer[length + 1] = 0;
    }
    return buffer;
}

char* ToBackslashes(char* text)
{
    ReplaceChar(text, '/', '\\');
    return text;
}

} // namespace Plinth
