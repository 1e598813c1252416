// wsprintfW. Its dialect is smaller and stranger than the C library's; each rule here was read off the
// platform.
#include "Platform/Host/Api/UserFormatting.h"
#include "Platform/Host/FormatOutput.h"
#include "Platform/Host/Gate.h"

namespace Platform::Host {

namespace {

constexpr std::uint32_t OUTPUT_SIZE = 1024; // characters of the caller's buffer, terminator included

using Output = FormatOutput<WCHAR>;

ArgumentSize TakeSize(LPCWSTR& format)
{
    if (Take(format, "I64")) {
        return ArgumentSize::Int64;
    }
    if (Take(format, "I32")) {
        return ArgumentSize::Int;
    }
    if (Take(format, "I")) {
        return ArgumentSize::Pointer;
    }
    if (Take(format, "l") || Take(format, "w")) {
        return ArgumentSize::Wide;
    }
    return Take(format, "h") ? ArgumentSize::Narrow : ArgumentSize::Int;
}

// Reads what stands between "%" and the conversion. The flags have one order; a precision of 0 is none.
FormatSpec TakeSpec(LPCWSTR& format)
{
    FormatSpec spec;
    spec.left = Take(format, "-");
    spec.alternate = Take(format, "#");
    spec.zeros = Take(format, "0");
    spec.width = TakeNumber(format, OUTPUT_SIZE);
    const std::size_t precision = Take(format, ".") ? TakeNumber(format, OUTPUT_SIZE) : 0;
    if (precision != 0) {
        spec.precision = precision;
    }
    spec.size = TakeSize(format);
    return spec;
}

template <typename Unit>
void PutText(Output& output, const FormatSpec& spec, const Unit* text)
{
    if (text == nullptr) {
        PutText(output, spec, "(null)");
    } else {
        PutField(output, spec, {}, 0, TextArgument(text, spec));
    }
}

// The precision, and the width under the "0" flag, count the sign as a digit; the width does not count the
// radix.
void PutNumber(Output& output, FormatSpec spec, std::string_view sign, std::string_view radix,
               std::string_view digits)
{
    const std::size_t precision = spec.precision.value_or(0);
    const std::size_t wanted = spec.zeros && !spec.left ? std::max(spec.width, precision) : precision;
    spec.width += radix.size();
    PutField(output, spec, sign.empty() ? radix : sign, Missing(sign.size() + digits.size(), wanted), digits);
}

void PutSigned(Output& output, const FormatSpec& spec, FormatArguments& arguments)
{
    char room[24];
    const std::int64_t value = TakeSigned(spec, arguments);
    PutNumber(output, spec, value < 0 ? "-" : "", {}, ToDigits(room, Magnitude(value), 10, false));
}

void PutUnsigned(Output& output, const FormatSpec& spec, FormatArguments& arguments)
{
    char room[24];
    PutNumber(output, spec, {}, {}, ToDigits(room, TakeUnsigned(spec, arguments), 10, false));
}

void PutHexadecimal(Output& output, const FormatSpec& spec, FormatArguments& arguments, bool capitals)
{
    char room[24];
    const std::string_view radix = capitals ? "0X" : "0x";
    PutNumber(output, spec, {}, spec.alternate ? radix : "",
              ToDigits(room, TakeUnsigned(spec, arguments), 16, capitals));
}

void PutPointer(Output& output, FormatSpec spec, FormatArguments& arguments)
{
    char room[24];
    spec.zeros = true;
    spec.width = 2 * sizeof(void*);
    PutNumber(output, spec, {}, {}, ToDigits(room, va_arg(arguments.list, std::uintptr_t), 16, true));
}

void PutCharacter(Output& output, const FormatSpec& spec, bool wide, FormatArguments& arguments)
{
    const int argument = va_arg(arguments.list, int);
    const WCHAR unit = wide ? static_cast<WCHAR>(argument) : static_cast<unsigned char>(argument);
    PutField(output, spec, {}, 0, std::u16string_view(&unit, 1));
}

void PutTextArgument(Output& output, const FormatSpec& spec, bool wide, FormatArguments& arguments)
{
    if (wide) {
        PutText(output, spec, va_arg(arguments.list, LPCWSTR));
    } else {
        PutText(output, spec, va_arg(arguments.list, LPCSTR));
    }
}

// False for a character that is no conversion.
bool PutConversion(Output& output, const FormatSpec& spec, WCHAR conversion, FormatArguments& arguments)
{
    switch (conversion) {
    case u'c':
    case u'C':
        PutCharacter(output, spec, IsWideArgument(spec, conversion == u'c'), arguments);
        return true;
    case u's':
    case u'S':
        PutTextArgument(output, spec, IsWideArgument(spec, conversion == u's'), arguments);
        return true;
    case u'd':
    case u'i':
        PutSigned(output, spec, arguments);
        return true;
    case u'u':
        PutUnsigned(output, spec, arguments);
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

// Writes what a "%" begins. A character that is no conversion goes on as text behind blanks.
void PutSpecified(Output& output, LPCWSTR& format, FormatArguments& arguments)
{
    const FormatSpec spec = TakeSpec(format);
    if (PutConversion(output, spec, *format, arguments)) {
        ++format;
    } else {
        output.Fill(spec.width, ' ');
    }
}

// The platform takes a text as cut that leaves room for the terminator and for nothing more.
int Finish(Output& output)
{
    output.Terminate();
    return static_cast<int>(output.Room() == 0 ? OUTPUT_SIZE : output.Length());
}

int Format(LPWSTR buffer, LPCWSTR format, FormatArguments& arguments)
{
    Output output(buffer, OUTPUT_SIZE - 1);
    while (*format != 0) {
        if (Take(format, "%%")) {
            output.Fill(1, '%');
        } else if (Take(format, "%")) {
            PutSpecified(output, format, arguments);
        } else {
            output.Put(TakePlainText(format));
        }
    }
    return Finish(output);
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

int WINAPIV wsprintfW(LPWSTR buffer, LPCWSTR format, ...)
{
    if (GateStops("wsprintfW")) {
        return 0;
    }
    FormatArguments arguments;
    va_start(arguments.list, format);
    const int length = Format(buffer, format, arguments);
    va_end(arguments.list);
    return length;
}
