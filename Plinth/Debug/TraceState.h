// The state of the trace output, for the diagnostics that share it.
#pragma once

#include "Plinth/Debug/Trace.h"

#include <cstddef>

namespace Plinth {

inline constexpr std::uint32_t LONGEST_INDENT = 256;
inline constexpr std::uint32_t LONGEST_LINE = 1024;
inline constexpr std::uint32_t ADDITIONAL_INFO_SIZE = 1024;

struct TraceState {
    std::int32_t initialised; // 0 until the first use; there is output only while it is above 0
    HANDLE logFile;           // null: none is open
    std::uint32_t indent;     // in levels of four spaces
    std::uint8_t blankLineWritten;
    std::uint32_t lineLength;
    char indentSpaces[LONGEST_INDENT];
    char line[LONGEST_LINE + 8]; // with room for "\r\n" and a terminator
    char additionalInfo[ADDITIONAL_INFO_SIZE];
    TraceCallback callback;
};

// An indented line is one text that begins in the spaces.
static_assert(offsetof(TraceState, line) == offsetof(TraceState, indentSpaces) + LONGEST_INDENT);

static_assert(sizeof(TraceState) == (sizeof(void*) == 4 ? 2336 : 2352));

extern TraceState traceState;

} // namespace Plinth
