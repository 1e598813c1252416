/// \file
/// Error and assertion reports: what tells a person that something is wrong inside the program.
///
/// A report is traced with the time, put on the clipboard and shown in a box; then it returns, or, without
/// ReportFlagContinue, ends the process at once with exit code 1, after a dump of the call stack. Holding
/// Ctrl while closing the box of one that returns silences its place for the rest of the run.
///
///     ReportErrorF(ReportFlagContinue, __FILE__, __LINE__, "size <= limit", "%u bytes are too many", size);
///
/// Reports of several threads come one after the other: a thread waits while another's box stands, and for
/// ever when that report is fatal. A report from inside a report, as from its callback, is cut down to a few
/// lines and always returns. Up to the clipboard a report that returns takes no heap memory; one that is
/// fatal takes it for the dump alone.
#pragma once

#include "Plinth/Debug/Trace.h"

#include <cstdint>

namespace Plinth {

inline constexpr std::uint32_t ReportFlagDebugError = 0x01; ///< "Debug error" for "Assertion failed"
inline constexpr std::uint32_t ReportFlagNoBreak = 0x10;    ///< changes nothing
inline constexpr std::uint32_t ReportFlagFatal = 0x20;      ///< changes nothing: ReportFlagContinue decides
inline constexpr std::uint32_t ReportFlagContinue = 0x40;   ///< returns to its caller

/// All texts may be null. What is too long is cut: all of a report together has room for 8,190 bytes. The
/// trace callback is the report's while it lasts and none from then on. The result is always false.
bool ReportError(std::uint32_t flags, const char* file, std::uint32_t line, const char* expression,
                 const char* message);

/// The same with a message of at most 1,022 formatted characters; see TryFormatTextV.
[[gnu::format(printf, 5, 6)]] bool ReportErrorF(std::uint32_t flags, const char* file, std::uint32_t line,
                                                const char* expression, const char* format, ...);

/// Called with each line that later reports trace; null: none.
void SetReportCallback(TraceCallback callback);

///@{
/// A text of up to 1,023 bytes that every later report tells; null for none. Set it after the first trace
/// output, which clears it.
void SetAdditionalInfo(const char* text);
const char* GetAdditionalInfo();
///@}

} // namespace Plinth
