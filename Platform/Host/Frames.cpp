#include "Platform/Host/Frames.h"

#include "Platform/Host/LoadedModules.h"
#include "Platform/Host/ProcessMemory.h"

#include <unwind.h>

namespace Platform::Host {

namespace {

struct Collection {
    DWORD_PTR from;
    FrameList* list;
    std::size_t passed; // frames of ours and of the signal's, inside the first one
};

_Unwind_Reason_Code Collect(_Unwind_Context* context, void* argument)
{
    Collection& collection = *static_cast<Collection*>(argument);
    FrameList& list = *collection.list;
    const Frame frame{_Unwind_GetIP(context), _Unwind_GetCFA(context)};
    if (list.count != 0 && frame.instruction == 0) {
        return _URC_END_OF_STACK; // the outermost function returns to nowhere
    }
    if (list.count == 0 && frame.instruction != collection.from) {
        return ++collection.passed < MOST_FRAMES ? _URC_NO_REASON : _URC_END_OF_STACK;
    }
    list.frames[list.count++] = frame;
    return list.count < MOST_FRAMES ? _URC_NO_REASON : _URC_END_OF_STACK;
}

} // namespace

void CollectFrames(DWORD_PTR from, FrameList& list)
{
    Collection collection{from, &list, 0};
    list.count = 0;
    _Unwind_Backtrace(Collect, &collection);
}

DWORD_PTR CallerOfNowhere(const CONTEXT& context)
{
    DWORD_PTR caller = 0;
    if (FindModule(context.Eip).has_value() ||
        ReadMemory(context.Esp, &caller, sizeof(caller)) != sizeof(caller)) {
        return 0;
    }
    return FindModule(caller).has_value() ? caller : 0;
}

} // namespace Platform::Host
