#include "Platform/Host/Api/Threads.h"

#include "Platform/Host/Gate.h"
#include "Platform/Host/ThreadObject.h"

#include <chrono>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace Platform::Host {

namespace {

constexpr DWORD FAILED_COUNT = 0xFFFFFFFF;

HANDLE OpenThread(LPTHREAD_START_ROUTINE start, LPVOID parameter, LPDWORD threadId)
{
    auto thread = std::make_shared<Thread>();
    PendingHandle handle(thread);
    const DWORD id = StartThread(thread, start, parameter);
    if (threadId != nullptr) {
        *threadId = id;
    }
    return handle.HandOut();
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

void WINAPI Sleep(DWORD milliseconds)
{
    GateSees("Sleep");
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES /*securityAttributes*/, SIZE_T /*stackSize*/,
                           LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags, LPDWORD threadId)
{
    return Guarded("CreateThread", HANDLE{nullptr}, [&]() -> HANDLE {
        if (start == nullptr || flags != 0) {
            Fail(ERROR_INVALID_PARAMETER);
            return nullptr;
        }
        try {
            return OpenThread(start, parameter, threadId);
        } catch (const std::system_error&) {
            Fail(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
    });
}

HANDLE WINAPI GetCurrentThread()
{
    GateSees("GetCurrentThread");
    return CURRENT_THREAD;
}

DWORD WINAPI GetCurrentThreadId()
{
    GateSees("GetCurrentThreadId");
    return static_cast<DWORD>(gettid());
}

BOOL WINAPI GetExitCodeThread(HANDLE thread, LPDWORD exitCode)
{
    return Guarded("GetExitCodeThread", FALSE, [&]() -> BOOL {
        const auto found = FindObjectOf<Thread>(thread);
        if (found == nullptr) {
            return FALSE;
        }
        *exitCode = found->ExitCode();
        return TRUE;
    });
}

DWORD WINAPI SuspendThread(HANDLE thread)
{
    return Guarded("SuspendThread", FAILED_COUNT, [&]() -> DWORD {
        const auto found = FindObjectOf<Thread>(thread);
        return found != nullptr ? found->Suspend() : FAILED_COUNT;
    });
}

DWORD WINAPI ResumeThread(HANDLE thread)
{
    return Guarded("ResumeThread", FAILED_COUNT, [&]() -> DWORD {
        const auto found = FindObjectOf<Thread>(thread);
        return found != nullptr ? found->Resume() : FAILED_COUNT;
    });
}

BOOL WINAPI GetThreadContext(HANDLE thread, LPCONTEXT context)
{
    return Guarded("GetThreadContext", FALSE, [&]() -> BOOL {
        const auto found = FindObjectOf<Thread>(thread);
        return found != nullptr ? found->GetContext(*context) : FALSE;
    });
}
