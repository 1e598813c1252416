/// \file
/// The log file behind the trace output. Writing to it and closing it leave the thread's last error as it
/// was, so that logging never changes what a caller's next error query gives.
#pragma once

#include "Platform/Win32.h"

#include <cstdint>

namespace Plinth {

/// Forgets the open log file and closes it; nothing happens when none is open.
void CloseLogFile();

void CloseLogHandle(HANDLE file); ///< of a log file that is not the open one

/// Writes at the file's position, in one call whose result is not looked at. Nothing is written for null
/// bytes.
void WriteLogFile(HANDLE file, const void* bytes, std::uint32_t length);

} // namespace Plinth
