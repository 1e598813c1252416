#include "Platform/Host/Api/Threads.h"

#include "Platform/Host/Gate.h"
#include "Platform/Host/Handles.h"

#include <chrono>
#include <future>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace Platform::Host {

namespace {

class Thread : public KernelObject {
public:
    DWORD Wait(DWORD milliseconds) override
    {
        if (milliseconds == INFINITE) {
            ended_.wait();
            return WAIT_OBJECT_0;
        }
        const auto status = ended_.wait_for(std::chrono::milliseconds(milliseconds));
        return status == std::future_status::ready ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
    }

    // Gives the thread's id once the thread runs. Throws std::system_error where the host starts none.
    DWORD Start(LPTHREAD_START_ROUTINE start, LPVOID parameter)
    {
        std::promise<DWORD> id;
        std::future<DWORD> started = id.get_future();
        std::packaged_task<void()> body([start, parameter] { start(parameter); });
        ended_ = body.get_future().share();
        std::thread([id = std::move(id), body = std::move(body)]() mutable {
            id.set_value(static_cast<DWORD>(gettid()));
            body();
        }).detach();
        return started.get();
    }

private:
    std::shared_future<void> ended_;
};

HANDLE StartThread(LPTHREAD_START_ROUTINE start, LPVOID parameter, LPDWORD threadId)
{
    auto thread = std::make_shared<Thread>();
    PendingHandle handle(thread);
    const DWORD id = thread->Start(start, parameter);
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
            return StartThread(start, parameter, threadId);
        } catch (const std::system_error&) {
            Fail(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
    });
}
