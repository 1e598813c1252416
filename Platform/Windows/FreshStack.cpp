// A thread of its own has a whole stack.
#include "Platform/FreshStack.h"

#include "Platform/Win32.h"

#include <atomic>

namespace Platform {

namespace {

struct Call {
    void (*function)(void*) noexcept;
    void* argument;
    std::atomic<bool> isTaken{false}; // by the thread, or given up
};

DWORD WINAPI RunCall(LPVOID argument)
{
    auto& call = *static_cast<Call*>(argument);
    if (!call.isTaken.exchange(true)) {
        call.function(call.argument);
    }
    return 0;
}

// A thread does not start while another, maybe the calling one, is in the loader.
constexpr DWORD MILLISECONDS_AT_MOST = 60'000;

} // namespace

void RunOnFreshStack(void (*function)(void*) noexcept, void* argument)
{
    Call call{.function = function, .argument = argument};
    auto* const thread = CreateThread(nullptr, 0, RunCall, &call, 0, nullptr);
    if (thread == nullptr) {
        function(argument);
        return;
    }
    const bool isLate = WaitForSingleObject(thread, MILLISECONDS_AT_MOST) == WAIT_TIMEOUT;
    if (isLate && !call.isTaken.exchange(true)) {
        TerminateThread(thread, 0); // it would come to a call that is no more
    }
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
}

void KeepRoomOnStack()
{
    ULONG size = 16384;
    SetThreadStackGuarantee(&size);
}

} // namespace Platform
