#include "Plinth/Debug/StackDump.h"

#include "Plinth/Debug/CStackWalker.h"
#include "Plinth/Debug/DbgHelp.h"
#include "Plinth/Debug/Minidump.h"
#include "Plinth/Debug/StackDumpState.h"
#include "Plinth/Debug/Trace.h"

namespace Plinth {

constinit StackDumpState stackDumpState;

namespace {

constexpr int MOST_FRAMES = 24;

void TraceFrames(CStackWalker& walker, const char* frame)
{
    Trace("\n\nStack dump:\n\n");
    for (int count = 0; frame != nullptr; frame = walker.Next()) {
        if (count++ == MOST_FRAMES) {
            Trace("  <...>\n");
            return;
        }
        Trace("  ");
        Trace(frame);
        Trace("\n");
    }
}

static_assert(CONTEXT_CONTROL == 0x00010001); // of the x86 processor

bool TraceStack(HANDLE thread)
{
    CONTEXT context{};
    context.ContextFlags = CONTEXT_CONTROL;
    if (!GetThreadContext(thread, &context)) {
        Trace("Failed to get context for stack dump.\n");
        return false;
    }
    CStackWalker walker;
    walker.Start(symbolState.process, thread, context);
    const char* const frame = walker.Next();
    if (frame == nullptr) {
        Trace("Stack dump not available.\n");
        return false;
    }
    TraceFrames(walker, frame);
    return true;
}

void RunDumpThread(HANDLE dumped)
{
    auto* const dumping = CreateThread(nullptr, 0, TraceStackDumpThreadProc, dumped, 0, nullptr);
    if (dumping == nullptr) {
        Trace("\n\nFailed to create thread for dumping call stack!\n\n");
        return;
    }
    WaitForSingleObject(dumping, INFINITE);
    Trace("\n\nDumping of call stack finished.\n\n");
    DWORD framesTraced = 0; // asked for to be seen in a debugger
    GetExitCodeThread(dumping, &framesTraced);
    CloseHandle(dumping);
}

void DumpThread(HANDLE thread)
{
    Trace("\n\nDumping call stack...\n\n");
    if (stackDumpState.exiting != 0) {
        Trace("No stack will be dumped because the application is currently exiting.\n");
    } else {
        stackDumpState.dumped = GetCurrentThreadId();
        RunDumpThread(thread);
    }
}

} // namespace

void DumpCallStack()
{
    if (++stackDumpState.busy == 0 && SymbolsAreReady()) {
        auto* const process = GetCurrentProcess();
        HANDLE self = nullptr;
        if (DuplicateHandle(process, GetCurrentThread(), process, &self, 0, FALSE, DUPLICATE_SAME_ACCESS)) {
            DumpThread(self);
            CloseHandle(self);
        }
    }
    --stackDumpState.busy;
}

DWORD WINAPI TraceStackDumpThreadProc(LPVOID threadHandle)
{
    stackDumpState.dumping = GetCurrentThreadId();
    OutputDebugStringA("TraceStackDumpThreadProc()...\n");
    SuspendThread(threadHandle);
    const bool traced = TraceStack(threadHandle);
    Trace("\n");
    WriteMinidump(nullptr);
    ResumeThread(threadHandle);
    OutputDebugStringA("TraceStackDumpThreadProc() finished!\n");
    stackDumpState.dumping = 0;
    return traced ? 1 : 0;
}

} // namespace Plinth
