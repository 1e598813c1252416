// What the formatters share: the output, the reading of a format and of its arguments, padded fields.
//
// A bad text pointer may end a formatter by a jump out of it, so nothing here takes memory or needs a
// destructor.
#pragma once

#include "Platform/Host/Api/Types.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <optional>
#include <span>
#include <string_view>
#include <type_traits>

namespace Platform::Host {

// va_list is an array on some hosts and loses its identity as a parameter; a structure keeps it.
struct FormatArguments {
    std::va_list list;
};

enum class ArgumentSize { Int, Wide, Narrow, Pointer, Int64 };

struct FormatSpec {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool alternate = false;
    bool zeros = false;
    std::size_t width = 0;
    std::optional<std::size_t> precision;
    ArgumentSize size = ArgumentSize::Int;
};

// The caller's buffer. What goes beyond its capacity is counted but not stored; without a buffer all is
// counted.
template <typename Unit>
class FormatOutput {
public:
    FormatOutput(Unit* buffer, std::size_t capacity) : buffer_(buffer), capacity_(capacity) {}

    [[nodiscard]] std::size_t Length() const { return length_; }
    [[nodiscard]] bool Cut() const { return length_ > capacity_; }
    [[nodiscard]] std::size_t Room() const { return capacity_ - std::min(length_, capacity_); }

    void Fill(std::size_t count, char unit)
    {
        if (buffer_ != nullptr) {
            std::fill_n(End(), std::min(count, Room()), static_cast<Unit>(unit));
        }
        length_ += count;
    }

    template <typename Source>
    void Put(std::basic_string_view<Source> text)
    {
        if (buffer_ != nullptr) {
            Store(text.substr(0, Room()));
        }
        length_ += text.size();
    }

    // The buffer has room for it behind the capacity.
    void Terminate() { *End() = 0; }

private:
    Unit* End() const { return buffer_ + std::min(length_, capacity_); }

    template <typename Source>
    void Store(std::basic_string_view<Source> text)
    {
        if constexpr (std::is_same_v<Source, Unit>) {
            text.copy(End(), text.size());
        } else {
            std::transform(text.begin(), text.end(), End(), [](Source unit) {
                return static_cast<Unit>(static_cast<std::make_unsigned_t<Source>>(unit));
            });
        }
    }

    Unit* buffer_;
    std::size_t capacity_;
    std::size_t length_ = 0;
};

// Goes past the token if the format goes on with it.
template <typename Unit>
bool Take(const Unit*& format, std::string_view token)
{
    const Unit* at = format;
    for (const char character : token) {
        if (*at++ != static_cast<Unit>(character)) {
            return false;
        }
    }
    format = at;
    return true;
}

template <typename Unit>
std::uint32_t TakeNumber(const Unit*& format, std::uint32_t most)
{
    std::uint64_t number = 0;
    for (; *format >= '0' && *format <= '9'; ++format) {
        number = std::min<std::uint64_t>(number * 10 + static_cast<unsigned>(*format - '0'), most);
    }
    return static_cast<std::uint32_t>(number);
}

// Goes past what stands between conversions.
template <typename Unit>
std::basic_string_view<Unit> TakePlainText(const Unit*& format)
{
    const Unit* const start = format;
    while (*format != 0 && *format != '%') {
        ++format;
    }
    return {start, static_cast<std::size_t>(format - start)};
}

// The types are the argument's by its size, the last one also the result's.
template <typename Int, typename Pointer, typename Int64>
Int64 TakeInteger(const FormatSpec& spec, FormatArguments& arguments)
{
    switch (spec.size) {
    case ArgumentSize::Int64:
        return va_arg(arguments.list, Int64);
    case ArgumentSize::Pointer:
        return va_arg(arguments.list, Pointer);
    default:
        return va_arg(arguments.list, Int);
    }
}

inline std::int64_t TakeSigned(const FormatSpec& spec, FormatArguments& arguments)
{
    return TakeInteger<std::int32_t, std::intptr_t, std::int64_t>(spec, arguments);
}

inline std::uint64_t TakeUnsigned(const FormatSpec& spec, FormatArguments& arguments)
{
    return TakeInteger<std::uint32_t, std::uintptr_t, std::uint64_t>(spec, arguments);
}

template <typename Int>
std::make_unsigned_t<Int> Magnitude(Int value)
{
    const auto bits = static_cast<std::make_unsigned_t<Int>>(value);
    return value < 0 ? 0 - bits : bits;
}

// Whether a text or character argument is wide: by its size, or else by its conversion.
inline bool IsWideArgument(const FormatSpec& spec, bool wideConversion)
{
    return spec.size == ArgumentSize::Wide || (spec.size != ArgumentSize::Narrow && wideConversion);
}

// Reads no further than the precision.
template <typename Unit>
std::basic_string_view<Unit> TextArgument(const Unit* text, const FormatSpec& spec)
{
    if (!spec.precision) {
        return text;
    }
    std::size_t length = 0;
    while (length < *spec.precision && text[length] != 0) {
        ++length;
    }
    return {text, length};
}

// The digits lie in the caller's room, which holds a 64-bit number of base 8 and up.
using DigitRoom = std::span<char, 24>;

inline std::string_view ToDigits(DigitRoom room, std::uint64_t value, int base, bool capitals)
{
    char* const end = std::to_chars(room.data(), room.data() + room.size(), value, base).ptr;
    if (capitals) {
        std::transform(room.data(), end, room.data(), [](char digit) {
            return digit >= 'a' ? static_cast<char>(digit - 'a' + 'A') : digit;
        });
    }
    return {room.data(), static_cast<std::size_t>(end - room.data())};
}

inline std::size_t Missing(std::size_t length, std::size_t wanted)
{
    return wanted > length ? wanted - length : 0;
}

// Surrounds what `put` writes, so many characters, with blanks up to the width.
template <typename Unit, typename Body>
void PutPadded(FormatOutput<Unit>& output, const FormatSpec& spec, std::size_t length, Body put)
{
    const std::size_t padding = Missing(length, spec.width);
    output.Fill(spec.left ? 0 : padding, ' ');
    put();
    output.Fill(spec.left ? padding : 0, ' ');
}

template <typename Unit, typename Source>
void PutField(FormatOutput<Unit>& output, const FormatSpec& spec, std::string_view prefix, std::size_t zeros,
              std::basic_string_view<Source> body)
{
    PutPadded(output, spec, prefix.size() + zeros + body.size(), [&] {
        output.Put(prefix);
        output.Fill(zeros, '0');
        output.Put(body);
    });
}

} // namespace Platform::Host
