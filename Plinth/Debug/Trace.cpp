#include "Plinth/Debug/Trace.h"

#include "Plinth/Debug/TraceLogFile.h"
#include "Plinth/Debug/TraceState.h"
#include "Plinth/Text/ZeroTerminatedText.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>

namespace Plinth {

constinit TraceState traceState{};

namespace {

constexpr std::uint32_t SPACES_PER_LEVEL = 4;
constexpr std::uint32_t TAB_WIDTH = 4;
constexpr std::uint32_t LARGEST_FORMATTED_TEXT = 32768;

// The log file and the callback may be set before the first use.
void InitialiseTrace()
{
    traceState.indent = 0;
    traceState.blankLineWritten = 0;
    traceState.lineLength = 0;
    std::memset(traceState.indentSpaces, ' ', sizeof(traceState.indentSpaces));
    std::memset(traceState.line, 0, sizeof(traceState.line));
    std::memset(traceState.additionalInfo, 0, sizeof(traceState.additionalInfo));
    traceState.initialised = 1;
}

// Initialises on first use.
bool TraceIsOn()
{
    if (traceState.initialised == 0) {
        InitialiseTrace();
    }
    return traceState.initialised > 0;
}

char* TerminateLine(char* end, const char* terminator)
{
    const std::size_t length = std::strlen(terminator);
    std::memcpy(end, terminator, length + 1);
    return end + length;
}

void DeliverLine(std::uint32_t length, std::uint32_t spaces)
{
    char* const start = reinterpret_cast<char*>(&traceState) + offsetof(TraceState, line) - spaces;
    char* const end = start + spaces + length;
    if (traceState.logFile != nullptr) {
        const char* const written = TerminateLine(end, "\r\n");
        WriteLogFile(traceState.logFile, start, static_cast<std::uint32_t>(written - start));
    } else {
        TerminateLine(end, "\n");
    }
    if (const TraceCallback callback = traceState.callback; callback != nullptr) {
        Platform::RunGuarded([&] { callback(start); });
    }
}

// Each step reads the length once and keeps to the line, whatever another thread does to it meanwhile.
std::uint32_t LineLength()
{
    const std::atomic_ref<std::uint32_t> length(traceState.lineLength);
    return std::min(length.load(std::memory_order_relaxed), LONGEST_LINE);
}

void FinishLine()
{
    const std::uint32_t length = LineLength();
    traceState.lineLength = 0;
    const bool followsBlank = std::exchange(traceState.blankLineWritten, length == 0) != 0;
    if (length != 0) {
        const std::uint32_t levels = std::min(traceState.indent, LONGEST_INDENT / SPACES_PER_LEVEL);
        DeliverLine(length, levels * SPACES_PER_LEVEL);
    } else if (!followsBlank) {
        DeliverLine(0, 0);
    }
}

// What the line has no room for is dropped.
void AddText(const char* text, std::uint32_t count)
{
    const std::uint32_t length = LineLength();
    const std::uint32_t added = std::min(count, LONGEST_LINE - length);
    std::memcpy(traceState.line + length, text, added);
    traceState.lineLength = length + added;
}

void AddTab()
{
    constexpr char SPACES[] = "    ";
    AddText(SPACES, TAB_WIDTH - LineLength() % TAB_WIDTH);
}

bool IsPlain(char character)
{
    return static_cast<signed char>(character) >= ' ';
}

void TakeOther(char character)
{
    switch (character) {
    case '\a':
        TraceIndent();
        break;
    case '\b':
        TraceUnindent();
        break;
    case '\t':
        AddTab();
        break;
    case '\n':
        FinishLine();
        break;
    default:
        break; // dropped
    }
}

[[gnu::format(printf, 1, 0)]] void TraceFormatted(const char* format, std::va_list arguments)
{
    char text[LARGEST_FORMATTED_TEXT];
    TryFormatTextV(text, sizeof(text), format, arguments);
    Trace(text);
}

} // namespace

void Trace(const char* text)
{
    if (!TraceIsOn() || IsNullOrEmpty(text)) {
        return;
    }
    while (*text != 0) {
        const char* end = text;
        while (IsPlain(*end)) {
            ++end;
        }
        AddText(text, static_cast<std::uint32_t>(end - text));
        for (text = end; *text != 0 && !IsPlain(*text); ++text) {
            TakeOther(*text);
        }
    }
}

void TraceLevel(int /*level*/, const char* text)
{
    Trace(text);
}

void TraceF(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    TraceFormatted(format, arguments);
    va_end(arguments);
}

void TraceLevelF(int /*level*/, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    TraceFormatted(format, arguments);
    va_end(arguments);
}

void TraceRaw(const char* bytes, std::uint32_t length)
{
    const bool on = TraceIsOn();
    if (on && bytes != nullptr && length != 0 && *bytes != 0 && traceState.logFile != nullptr) {
        WriteLogFile(traceState.logFile, bytes, length);
    }
}

void TraceTimeStamp()
{
    SYSTEMTIME time;
    GetLocalTime(&time);
    TraceF("[ %04i/%02i/%02i %02i:%02i:%02i:%4i ]", time.wYear, time.wMonth, time.wDay, time.wHour,
           time.wMinute, time.wSecond, time.wMilliseconds);
}

void TraceIndent()
{
    ++traceState.indent;
}

void TraceUnindent()
{
    if (traceState.indent != 0) {
        --traceState.indent;
    }
}

void SetTraceCallback(TraceCallback callback)
{
    traceState.callback = callback;
}

void TryFormatTextV(char* buffer, std::uint32_t size, const char* format, std::va_list arguments)
{
    if (buffer == nullptr || size == 0) {
        return;
    }
    buffer[0] = 0;
    buffer[size - 1] = 0;
    if (!Platform::RunGuarded([&] { FormatTextV(buffer, size, format, arguments); })) {
        buffer[0] = 0;
        Trace("\n\nExceptions during string formating!\n\n");
    }
}

} // namespace Plinth
