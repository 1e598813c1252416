// UTF-8 and UTF-16, for the platform's two functions and for the layer's own texts.
#include "Platform/Host/Api/TextConversion.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Utf.h"

#include <algorithm>
#include <cstring>

namespace Platform::Host {

namespace {

constexpr char32_t REPLACEMENT = 0xFFFD;

struct Decoded {
    char32_t codePoint;
    std::size_t length; // units of the source that it stands for, at least 1
};

bool IsContinuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

bool IsHighSurrogate(char32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(char32_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// The bytes that a sequence with this first byte has; 1 for a byte that begins none.
std::size_t SequenceLength(unsigned char first)
{
    if (first >= 0xC2 && first <= 0xDF) {
        return 2;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        return 3;
    }
    return first >= 0xF0 && first <= 0xF4 ? 4 : 1;
}

// Whether these first two bytes begin nothing but overlong forms, surrogates and values past the last one.
bool IsBadStart(unsigned char first, unsigned char second)
{
    switch (first) {
    case 0xE0:
        return second < 0xA0;
    case 0xED:
        return second > 0x9F;
    case 0xF0:
        return second < 0x90;
    case 0xF4:
        return second > 0x8F;
    default:
        return false;
    }
}

// An ill-formed sequence is replaced as the platform does it. One that the end of the text cuts off swallows
// all that is left, whatever it is; a bad start stands for its two bytes, anything else for the bytes up to
// the first that is no continuation.
Decoded DecodeMultibyte(const unsigned char* source, std::size_t left)
{
    const std::size_t length = SequenceLength(source[0]);
    if (length == 1) {
        return {REPLACEMENT, 1};
    }
    if (length > left) {
        return {REPLACEMENT, left};
    }
    char32_t value = source[0] & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (!IsContinuation(source[i])) {
            return {REPLACEMENT, i};
        }
        if (i == 1 && IsBadStart(source[0], source[1])) {
            return {REPLACEMENT, 2};
        }
        value = value << 6 | (source[i] & 0x3Fu);
    }
    return {value, length};
}

Decoded DecodeUtf8(const char* source, std::size_t left)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(source);
    return bytes[0] < 0x80 ? Decoded{bytes[0], 1} : DecodeMultibyte(bytes, left);
}

// Three bytes that hold a surrogate: well-formed nowhere but in the host's own texts.
bool IsEncodedSurrogate(std::string_view text)
{
    return text.size() >= 3 && text[0] == '\xED' && (text[1] & '\xE0') == '\xA0' &&
           IsContinuation(static_cast<unsigned char>(text[2]));
}

// The code point at the text's start; an unpaired surrogate is itself.
Decoded DecodeUtf16(const WCHAR* source, std::size_t left)
{
    const char32_t first = source[0];
    if (IsHighSurrogate(first) && left > 1 && IsLowSurrogate(source[1])) {
        return {0x10000 + ((first - 0xD800) << 10) + (source[1] - 0xDC00u), 2};
    }
    return {first, 1};
}

struct Utf16Units {
    WCHAR units[2];
    std::size_t count;
};

Utf16Units EncodeUtf16(char32_t codePoint)
{
    if (codePoint < 0x10000) {
        return {{static_cast<WCHAR>(codePoint), 0}, 1};
    }
    const char32_t rest = codePoint - 0x10000;
    return {{static_cast<WCHAR>(0xD800 + (rest >> 10)), static_cast<WCHAR>(0xDC00 + (rest & 0x3FF))}, 2};
}

// The code point at the text's start, which is taken away from it.
Utf16Units TakeFromHost(std::string_view& text)
{
    Decoded next = DecodeUtf8(text.data(), text.size());
    if (IsEncodedSurrogate(text)) {
        const auto bits = [text](std::size_t i) { return static_cast<unsigned char>(text[i]) & 0x3Fu; };
        next = {0xD000u | bits(1) << 6 | bits(2), 3};
    }
    text.remove_prefix(next.length);
    return EncodeUtf16(next.codePoint);
}

struct Utf8Bytes {
    char bytes[4];
    std::size_t count;
};

Utf8Bytes EncodeUtf8(char32_t codePoint)
{
    const auto continuation = [codePoint](unsigned shift) {
        return static_cast<char>(0x80 | (codePoint >> shift & 0x3F));
    };
    if (codePoint < 0x80) {
        return {{static_cast<char>(codePoint)}, 1};
    }
    if (codePoint < 0x800) {
        return {{static_cast<char>(0xC0 | codePoint >> 6), continuation(0)}, 2};
    }
    if (codePoint < 0x10000) {
        return {{static_cast<char>(0xE0 | codePoint >> 12), continuation(6), continuation(0)}, 3};
    }
    return {{static_cast<char>(0xF0 | codePoint >> 18), continuation(12), continuation(6), continuation(0)},
            4};
}

bool IsSurrogate(char32_t codePoint)
{
    return IsHighSurrogate(codePoint) || IsLowSurrogate(codePoint);
}

// Collects converted units in the caller's buffer, or only counts them where the buffer's length is 0.
template <typename Unit>
class Output {
public:
    Output(Unit* buffer, int length) : buffer_(buffer), room_(static_cast<std::size_t>(length)) {}

    // False when there is no room; what was stored before stays.
    bool Put(const Unit* units, std::size_t count)
    {
        if (room_ != 0) {
            if (count > room_ - count_) {
                return false;
            }
            std::memcpy(buffer_ + count_, units, count * sizeof(Unit));
        }
        count_ += count;
        return true;
    }

    [[nodiscard]] int Count() const { return static_cast<int>(count_); }

private:
    Unit* buffer_;
    std::size_t room_;
    std::size_t count_ = 0;
};

bool ArgumentsAreValid(UINT codePage, const void* source, int sourceLength, const void* destination,
                       int destinationLength)
{
    return codePage == CP_UTF8 && source != nullptr && sourceLength != 0 && destinationLength >= 0 &&
           (destination != nullptr || destinationLength == 0);
}

} // namespace

std::string ToHost(std::u16string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Decoded next = DecodeUtf16(text.data(), text.size());
        const Utf8Bytes encoded = EncodeUtf8(next.codePoint);
        result.append(encoded.bytes, encoded.count);
        text.remove_prefix(next.length);
    }
    return result;
}

std::u16string FromHost(std::string_view text)
{
    const auto isOther = [](char byte) { return (byte & '\x80') != 0; };
    const auto plain =
        static_cast<std::size_t>(std::find_if(text.begin(), text.end(), isOther) - text.begin());
    std::u16string result;
    result.reserve(text.size());
    result.assign(plain, u'\0');
    std::copy_n(text.begin(), plain, result.begin());
    text.remove_prefix(plain);
    while (!text.empty()) {
        const Utf16Units encoded = TakeFromHost(text);
        result.append(encoded.units, encoded.count);
    }
    return result;
}

std::size_t FromHost(std::string_view text, char16_t* units, std::size_t room)
{
    std::size_t count = 0;
    while (!text.empty()) {
        const Utf16Units encoded = TakeFromHost(text);
        if (encoded.count > room - count) {
            break;
        }
        std::copy_n(encoded.units, encoded.count, units + count);
        count += encoded.count;
    }
    return count;
}

} // namespace Platform::Host

using namespace Platform::Host;

int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH source, int sourceLength, LPWSTR destination,
                               int destinationLength)
{
    if (GateStops("MultiByteToWideChar")) {
        return 0;
    }
    if (!ArgumentsAreValid(codePage, source, sourceLength, destination, destinationLength)) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    if (flags != 0) {
        return Fail(ERROR_INVALID_FLAGS);
    }
    std::size_t left = sourceLength < 0 ? std::strlen(source) + 1 : static_cast<std::size_t>(sourceLength);
    Output output(destination, destinationLength);
    while (left != 0) {
        const Decoded next = DecodeUtf8(source, left);
        const Utf16Units encoded = EncodeUtf16(next.codePoint);
        if (!output.Put(encoded.units, encoded.count)) {
            return Fail(ERROR_INSUFFICIENT_BUFFER);
        }
        source += next.length;
        left -= next.length;
    }
    return output.Count();
}

int WINAPI WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH source, int sourceLength, LPSTR destination,
                               int destinationLength, LPCCH defaultChar, LPBOOL usedDefaultChar)
{
    if (GateStops("WideCharToMultiByte")) {
        return 0;
    }
    if (!ArgumentsAreValid(codePage, source, sourceLength, destination, destinationLength) ||
        defaultChar != nullptr || usedDefaultChar != nullptr) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    if (flags != 0) {
        return Fail(ERROR_INVALID_FLAGS);
    }
    auto left = static_cast<std::size_t>(sourceLength);
    if (sourceLength < 0) {
        left = std::char_traits<WCHAR>::length(source) + 1;
    }
    Output output(destination, destinationLength);
    while (left != 0) {
        const Decoded next = DecodeUtf16(source, left);
        const Utf8Bytes encoded = EncodeUtf8(IsSurrogate(next.codePoint) ? REPLACEMENT : next.codePoint);
        if (!output.Put(encoded.bytes, encoded.count)) {
            return Fail(ERROR_INSUFFICIENT_BUFFER);
        }
        source += next.length;
        left -= next.length;
    }
    return output.Count();
}
