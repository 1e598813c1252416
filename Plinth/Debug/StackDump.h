/// \file
/// The call stack of the calling thread, in the trace output, with a minidump beside it.
///
/// A thread cannot walk its own stack reliably while it runs: a second one suspends it, walks its stack,
/// writes the minidump and lets it go on.
#pragma once

#include "Platform/Win32.h"

namespace Plinth {

/// Traces up to 24 frames and returns when that is done. Nothing happens while symbols are not ready (see
/// InitSymbols) or a dump is under way, on whatever thread. The trace callback is called from the second
/// thread while the calling one is suspended: it may wait for nothing that this one holds.
void DumpCallStack();

/// What the second thread runs: dumps the stack of the thread that the handle stands for. Gives 1 when at
/// least one frame was traced, else 0.
DWORD WINAPI TraceStackDumpThreadProc(LPVOID threadHandle);

} // namespace Plinth
