// A process: what its handle stands for.
#pragma once

#include "Platform/Host/Handles.h"

namespace Platform::Host {

class Process : public KernelObject {
public:
    virtual DWORD ExitCode() = 0; // STILL_ACTIVE: it runs
    virtual BOOL Terminate(DWORD exitCode) = 0;
};

// Null when the handle stands for no process, the last error being ERROR_INVALID_HANDLE.
std::shared_ptr<Process> FindProcess(HANDLE handle);

// This one's. There is one object, however many handles.
const std::shared_ptr<KernelObject>& OwnProcess();

} // namespace Platform::Host
