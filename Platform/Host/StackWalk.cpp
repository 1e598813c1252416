// The frames of a stack, from the one that a context tells of outwards.
#include "Platform/FaultGuard.h"
#include "Platform/Host/Api/DebugHelp.h"
#include "Platform/Host/Frames.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/ProcessMemory.h"
#include "Platform/Host/Suspension.h"
#include "Platform/Host/ThreadObject.h"

#include <algorithm>
#include <unistd.h>

namespace Platform::Host {

namespace {

// 0: the handle stands for no thread.
pid_t IdOf(HANDLE thread)
{
    if (thread == CURRENT_THREAD) {
        return gettid(); // the object would take memory, which a walk after a fault should not
    }
    const auto found = FindObjectOf<Thread>(thread);
    return found != nullptr ? found->Id() : 0;
}

// Behind a call that led nowhere the frames go on where it came from.
void CollectOwnFrames(const CONTEXT& context, FrameList& list)
{
    const DWORD_PTR caller = CallerOfNowhere(context);
    RunGuarded([&] { CollectFrames(caller != 0 ? caller - 1 : context.Eip, list); });
    if (caller != 0 && list.count != 0) {
        list.frames[0].instruction = caller;
        list.count = std::min(list.count, MOST_FRAMES - 1);
        std::copy_backward(list.frames, list.frames + list.count, list.frames + list.count + 1);
        list.frames[0] = {context.Eip, context.Esp};
        ++list.count;
    }
}

// From the context's frame outwards, as far as the stack is whole. A thread that is not ours to see has that
// one frame, which is known.
void GetFrames(pid_t thread, const CONTEXT& context, FrameList& list)
{
    list.count = 0;
    if (thread == gettid()) {
        CollectOwnFrames(context, list);
    } else if (const StoppedThread* stopped = FindStopped(thread)) {
        const Frame* const end = stopped->frames.frames + stopped->frames.count;
        const Frame* const first = std::find_if(stopped->frames.frames, end, [&context](const Frame& frame) {
            return frame.instruction == context.Eip;
        });
        list.count = static_cast<std::size_t>(std::copy(first, end, list.frames) - list.frames);
    }
    if (list.count == 0) {
        list.frames[list.count++] = {context.Eip, context.Esp};
    }
}

ADDRESS Flat(DWORD_PTR offset)
{
    return {.Offset = offset, .Segment = 0, .Mode = AddrModeFlat};
}

// The outermost frame has no caller: nothing is known to lie above it.
void Describe(const FrameList& list, std::size_t index, STACKFRAME& target)
{
    const Frame& frame = list.frames[index];
    const Frame caller = index + 1 < list.count ? list.frames[index + 1] : Frame{};
    target.AddrPC = Flat(frame.instruction);
    target.AddrStack = Flat(frame.stack);
    target.AddrFrame = Flat(caller.stack);
    target.AddrReturn = Flat(caller.instruction);
    target.FuncTableEntry = nullptr;
    target.Far = TRUE;
    target.Virtual = TRUE;
    std::fill(std::begin(target.Params), std::end(target.Params), 0);
    if (caller.stack != 0) {
        ReadMemory(caller.stack, target.Params, sizeof(target.Params));
    }
}

BOOL Walk(HANDLE thread, STACKFRAME& frame, const CONTEXT& context)
{
    const pid_t id = IdOf(thread);
    if (id == 0) {
        return FALSE;
    }
    FrameList list;
    GetFrames(id, context, list);
    const std::size_t index = frame.Reserved[0]; // the frames that the walk has given
    if (index >= list.count) {
        return FALSE;
    }
    Describe(list, index, frame);
    frame.Reserved[0] = index + 1;
    return TRUE;
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

BOOL IMAGEAPI StackWalk(DWORD /*machine*/, HANDLE /*process*/, HANDLE thread, LPSTACKFRAME frame,
                        LPVOID context, PREAD_PROCESS_MEMORY_ROUTINE, PFUNCTION_TABLE_ACCESS_ROUTINE,
                        PGET_MODULE_BASE_ROUTINE, PTRANSLATE_ADDRESS_ROUTINE)
{
    return Guarded("StackWalk", FALSE,
                   [&] { return Walk(thread, *frame, *static_cast<const CONTEXT*>(context)); });
}
