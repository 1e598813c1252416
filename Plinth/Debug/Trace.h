/// \file
/// The trace output: the one channel through which all diagnostics speak. Text is collected into lines, and
/// each finished line goes to the log file, when one is open, and to the line callback, when one is set.
///
///     SetTraceCallback(ShowLine);
///     Trace("Modules:\n\a");                      // BEL indents what follows by four spaces
///     TraceF("%s\t%08x\n", name, address);        // a tab fills up to the next multiple of four
///     Trace("\b\n");                              // BS takes the indent back
///
/// Lines are 7-bit text: control characters but BEL, BS, TAB and LF, and bytes from 128 on, are dropped. A
/// line holds 1,024 characters, the rest up to its LF is dropped; of empty lines that follow each other one
/// is written; the indent stops growing at 256 spaces. Level numbers are accepted and change nothing.
///
/// Nothing here takes heap memory, and nothing reports an error. No lock is taken either: there is one line
/// for the whole process, and texts of two threads at once may mix or overwrite each other within it.
#pragma once

#include "Platform/Win32.h"

#include <cstdarg>
#include <cstdint>

namespace Plinth {

///@{
/// All texts may be null; nothing is written then.
void Trace(const char* text);
void TraceLevel(int level, const char* text);
///@}

///@{
/// Formatted text of at most 32,766 characters; see TryFormatTextV.
[[gnu::format(printf, 1, 2)]] void TraceF(const char* format, ...);
[[gnu::format(printf, 2, 3)]] void TraceLevelF(int level, const char* format, ...);
///@}

/// Writes the bytes as they are to the log file and to nothing else. Nothing happens when their first is
/// zero.
void TraceRaw(const char* bytes, std::uint32_t length);

/// "[ 2024/01/31 23:59:59:  42 ]", the local time, into the current line.
void TraceTimeStamp();

void TraceIndent();   ///< by four more spaces
void TraceUnindent(); ///< not below 0

/// Called with each finished line, which ends in "\r\n" when a log file is open and in "\n" otherwise; the
/// line is valid until the callback returns. A fault in it is survived, so it must own nothing that needs a
/// destructor and may not throw.
using TraceCallback = void (*)(const char* line);
void SetTraceCallback(TraceCallback callback); ///< null: none

/// FormatTextV that survives a fault in formatting, such as a bad pointer behind "%s": the buffer is then
/// empty, and "\n\nExceptions during string formating!\n\n" is traced. At most size - 2 characters remain. A
/// null buffer or a size of 0 is left alone; a null format gives the empty text.
[[gnu::format(printf, 3, 0)]] void TryFormatTextV(char* buffer, std::uint32_t size, const char* format,
                                                  std::va_list arguments);

} // namespace Plinth
