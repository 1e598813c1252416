#include "Platform/Host/ProcessObject.h"

#include "Platform/Host/Api/Processes.h"

#include <chrono>
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
    static const auto& process = *new std::shared_ptr<KernelObject>(std::make_shared<ThisProcess>());
    return process;
}

} // namespace Platform::Host
