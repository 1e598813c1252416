// wsprintfW. Its dialect is smaller and stranger than the C library's; each rule here was read off the
// platform.
#include "Platform/Host/Api/RuntimeFormatting.h"
#include "Platform/Host/Gate.h"

#include <algorithm>
#include <cstdarg>
#include <string>
#include <string_view>
#include <type_traits>

namespace Platform::Host {

namespace {

constexpr std::size_t OUTPUT_SIZE = 1024; // characters of the caller's buffer, terminator included

enum class ArgumentSize { Int, Wide, Narrow, Pointer, Int64 };

struct FormatSpec {
    bool left = false;
    bool prefix = false;
    bool zeros = false;
    std::size_t width = 0;
    std::size_t precision = 0; // 0: none
    ArgumentSize size = ArgumentSize::Int;
};

// The caller's buffer. What goes beyond it is counted but not stored.
class Output {
public:
    explicit Output(LPWSTR buffer) : buffer_(buffer) {}

    void Put(WCHAR unit)
    {
        if (length_ < OUTPUT_SIZE - 1) {
            buffer_[length_] = unit;
        }
        ++length_;
    }

    void Fill(std::size_t count, WCHAR unit)
    {
        for (; count != 0; --count) {
            Put(unit);
        }
    }

    template <typename Unit>
    void Put(std::basic_string_view<Unit> text)
    {
        for (Unit unit : text) {
            Put(static_cast<WCHAR>(static_cast<std::make_unsigned_t<Unit>>(unit)));
        }
    }

    // The platform takes a text as cut that leaves room for the terminator and for nothing more.
    int Finish()
    {
        const bool cut = length_ >= OUTPUT_SIZE - 1;
        buffer_[std::min(length_, OUTPUT_SIZE - 1)] = 0;
        return static_cast<int>(cut ? OUTPUT_SIZE : length_);
    }

private:
    LPWSTR buffer_;
    std::size_t length_ = 0;
};

bool Take(LPCWSTR& format, std::u16string_view token)
{
    if (std::char_traits<WCHAR>::compare(format, token.data(), token.size()) != 0) {
        return false;
    }
    format += token.size();
    return true;
}

std::size_t TakeNumber(LPCWSTR& format)
{
    std::size_t number = 0;
    for (; *format >= u'0' && *format <= u'9'; ++format) {
        number = std::min<std::size_t>(number * 10 + (*format - u'0'), OUTPUT_SIZE);
    }
    return number;
}

ArgumentSize TakeSize(LPCWSTR& format)
{
    if (Take(format, u"I64")) {
        return ArgumentSize::Int64;
    }
    if (Take(format, u"I32")) {
        return ArgumentSize::Int;
    }
    if (Take(format, u"I")) {
        return ArgumentSize::Pointer;
    }
    if (Take(format, u"l") || Take(format, u"w")) {
        return ArgumentSize::Wide;
    }
    return Take(format, u"h") ? ArgumentSize::Narrow : ArgumentSize::Int;
}

// Reads what stands between "%" and the conversion. The flags have one order.
FormatSpec TakeSpec(LPCWSTR& format)
{
    FormatSpec spec;
    spec.left = Take(format, u"-");
    spec.prefix = Take(format, u"#");
    spec.zeros = Take(format, u"0");
    spec.width = TakeNumber(format);
    if (Take(format, u".")) {
        spec.precision = TakeNumber(format);
    }
    spec.size = TakeSize(format);
    return spec;
}

// Pads to the width, which counts the body and never the prefix. Zeros make up the precision.
template <typename Unit>
void PutPadded(Output& output, const FormatSpec& spec, std::u16string_view prefix, std::size_t zeros,
               std::basic_string_view<Unit> body)
{
    const std::size_t length = zeros + body.size();
    const std::size_t padding = spec.width > length ? spec.width - length : 0;
    output.Fill(spec.left ? 0 : padding, u' ');
    output.Put(prefix);
    const bool negative = zeros != 0 && !body.empty() && body[0] == '-';
    if (negative) {
        output.Put(body.substr(0, 1));
        body.remove_prefix(1);
    }
    output.Fill(zeros, u'0');
    output.Put(body);
    output.Fill(spec.left ? padding : 0, u' ');
}

template <typename Unit>
void PutText(Output& output, const FormatSpec& spec, const Unit* text)
{
    if (text == nullptr) {
        PutText(output, spec, "(null)");
        return;
    }
    std::size_t length = 0;
    while ((spec.precision == 0 || length < spec.precision) && text[length] != 0) {
        ++length;
    }
    PutPadded(output, spec, {}, 0, std::basic_string_view<Unit>(text, length));
}

// Digits with the sign in front; the precision, and the width under the "0" flag, count the sign as a digit.
void PutNumber(Output& output, const FormatSpec& spec, std::u16string_view prefix, bool negative,
               std::uint64_t magnitude, unsigned base, bool capitals)
{
    const char* const alphabet = capitals ? "0123456789ABCDEF" : "0123456789abcdef";
    char digits[24];
    char* start = digits + sizeof(digits);
    do {
        *--start = alphabet[magnitude % base];
        magnitude /= base;
    } while (magnitude != 0);
    if (negative) {
        *--start = '-';
    }
    const std::string_view body(start, static_cast<std::size_t>(digits + sizeof(digits) - start));
    const std::size_t least =
        spec.zeros && !spec.left ? std::max(spec.width, spec.precision) : spec.precision;
    PutPadded(output, spec, prefix, least > body.size() ? least - body.size() : 0, body);
}

// va_list is an array on some hosts and loses its identity as a parameter; a structure keeps it.
struct Arguments {
    std::va_list list;
};

// The types are the argument's by its size, the last one also the result's.
template <typename Int, typename Pointer, typename Int64>
Int64 TakeInteger(const FormatSpec& spec, Arguments& arguments)
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

std::uint64_t TakeUnsigned(const FormatSpec& spec, Arguments& arguments)
{
    return TakeInteger<std::uint32_t, std::uintptr_t, std::uint64_t>(spec, arguments);
}

void PutSigned(Output& output, const FormatSpec& spec, Arguments& arguments)
{
    const auto value = TakeInteger<std::int32_t, std::intptr_t, std::int64_t>(spec, arguments);
    const auto bits = static_cast<std::uint64_t>(value);
    PutNumber(output, spec, {}, value < 0, value < 0 ? 0 - bits : bits, 10, false);
}

void PutHexadecimal(Output& output, const FormatSpec& spec, Arguments& arguments, bool capitals)
{
    const std::u16string_view prefix = capitals ? u"0X" : u"0x";
    PutNumber(output, spec, spec.prefix ? prefix : u"", false, TakeUnsigned(spec, arguments), 16, capitals);
}

void PutPointer(Output& output, FormatSpec spec, Arguments& arguments)
{
    spec.zeros = true;
    spec.width = 2 * sizeof(void*);
    PutNumber(output, spec, {}, false, va_arg(arguments.list, std::uintptr_t), 16, true);
}

// "%s" and "%c" are wide, "%S" and "%C" narrow, unless a size says otherwise.
bool IsWideArgument(const FormatSpec& spec, bool capital)
{
    return spec.size == ArgumentSize::Wide || (spec.size != ArgumentSize::Narrow && !capital);
}

void PutCharacter(Output& output, const FormatSpec& spec, bool wide, Arguments& arguments)
{
    const int argument = va_arg(arguments.list, int);
    const WCHAR unit = wide ? static_cast<WCHAR>(argument) : static_cast<unsigned char>(argument);
    PutPadded(output, spec, {}, 0, std::u16string_view(&unit, 1));
}

void PutTextArgument(Output& output, const FormatSpec& spec, bool wide, Arguments& arguments)
{
    if (wide) {
        PutText(output, spec, va_arg(arguments.list, LPCWSTR));
    } else {
        PutText(output, spec, va_arg(arguments.list, LPCSTR));
    }
}

// False for a character that is no conversion.
bool PutConversion(Output& output, const FormatSpec& spec, WCHAR conversion, Arguments& arguments)
{
    switch (conversion) {
    case u'c':
    case u'C':
        PutCharacter(output, spec, IsWideArgument(spec, conversion == u'C'), arguments);
        return true;
    case u's':
    case u'S':
        PutTextArgument(output, spec, IsWideArgument(spec, conversion == u'S'), arguments);
        return true;
    case u'd':
    case u'i':
        PutSigned(output, spec, arguments);
        return true;
    case u'u':
        PutNumber(output, spec, {}, false, TakeUnsigned(spec, arguments), 10, false);
        return true;
    case u'x':
    case u'X':
        PutHexadecimal(output, spec, arguments, conversion == u'X');
        return true;
    case u'p':
        PutPointer(output, spec, arguments);
        return true;
    default:
        return false;
    }
}

int Format(LPWSTR buffer, LPCWSTR format, Arguments& arguments)
{
    Output output(buffer);
    while (*format != 0) {
        if (*format != u'%') {
            output.Put(*format++);
            continue;
        }
        ++format;
        if (*format == u'%') {
            output.Put(*format++);
            continue;
        }
        const FormatSpec spec = TakeSpec(format);
        if (PutConversion(output, spec, *format, arguments)) {
            ++format;
        } else {
            output.Fill(spec.width, u' '); // the character itself goes on as text
        }
    }
    return output.Finish();
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

int WINAPIV wsprintfW(LPWSTR buffer, LPCWSTR format, ...)
{
    if (GateStops("wsprintfW")) {
        return 0;
    }
    Arguments arguments;
    va_start(arguments.list, format);
    const int length = Format(buffer, format, arguments);
    va_end(arguments.list);
    return length;
}
