/// \file
/// Opening the log file behind the trace output; TraceLogFile.h has its other side.
#pragma once

#include "Plinth/Debug/TraceLogFile.h"
#include "Plinth/Text/CString.h"

#include <cstdint>

namespace Plinth {

/// Kept and asked for as the program likes; opening a log file does not heed it.
inline constexpr std::uint32_t DiagFlagSuppressErrorReports = 0x01;

/// The lines go behind what the file has; without it the file starts empty.
inline constexpr std::uint32_t DiagFlagAppendLog = 0x02;

/// Closes the open log file and opens another; false, and none is open then, where that fails. The path is
/// UTF-8. Call it before other threads use the trace output.
bool OpenLogFile(const CString& path, std::uint32_t flags);

/// A file that lines can be written to, to be closed with CloseLogHandle; null where it cannot be opened, as
/// with an empty path. Others may read it meanwhile. The last error stays as it was.
HANDLE CreateLogFile(const CString& path, std::uint32_t flags);

} // namespace Plinth
