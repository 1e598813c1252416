// The frames of the calling thread's stack, by the runtime's own unwinder: no frame pointers are needed. It
// takes no heap and no lock, so a signal handler may do it.
#pragma once

#include "Platform/Host/Api/Faults.h"

namespace Platform::Host {

struct Frame {
    DWORD_PTR instruction;
    DWORD_PTR stack; // the stack pointer there; that of the caller is where the frame ends
};

// A deeper stack is cut at its outer end.
constexpr std::size_t MOST_FRAMES = 512;

struct FrameList {
    std::size_t count;
    Frame frames[MOST_FRAMES];
};

// From the innermost frame that stands at this instruction outwards; none where there is no such frame. A
// stack that is too damaged to be unwound faults.
void CollectFrames(DWORD_PTR from, FrameList& list);

// Where a call that led nowhere came from: the context's instruction lies in no module, and what its stack
// begins with does. 0: it is no such call.
DWORD_PTR CallerOfNowhere(const CONTEXT& context);

} // namespace Platform::Host
