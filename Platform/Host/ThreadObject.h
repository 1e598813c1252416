// A thread of this process: what its handle stands for. It has one object, however many handles.
#pragma once

#include "Platform/Host/Api/Threads.h"
#include "Platform/Host/Handles.h"

#include <future>
#include <mutex>
#include <sys/types.h>

namespace Platform::Host {

struct StoppedThread;

class Thread : public KernelObject {
public:
    Thread() : ended_(end_.get_future()) {}

    DWORD Wait(DWORD milliseconds) override;

    [[nodiscard]] pid_t Id() const { return id_; }
    [[nodiscard]] DWORD ExitCode() const; // STILL_ACTIVE: it runs

    // As the functions of the names; they set the last error where they fail.
    DWORD Suspend();
    DWORD Resume();
    BOOL GetContext(CONTEXT& context);

    // The thread's own calls: at its begin, with its result, and when nothing more of it runs.
    void Begin();
    void SetExitCode(DWORD code) { exitCode_ = code; }
    void End();

private:
    pid_t id_ = 0;
    DWORD exitCode_ = 0;
    std::promise<DWORD> end_;
    std::shared_future<DWORD> ended_;
    std::mutex mutex_; // of what follows; nobody is stopped while holding it
    bool runs_ = false;
    DWORD suspensions_ = 0;
    StoppedThread* stopped_ = nullptr;
};

// Gives the thread's id once the thread runs. Throws std::system_error where the host starts none.
DWORD StartThread(const std::shared_ptr<Thread>& thread, LPTHREAD_START_ROUTINE start, LPVOID parameter);

// The calling thread's, whoever started it.
const std::shared_ptr<Thread>& OwnThread();

} // namespace Platform::Host
