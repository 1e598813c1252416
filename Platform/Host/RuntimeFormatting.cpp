#include "Platform/Host/Api/RuntimeFormatting.h"
#include "Platform/Host/FloatText.h"
#include "Platform/Host/FormatOutput.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/InvalidArgument.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cmath>
#include <iterator>

namespace Platform::Host {

namespace {

enum class Outcome { Done, Unknown, Failed };

template <typename Unit>
bool TakeFlag(const Unit*& format, FormatSpec& spec)
{
    switch (*format) {
    case '-':
        spec.left = true;
        break;
    case '+':
        spec.plus = true;
        break;
    case ' ':
        spec.blank = true;
        break;
    case '#':
        spec.alternate = true;
        break;
    case '0':
        spec.zeros = true;
        break;
    default:
        return false;
    }
    ++format;
    return true;
}

template <typename Unit>
void TakeWidth(const Unit*& format, FormatSpec& spec, FormatArguments& arguments)
{
    if (!Take(format, "*")) {
        spec.width = TakeNumber(format, INT_MAX);
        return;
    }
    const int width = va_arg(arguments.list, int);
    spec.left = spec.left || width < 0;
    spec.width = Magnitude(width);
}

// A negative argument is no precision.
template <typename Unit>
void TakePrecision(const Unit*& format, FormatSpec& spec, FormatArguments& arguments)
{
    if (!Take(format, ".")) {
        return;
    }
    if (!Take(format, "*")) {
        spec.precision = TakeNumber(format, INT_MAX);
        return;
    }
    const int precision = va_arg(arguments.list, int);
    if (precision >= 0) {
        spec.precision = static_cast<std::size_t>(precision);
    }
}

bool IsIntegerConversion(char32_t conversion)
{
    return std::u32string_view(U"diouxX").find(conversion) != std::u32string_view::npos;
}

template <typename Unit>
bool TakeSize(const Unit*& format, ArgumentSize& size)
{
    if (Take(format, "I64") || Take(format, "ll")) {
        size = ArgumentSize::Int64;
    } else if (Take(format, "I32") || Take(format, "L")) {
        size = ArgumentSize::Int;
    } else if (Take(format, "l") || Take(format, "w")) {
        size = ArgumentSize::Wide;
    } else if (Take(format, "h")) {
        size = ArgumentSize::Narrow;
    } else if (*format == 'I' && IsIntegerConversion(static_cast<char32_t>(format[1]))) {
        ++format;
        size = ArgumentSize::Pointer;
    } else {
        return false;
    }
    return true;
}

// Reads what stands between "%" and the conversion. Of several sizes the last one counts.
template <typename Unit>
FormatSpec TakeSpec(const Unit*& format, FormatArguments& arguments)
{
    FormatSpec spec;
    while (TakeFlag(format, spec)) {
    }
    TakeWidth(format, spec, arguments);
    TakePrecision(format, spec, arguments);
    while (TakeSize(format, spec.size)) {
    }
    return spec;
}

std::size_t ZerosToWidth(const FormatSpec& spec, std::size_t length)
{
    return spec.zeros && !spec.left ? Missing(length, spec.width) : 0;
}

std::string_view SignOf(const FormatSpec& spec, bool negative)
{
    if (negative) {
        return "-";
    }
    if (spec.plus) {
        return "+";
    }
    return spec.blank ? " " : "";
}

// An explicit precision makes the "0" flag void.
template <typename Unit>
void PutInteger(FormatOutput<Unit>& output, const FormatSpec& spec, std::string_view prefix,
                std::string_view digits)
{
    const std::size_t zeros = spec.precision ? Missing(digits.size(), *spec.precision)
                                             : ZerosToWidth(spec, prefix.size() + digits.size());
    PutField(output, spec, prefix, zeros, digits);
}

// Zero has no digits where the precision asks for none.
std::string_view IntegerDigits(DigitRoom room, const FormatSpec& spec, std::uint64_t value, int base,
                               bool capitals)
{
    return value == 0 && spec.precision == 0u ? "" : ToDigits(room, value, base, capitals);
}

template <typename Unit>
void PutSigned(FormatOutput<Unit>& output, const FormatSpec& spec, FormatArguments& arguments)
{
    char room[24];
    const std::int64_t taken = TakeSigned(spec, arguments);
    const std::int64_t value = spec.size == ArgumentSize::Narrow ? static_cast<std::int16_t>(taken) : taken;
    PutInteger(output, spec, SignOf(spec, value < 0), IntegerDigits(room, spec, Magnitude(value), 10, false));
}

std::uint64_t TakeValue(const FormatSpec& spec, FormatArguments& arguments)
{
    const std::uint64_t value = TakeUnsigned(spec, arguments);
    return spec.size == ArgumentSize::Narrow ? static_cast<std::uint16_t>(value) : value;
}

template <typename Unit>
void PutUnsigned(FormatOutput<Unit>& output, const FormatSpec& spec, FormatArguments& arguments)
{
    char room[24];
    PutInteger(output, spec, {}, IntegerDigits(room, spec, TakeValue(spec, arguments), 10, false));
}

// The "#" flag wants a zero in front, be it one of the precision.
template <typename Unit>
void PutOctal(FormatOutput<Unit>& output, FormatSpec spec, FormatArguments& arguments)
{
    char room[24];
    const std::string_view digits = IntegerDigits(room, spec, TakeValue(spec, arguments), 8, false);
    const bool wantsZero =
        spec.alternate && !digits.starts_with('0') && spec.precision.value_or(0) <= digits.size();
    PutInteger(output, spec, wantsZero ? "0" : "", digits);
}

template <typename Unit>
void PutHexadecimal(FormatOutput<Unit>& output, const FormatSpec& spec, std::uint64_t value, bool capitals)
{
    char room[24];
    const std::string_view prefix = capitals ? "0X" : "0x";
    PutInteger(output, spec, spec.alternate && value != 0 ? prefix : "",
               IntegerDigits(room, spec, value, 16, capitals));
}

template <typename Unit>
void PutPointer(FormatOutput<Unit>& output, FormatSpec spec, FormatArguments& arguments)
{
    spec.precision = 2 * sizeof(void*);
    PutHexadecimal(output, spec, va_arg(arguments.list, std::uintptr_t), true);
}

template <typename Unit>
void PutFloat(FormatOutput<Unit>& output, const FormatSpec& spec, char conversion, double value)
{
    const FloatText text = ToFloatText(value, spec, conversion);
    const std::string_view sign = SignOf(spec, std::signbit(value));
    const std::size_t length = sign.size() + text.Length();
    const std::size_t zeros = ZerosToWidth(spec, length);
    PutPadded(output, spec, length + zeros, [&] {
        output.Put(sign);
        PutFloatText(output, text, zeros);
    });
}

template <typename Unit, typename Source>
bool IsRepresentable(std::basic_string_view<Source> text)
{
    return sizeof(Source) <= sizeof(Unit) ||
           std::all_of(text.begin(), text.end(), [](Source unit) { return unit <= 0xFF; });
}

// Fails for a text that has no form in the output's units, as far as there is room for it.
template <typename Unit, typename Source>
Outcome PutText(FormatOutput<Unit>& output, const FormatSpec& spec, const Source* argument)
{
    if (argument == nullptr) {
        return PutText(output, spec, "(null)");
    }
    const std::basic_string_view<Source> text = TextArgument(argument, spec);
    if (!IsRepresentable<Unit>(text.substr(0, output.Room()))) {
        return Outcome::Failed;
    }
    PutField(output, spec, {}, ZerosToWidth(spec, text.size()), text);
    return Outcome::Done;
}

template <typename Unit>
Outcome PutTextArgument(FormatOutput<Unit>& output, const FormatSpec& spec, bool wide,
                        FormatArguments& arguments)
{
    return wide ? PutText(output, spec, va_arg(arguments.list, LPCWSTR))
                : PutText(output, spec, va_arg(arguments.list, LPCSTR));
}

// Writes nothing, not even the padding, for a character that has no form in the output's units.
template <typename Unit>
void PutCharacter(FormatOutput<Unit>& output, const FormatSpec& spec, bool wide, FormatArguments& arguments)
{
    const int argument = va_arg(arguments.list, int);
    const WCHAR unit = wide ? static_cast<WCHAR>(argument) : static_cast<unsigned char>(argument);
    const std::u16string_view text(&unit, 1);
    if (IsRepresentable<Unit>(text)) {
        PutField(output, spec, {}, ZerosToWidth(spec, 1), text);
    }
}

// "%s" and "%c" are as wide as the format, "%S" and "%C" are not.
template <typename Unit>
bool IsWideConversion(bool capital)
{
    return (sizeof(Unit) == sizeof(WCHAR)) != capital;
}

template <typename Unit>
Outcome PutTextConversion(FormatOutput<Unit>& output, const FormatSpec& spec, char conversion,
                          FormatArguments& arguments)
{
    const bool wide = IsWideArgument(spec, IsWideConversion<Unit>(conversion < 'a'));
    if (conversion == 's' || conversion == 'S') {
        return PutTextArgument(output, spec, wide, arguments);
    }
    PutCharacter(output, spec, wide, arguments);
    return Outcome::Done;
}

template <typename Unit>
Outcome PutConversion(FormatOutput<Unit>& output, const FormatSpec& spec, Unit conversion,
                      FormatArguments& arguments)
{
    switch (conversion) {
    case 'c':
    case 'C':
    case 's':
    case 'S':
        return PutTextConversion(output, spec, static_cast<char>(conversion), arguments);
    case 'd':
    case 'i':
        PutSigned(output, spec, arguments);
        return Outcome::Done;
    case 'u':
        PutUnsigned(output, spec, arguments);
        return Outcome::Done;
    case 'o':
        PutOctal(output, spec, arguments);
        return Outcome::Done;
    case 'x':
    case 'X':
        PutHexadecimal(output, spec, TakeValue(spec, arguments), conversion == 'X');
        return Outcome::Done;
    case 'p':
        PutPointer(output, spec, arguments);
        return Outcome::Done;
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
        PutFloat(output, spec, static_cast<char>(conversion), va_arg(arguments.list, double));
        return Outcome::Done;
    case 'n': // writing to memory is switched off
        ReportInvalidArgument();
        return Outcome::Failed;
    default:
        return Outcome::Unknown;
    }
}

// Writes what a "%" begins; false for a text that fails as a whole. A character that is no conversion fails
// it or goes on as text.
template <typename Unit>
bool PutSpecified(FormatOutput<Unit>& output, const Unit*& format, FormatArguments& arguments,
                  bool unknownIsText)
{
    const FormatSpec spec = TakeSpec(format, arguments);
    const Outcome outcome = PutConversion(output, spec, *format, arguments);
    if (outcome == Outcome::Done) {
        ++format;
        return true;
    }
    if (outcome == Outcome::Unknown && !unknownIsText) {
        ReportInvalidArgument();
    }
    return outcome == Outcome::Unknown && unknownIsText;
}

// False for a text that fails as a whole. Stops where the text is cut.
template <typename Unit>
bool Format(FormatOutput<Unit>& output, const Unit* format, FormatArguments& arguments, bool unknownIsText)
{
    while (*format != 0 && !output.Cut()) {
        if (Take(format, "%%")) {
            output.Fill(1, '%');
        } else if (!Take(format, "%")) {
            output.Put(TakePlainText(format));
        } else if (!PutSpecified(output, format, arguments, unknownIsText)) {
            return false;
        }
    }
    return true;
}

int ToResult(std::size_t length)
{
    return length > INT_MAX ? -1 : static_cast<int>(length);
}

template <typename Unit>
int FormatInto(Unit* buffer, std::size_t size, std::size_t count, const Unit* format,
               FormatArguments& arguments)
{
    const bool mayCut = count < size || count == _TRUNCATE;
    FormatOutput<Unit> output(buffer, std::min(count, size - 1));
    const bool good = Format(output, format, arguments, false);
    const bool isTooLong = good && output.Cut() && !mayCut;
    if (!good || isTooLong) {
        buffer[0] = 0;
        if (isTooLong) {
            ReportInvalidArgument();
        }
        return -1;
    }
    output.Terminate();
    return output.Cut() ? -1 : ToResult(output.Length());
}

template <typename Unit>
int FormatBounded(const char* function, Unit* buffer, std::size_t size, std::size_t count, const Unit* format,
                  std::va_list list)
{
    if (GateStops(function)) {
        return -1;
    }
    if (buffer == nullptr || size == 0 || format == nullptr) {
        const bool asksForNothing = buffer == nullptr && size == 0 && count == 0 && format != nullptr;
        if (!asksForNothing) {
            ReportInvalidArgument();
        }
        return -1;
    }
    FormatArguments arguments;
    va_copy(arguments.list, list);
    const int length = FormatInto(buffer, size, count, format, arguments);
    va_end(arguments.list);
    return length;
}

int WriteDigits(int value, char* buffer, std::size_t size, int radix)
{
    if (buffer == nullptr || size == 0) {
        return EINVAL;
    }
    *buffer = 0;
    if (radix < 2 || radix > 36) {
        return EINVAL;
    }
    char digits[33];
    const auto bits = static_cast<unsigned>(value);
    const auto end = radix == 10 ? std::to_chars(digits, std::end(digits), value)
                                 : std::to_chars(digits, std::end(digits), bits, radix);
    const auto count = static_cast<std::size_t>(end.ptr - digits);
    if (count >= size) {
        return ERANGE;
    }
    std::copy(digits, end.ptr, buffer);
    buffer[count] = 0;
    return 0;
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

int _vsnprintf_s(char* buffer, std::size_t size, std::size_t count, const char* format,
                 std::va_list arguments)
{
    return FormatBounded("_vsnprintf_s", buffer, size, count, format, arguments);
}

int _vsnwprintf_s(WCHAR* buffer, std::size_t size, std::size_t count, const WCHAR* format,
                  std::va_list arguments)
{
    return FormatBounded("_vsnwprintf_s", buffer, size, count, format, arguments);
}

int vsprintf_s(char* buffer, std::size_t size, const char* format, std::va_list arguments)
{
    return FormatBounded("vsprintf_s", buffer, size, size, format, arguments);
}

int sprintf_s(char* buffer, std::size_t size, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const int result = FormatBounded("sprintf_s", buffer, size, size, format, arguments);
    va_end(arguments);
    return result;
}

int _itoa_s(int value, char* buffer, std::size_t size, int radix)
{
    GateSees("_itoa_s");
    return Refusing(WriteDigits(value, buffer, size, radix));
}

int _vscprintf(const char* format, std::va_list arguments)
{
    if (GateStops("_vscprintf")) {
        return -1;
    }
    if (format == nullptr) {
        ReportInvalidArgument();
        return -1;
    }
    FormatArguments taken;
    va_copy(taken.list, arguments);
    FormatOutput<char> output(nullptr, _TRUNCATE);
    const bool good = Format(output, format, taken, true);
    va_end(taken.list);
    return good ? ToResult(output.Length()) : -1;
}
