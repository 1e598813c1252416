// The text form of the configuration document: what Parse reads and WriteText writes.
#include "Plinth/Config/CIniFileImpl.h"
#include "Plinth/Streams/CMemoryStream.h"

#include <array>
#include <cstring>
#include <string_view>

namespace Plinth {

namespace {

using namespace std::string_view_literals;

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

constexpr ByteSet BytesNotIn(std::string_view bytes)
{
    ByteSet set = BytesIn(bytes);
    for (bool& isIn : set) {
        isIn = !isIn;
    }
    return set;
}

constexpr ByteSet KEY_BYTES = BytesIn("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_");
constexpr ByteSet VALUE_BYTES = BytesNotIn("\r\n;");
constexpr ByteSet VALUE_BYTES_BUT_ZERO = BytesNotIn("\r\n;\0"sv);

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
    copy.Resize((size - 1) / 2 + 2, true);
    for (std::uint32_t i = 0; i < units; ++i) {
        copy.GetData()[i] = text.GetData()[2 + std::size_t{i} * 2];
    }
    text.SetPosition(2 + units * 2);
}

// What is left of the stream, which goes to its end.
std::string_view TakeRest(CMemoryStream& text)
{
    const char* const bytes = reinterpret_cast<const char*>(text.GetData());
    const std::uint32_t position = text.GetPosition();
    text.SetPosition(text.GetSize());
    return {bytes + position, text.GetSize() - position};
}

// One forward scan of a text. Names and values end at their first zero.
class Scan {
public:
    Scan(CIniFileImpl& document, std::string_view text)
        : document_(document), position_(text.data()), end_(position_ + text.size())
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
        const char* const begin = position_ + 1;
        position_ = Find(begin, ']');
        if (position_ < end_) {
            const std::string_view name(begin, position_);
            section_ = &document_.AddSection(name.substr(0, name.find('\0')));
        }
    }

    // To the line feed of its line, or behind its carriage return.
    void SkipComment()
    {
        do {
            ++position_;
        } while (position_ < end_ && *position_ != '\n' && position_[-1] != '\r');
    }

    // Of a key that the text ends with nothing is kept.
    void ReadKey()
    {
        const char* const begin = position_;
        SkipWhile(KEY_BYTES);
        if (position_ == end_) {
            return;
        }
        const std::string_view key(begin, position_);
        if (*position_ != '=') {
            position_ = Find(position_, '=');
        }
        position_ += position_ < end_ ? 1 : 0;
        document_.SetValue(*section_, key, ReadValue());
    }

    // To the line feed, or to the byte behind a carriage return.
    std::string_view ReadValue()
    {
        const char* const begin = position_;
        SkipWhile(VALUE_BYTES_BUT_ZERO);
        const std::string_view value(begin, position_);
        SkipWhile(VALUE_BYTES);
        if (position_ < end_ && *position_ == ';') {
            SkipComment();
        } else if (position_ < end_ && *position_ == '\r') {
            ++position_;
        }
        return value;
    }

    void SkipWhile(const ByteSet& bytes)
    {
        while (position_ < end_ && IsIn(bytes, *position_)) {
            ++position_;
        }
    }

    [[nodiscard]] const char* Find(const char* from, char byte) const
    {
        const void* const found = std::memchr(from, byte, static_cast<std::size_t>(end_ - from));
        return found != nullptr ? static_cast<const char*>(found) : end_;
    }

    CIniFileImpl& document_;
    KeyMap* section_ = nullptr; // of the latest header
    const char* position_;
    const char* const end_;
};

} // namespace

void CIniFileImpl::Parse(CMemoryStream& text)
{
    Clear();
    CMemoryStream narrowed;
    const bool isWide = IsWideText(text);
    if (isWide) {
        NarrowInto(narrowed, text);
    }
    try {
        Scan(*this, TakeRest(isWide ? narrowed : text)).Run();
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
