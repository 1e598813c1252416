#include "Tests/Support/StartedProcess.h"

namespace {

constexpr DWORD ROOM = 2000; // characters, more than any path of the tests has

LPWSTR DataOrNull(std::optional<WideText>& text)
{
    return text.has_value() ? text->data() : nullptr;
}

} // namespace

StartedProcess::StartedProcess(ProcessOptions options, DWORD untouched)
{
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    SetLastError(untouched);
    started_ = CreateProcessW(options.program.c_str(), DataOrNull(options.commandLine), nullptr, nullptr,
                              options.inheritHandles ? TRUE : FALSE, CREATE_UNICODE_ENVIRONMENT,
                              DataOrNull(options.environment),
                              options.folder.empty() ? nullptr : options.folder.c_str(), &startup,
                              &process_) != FALSE;
    error_ = GetLastError();
}

StartedProcess::~StartedProcess()
{
    if (started_) {
        Close();
    }
}

DWORD StartedProcess::ExitCode() const
{
    DWORD exitCode = STILL_ACTIVE;
    GetExitCodeProcess(process_.hProcess, &exitCode);
    return exitCode;
}

bool StartedProcess::Close()
{
    started_ = false;
    const BOOL thread = CloseHandle(process_.hThread);
    return CloseHandle(process_.hProcess) && thread;
}

DWORD AwaitExit(const StartedProcess& process, const std::function<void()>& poll)
{
    constexpr int POLLS = 3000;
    constexpr DWORD MILLISECONDS = 10;
    for (int i = 0; i < POLLS && WaitForSingleObject(process.Handle(), MILLISECONDS) == WAIT_TIMEOUT; ++i) {
        poll();
    }
    const DWORD exitCode = process.ExitCode();
    if (exitCode == STILL_ACTIVE) {
        TerminateProcess(process.Handle(), STILL_ACTIVE);
    }
    return exitCode;
}

WideText OwnProgram()
{
    WideText path(ROOM, 0);
    path.resize(GetModuleFileNameW(nullptr, path.data(), ROOM));
    return path;
}

WideText OwnFolder()
{
    WideText folder(ROOM, 0);
    folder.resize(GetCurrentDirectoryW(ROOM, folder.data()));
    return folder;
}
