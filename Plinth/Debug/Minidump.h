/// \file
/// Minidumps: the platform's compact snapshot of the process, threads with their stacks and loaded modules,
/// for a debugger to open later.
///
/// Each goes into a file "FOLDER\PREFIX_2024-01-31_23-59-59.dmp" of its own, named after the local time; two
/// within a second go into one, the later over the earlier. No lock is taken.
#pragma once

#include "Platform/Win32.h"
#include "Plinth/Text/CString.h"

namespace Plinth {

/// UTF-8. An empty folder is the program's, an empty prefix "MiniDump"; the first dump fills them in, and
/// they stay. Without memory for both nothing changes.
void SetMinidumpLocation(const CString& folder, const CString& prefix);
void ClearMinidumpLocation(); ///< makes both empty

/// Writes one dump, with the exception that the thread met unless that is null, and traces in one line what
/// came of it. Needs LoadDbgHelp. A file that could not be written to its end stays.
void WriteMinidump(EXCEPTION_POINTERS* exception, DWORD thread = GetCurrentThreadId());

} // namespace Plinth
