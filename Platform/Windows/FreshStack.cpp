#include "Platform/FreshStack.h"

#include "Platform/Win32.h"

namespace Platform {

namespace {

struct Call {
    void (*function)(void*) noexcept;
    void* argument;
};

DWORD WINAPI RunCall(LPVOID argument)
{
    const auto& call = *static_cast<const Call*>(argument);
    call.function(call.argument);
    return 0;
}

// A thread does not start while another, maybe the calling one, is in the loader.
constexpr DWORD MILLISECONDS_AT_MOST = 60'000;

} // namespace

void RunOnFreshStack(void (*function)(void*) noexcept, void* argument)
{
    Call call{function, argument};
    auto* const thread = CreateThread(nullptr, 0, RunCall, &call, 0, nullptr);
    if (thread == nullptr) {
        function(argument);
        return;
    }
    WaitForSingleObject(thread, MILLISECONDS_AT_MOST);
    CloseHandle(thread);
}

void KeepRoomOnStack()
{
    ULONG size = 16384;
    SetThreadStackGuarantee(&size);
}

} // namespace Platform
