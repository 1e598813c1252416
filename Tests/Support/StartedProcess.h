// A process that a test started, and what it says of itself.
#pragma once

#include "Tests/Support/WideText.h"

#include <functional>
#include <optional>

struct ProcessOptions {
    WideText program;
    std::optional<WideText> commandLine; // nullopt: none is given
    std::optional<WideText> environment; // a block; nullopt: this process's
    WideText folder;                     // the current directory at start; empty: this process's
    bool inheritHandles = false;
};

class StartedProcess {
public:
    // The last error at the call that starts the process is `untouched` unless the platform sets it.
    explicit StartedProcess(ProcessOptions options, DWORD untouched = 0);
    ~StartedProcess();
    StartedProcess(const StartedProcess&) = delete;
    StartedProcess& operator=(const StartedProcess&) = delete;

    [[nodiscard]] bool Started() const { return started_; }
    [[nodiscard]] DWORD Error() const { return error_; } // the last error right after the start
    [[nodiscard]] HANDLE Handle() const { return process_.hProcess; }
    [[nodiscard]] DWORD Id() const { return process_.dwProcessId; }

    // STILL_ACTIVE as well when there is no such process.
    [[nodiscard]] DWORD ExitCode() const;

    // Whether both handles could be closed; the destructor does it otherwise.
    bool Close();

private:
    PROCESS_INFORMATION process_ = {};
    bool started_ = false;
    DWORD error_ = 0;
};

// Calls `poll` again and again until the process has ended, and gives its exit code. One that takes longer
// than 30 seconds is ended; that gives STILL_ACTIVE.
DWORD AwaitExit(const StartedProcess& process, const std::function<void()>& poll);

// This process's own program and current directory, as the platform names them.
WideText OwnProgram();
WideText OwnFolder();
