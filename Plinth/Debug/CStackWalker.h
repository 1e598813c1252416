/// \class Plinth::CStackWalker
/// The walk over a thread's stack, from the place that a processor context tells of outwards.
///
///     CStackWalker walker;
///     walker.Start(symbolState.process, thread, context);
///     while (const char* frame = walker.Next()) {
///         TraceF("  %s\n", frame);
///     }
///
/// The thread is suspended, or is the calling one with a context from below it, as in an exception filter. A
/// walker is large for a stack, about 2 KiB, and takes no heap memory of its own.
#pragma once

#include "Platform/Win32.h"

namespace Plinth {

class CStackWalker {
public:
    /// The handles have to stay valid; the context is copied.
    void Start(HANDLE process, HANDLE thread, const CONTEXT& context);

    /// The next frame in one line: "0023:00401234  0x00000001 ..." with code segment and address, the four
    /// words above the return address, and what DescribeAddress says. It holds until the next call. Null when
    /// the walk has ended, symbols are not ready (see InitSymbols), or a fault ended the step.
    const char* Next();

private:
    void DescribeFrame();

    HANDLE process_ = nullptr;
    HANDLE thread_ = nullptr;
    CONTEXT context_{};
    STACKFRAME frame_{};
    char text_[1024]{};
};

} // namespace Plinth
