/// \file
/// The account of a fault that nobody caught: what failed where, the processor's registers, the code and the
/// stack there, the memory, and what WriteStaticDiagnostics was told; all of it in the trace output, and a
/// minidump beside it.
///
///     LONG WINAPI MyFilter(LPEXCEPTION_POINTERS exception)     // of a program without InstallCrashHandler
///     {
///         Plinth::HandleException(exception);
///         return EXCEPTION_CONTINUE_SEARCH;
///     }
///
/// What the report keeps to: no heap memory but for the minidump, no lock, nothing thrown; its texts lie on
/// the stack. A fault on the way ends the part of the report that it is in, and the next one follows. Reports
/// of two threads at once mix in the trace output.
#pragma once

#include "Platform/Win32.h"

namespace Plinth {

/// The heading with the local time, the report and the minidump. Null: there is no record of the fault, and
/// so no report between the two. An overflow of the stack is reported from a thread of its own, which the
/// calling one waits for.
void HandleException(LPEXCEPTION_POINTERS exception);

/// The report alone, on the stack that there is. A bad pointer to the record or the context faults; all else
/// is survived.
void CrashReport(LPEXCEPTION_POINTERS exception);

/// "an access violation" for 0xC0000005; "an unknown" for codes that are in no list.
const char* DescribeException(DWORD code);

} // namespace Plinth
