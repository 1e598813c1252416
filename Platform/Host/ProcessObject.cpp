#include "Platform/Host/ProcessObject.h"

#include "Platform/Host/Api/Processes.h"

#include <chrono>
#include <new>
#include <thread>
#include <unistd.h>

namespace Platform::Host {

namespace {

// Its end is nothing that it could see.
class ThisProcess : public Process {
public:
    DWORD Wait(DWORD milliseconds) override
    {
        do {
            std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        } while (milliseconds == INFINITE);
        return WAIT_TIMEOUT;
    }

    DWORD ExitCode() override { return STILL_ACTIVE; }
    BOOL Terminate(DWORD exitCode) override { _exit(static_cast<int>(exitCode)); }
};

// Not on the heap: it may be exhausted, or its lock a thread's that stands still.
struct OwnProcessHolder {
    ThisProcess process;
    std::shared_ptr<KernelObject> pointer{std::shared_ptr<void>(), &process};
};

} // namespace

std::shared_ptr<Process> FindProcess(HANDLE handle)
{
    auto process = std::dynamic_pointer_cast<Process>(FindObject(handle));
    if (process == nullptr) {
        lastError = ERROR_INVALID_HANDLE;
    }
    return process;
}

const std::shared_ptr<KernelObject>& OwnProcess()
{
    // Never destroyed: threads may use it after main.
    alignas(OwnProcessHolder) static char storage[sizeof(OwnProcessHolder)];
    static const auto& holder = *new (storage) OwnProcessHolder;
    return holder.pointer;
}

} // namespace Platform::Host
