// The text form of the configuration document: what Parse reads and WriteText writes.
#include "Plinth/Config/CIniFileImpl.h"
#include "Plinth/Streams/CMemoryStream.h"

#include <array>
#include <cstring>
#include <string_view>

namespace Plinth {

namespace {

// Which bytes are of one kind.
using ByteSet = std::array<bool, 256>;

constexpr ByteSet BytesIn(std::string_view bytes)
{
    ByteSet set{};
    for (const char byte : bytes) {
        set[static_cast<unsigned char>(byte)] = true;
    }
    return set;
}

constexpr ByteSet KEY_BYTES = BytesIn("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_");
constexpr ByteSet VALUE_ENDS = BytesIn("\r\n;");
constexpr ByteSet VALUE_ENDS_AND_ZERO = BytesIn({"\r\n;", 4});

bool IsIn(const ByteSet& set, char byte)
{
    return set[static_cast<unsigned char>(byte)];
}

bool IsWideText(CMemoryStream& text)
{
    return text.GetSize() >= 2 && text.GetData()[0] == 0xFF && text.GetData()[1] == 0xFE;
}

// The low bytes of the units behind the byte-order mark, and two or three zeros.
void NarrowInto(CMemoryStream& copy, CMemoryStream& text)
{
    const std::uint32_t size = text.GetSize();
    const std::uint32_t units = (size - 2) / 2;
    const std::uint32_t copySize = (size - 1) / 2 + 2;
    copy.Reserve(copySize + 1);
    copy.Resize(copySize, true);
    for (std::uint32_t i = 0; i < units; ++i) {
        copy.GetData()[i] = text.GetData()[2 + std::size_t{i} * 2];
    }
    text.SetPosition(2 + units * 2);
}

// A text that stands behind its beginning gives fewer bytes than its size; the others read as zeros.
void CopyInto(CMemoryStream& copy, CMemoryStream& text)
{
    const std::uint32_t count = copy.CopyFrom(text, 2, true);
    std::memset(copy.GetData() + count, 0, copy.GetSize() - count);
}

// One forward scan, which cuts names and values out of the text by zeros.
class Scan {
public:
    Scan(CIniFileImpl& document, char* text, std::uint32_t size)
        : document_(document), position_(text), end_(text + size)
    {
    }

    void Run()
    {
        for (; position_ < end_; ++position_) {
            if (*position_ == '[') {
                ReadHeader();
            } else if (*position_ == ';') {
                SkipComment();
            }
            if (section_ != nullptr && position_ < end_ && IsIn(KEY_BYTES, *position_)) {
                ReadKey();
            }
        }
    }

private:
    // To the closing bracket, or to the end of the text.
    void ReadHeader()
    {
        char* const name = position_ + 1;
        position_ = Find(name, ']');
        if (position_ < end_) {
            *position_ = 0;
            section_ = &document_.AddSection(name);
        }
    }

    // To the line feed of its line, or behind its carriage return.
    void SkipComment()
    {
        do {
            ++position_;
        } while (position_ < end_ && *position_ != '\n' && position_[-1] != '\r');
    }

    void ReadKey()
    {
        const char* const key = position_;
        while (position_ < end_ && IsIn(KEY_BYTES, *position_)) {
            ++position_;
        }
        if (position_ == end_) {
            return;
        }
        char* const keyEnd = position_;
        if (*keyEnd != '=') {
            position_ = Find(keyEnd, '=');
        }
        position_ += position_ < end_ ? 1 : 0;
        *keyEnd = 0;
        document_.SetValue(*section_, {key, keyEnd}, ReadValue());
    }

    // To the line feed, or behind the byte that follows a carriage return.
    std::string_view ReadValue()
    {
        const char* const begin = position_;
        SkipTo(VALUE_ENDS_AND_ZERO);
        const std::string_view value(begin, position_);
        SkipTo(VALUE_ENDS);
        const char ending = position_ < end_ ? *position_ : '\0';
        *position_ = 0;
        if (ending == ';') {
            SkipComment();
        } else if (ending == '\r') {
            ++position_;
        }
        return value;
    }

    void SkipTo(const ByteSet& bytes)
    {
        while (position_ < end_ && !IsIn(bytes, *position_)) {
            ++position_;
        }
    }

    [[nodiscard]] char* Find(char* from, char byte) const
    {
        void* const found = std::memchr(from, byte, static_cast<std::size_t>(end_ - from));
        return found != nullptr ? static_cast<char*>(found) : end_;
    }

    CIniFileImpl& document_;
    KeyMap* section_ = nullptr; // of the latest header
    char* position_;
    char* const end_; // a byte that may be written
};

} // namespace

void CIniFileImpl::Parse(CMemoryStream& text)
{
    Clear();
    CMemoryStream copy;
    if (IsWideText(text)) {
        NarrowInto(copy, text);
    } else {
        CopyInto(copy, text);
    }
    try {
        Scan(*this, reinterpret_cast<char*>(copy.GetData()), copy.GetSize()).Run();
    } catch (...) {
        Clear();
        throw;
    }
}

namespace {

char* PutBytes(char* to, const char* bytes, std::size_t count)
{
    std::memcpy(to, bytes, count);
    return to + count;
}

char* Put(char* to, const CString& text)
{
    return PutBytes(to, text.CStr(), text.GetLength());
}

char* PutSection(char* to, const CString& name, const KeyMap& keys)
{
    *to++ = '[';
    to = Put(to, name);
    to = PutBytes(to, "]\r\n", 3);
    keys.ForEach([&to](const KeyMap::Entry& key) {
        to = Put(to, key.name);
        to = PutBytes(to, " = ", 3);
        to = Put(to, key.content);
        to = PutBytes(to, "\r\n", 2);
    });
    return to;
}

} // namespace

void CIniFileImpl::WriteText(CMemoryStream& text) const
{
    text.SetCapacity(textSize);
    char* const begin = reinterpret_cast<char*>(text.GetData());
    char* to = begin;
    std::uint32_t written = 0;
    sections.ForEach([&](const SectionMap::Entry& section) {
        if (section.content.GetCount() == 0) {
            return;
        }
        to = PutSection(to, section.name, section.content);
        if (++written < sections.GetCount()) {
            to = PutBytes(to, "\r\n", 2);
        }
    });
    text.Resize(static_cast<std::uint32_t>(to - begin), false);
}

} // namespace Plinth
