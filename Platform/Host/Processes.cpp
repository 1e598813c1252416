// Starting programs and waiting for them; this process's command line, environment and identity.
#include "Platform/Host/Api/Processes.h"
#include "Platform/Host/CommandLine.h"
#include "Platform/Host/Control.h"
#include "Platform/Host/Drives.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Handles.h"
#include "Platform/Host/ProcessObject.h"
#include "Platform/Host/ProcessStart.h"
#include "Platform/Host/ShareModes.h"
#include "Platform/Host/Utf.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <mutex>
#include <optional>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" {
#include <sys/pidfd.h> // glibc 2.36 declares its functions without C linkage
}

namespace Platform::Host {

namespace {

constexpr std::size_t LONGEST_COMMAND_LINE = 32766;

std::string& ChildErrorFile()
{
    static std::string path;
    return path;
}

// poll's own result; a signal does not end the wait before its time.
int WaitUntilReadable(pollfd& descriptor, DWORD milliseconds)
{
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + std::chrono::milliseconds(milliseconds);
    std::int64_t left = milliseconds;
    int ready = -1;
    do {
        const auto timeout = static_cast<int>(std::min<std::int64_t>(left, std::numeric_limits<int>::max()));
        ready = poll(&descriptor, 1, milliseconds == INFINITE ? -1 : timeout);
        left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now()).count();
    } while (ready < 0 && errno == EINTR && left > 0);
    return ready;
}

// A process that this one started. It is reaped when its end is first seen, so that its id stays its own.
class ChildProcess : public Process {
public:
    // To be called once, before the object is shared with anybody.
    void SetId(pid_t id) { id_ = id; }

    DWORD Wait(DWORD milliseconds) override
    {
        pollfd end{-1, POLLIN, 0};
        {
            const std::lock_guard lock(mutex_); // nobody reaps the process while its id is in use
            if (Reap()) {
                return WAIT_OBJECT_0;
            }
            end.fd = pidfd_open(id_, 0);
        }
        if (end.fd < 0) {
            lastError = ErrorFromErrno(errno);
            return WAIT_FAILED;
        }
        const int ready = WaitUntilReadable(end, milliseconds);
        const int error = errno;
        close(end.fd);
        if (ready < 0 && error != EINTR) {
            lastError = ErrorFromErrno(error);
            return WAIT_FAILED;
        }
        return HasEnded() ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
    }

    DWORD ExitCode() override { return HasEnded() ? exitCode_ : STILL_ACTIVE; }

    // A process that has ended cannot be ended again.
    BOOL Terminate(DWORD exitCode) override
    {
        const std::lock_guard lock(mutex_);
        if (Reap()) {
            return Fail(ERROR_ACCESS_DENIED);
        }
        if (kill(id_, SIGKILL) != 0) {
            return Fail(ErrorFromErrno(errno));
        }
        terminatedWith_ = exitCode;
        return TRUE;
    }

private:
    bool HasEnded()
    {
        const std::lock_guard lock(mutex_);
        return Reap();
    }

    bool Reap()
    {
        int status = 0;
        if (!ended_ && waitpid(id_, &status, WNOHANG) == id_) {
            ended_ = true;
            exitCode_ =
                WIFEXITED(status) ? static_cast<DWORD>(WEXITSTATUS(status)) : SignalCode(WTERMSIG(status));
        }
        return ended_;
    }

    // A program that a signal ended shows what a shell shows for it, unless it was ended from here.
    DWORD SignalCode(int signal) const
    {
        return signal == SIGKILL ? terminatedWith_.value_or(128 + SIGKILL) : 128 + static_cast<DWORD>(signal);
    }

    pid_t id_ = 0;
    std::mutex mutex_;
    bool ended_ = false;
    DWORD exitCode_ = 0;
    std::optional<DWORD> terminatedWith_;
};

// What CreateProcessW hands to the host.
struct Launch {
    std::string program;
    std::string folder; // empty: this process's
    std::vector<std::string> arguments;
    std::vector<std::string> environment;
    bool inheritHandles;
};

std::vector<char*> Pointers(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> EnvironmentOfBlock(const WCHAR* block)
{
    std::vector<std::string> environment;
    for (; *block != 0; block += std::char_traits<WCHAR>::length(block) + 1) {
        environment.push_back(ToHost(block));
    }
    return environment;
}

std::vector<std::string> OwnEnvironment()
{
    std::vector<std::string> environment;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        environment.emplace_back(*entry);
    }
    return environment;
}

DWORD FindProgram(LPCWSTR name, std::string& program)
{
    const DWORD error = *name != 0 ? ResolvePath(name, program) : ERROR_PATH_NOT_FOUND;
    if (error != ERROR_SUCCESS) {
        return error;
    }
    struct stat status {};
    if (stat(program.c_str(), &status) != 0) {
        return ErrorFromErrno(errno);
    }
    return S_ISDIR(status.st_mode) ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

DWORD FindFolder(LPCWSTR name, std::string& folder)
{
    if (name == nullptr) {
        return ERROR_SUCCESS;
    }
    struct stat status {};
    const bool isFolder = ResolvePath(name, folder) == ERROR_SUCCESS && stat(folder.c_str(), &status) == 0 &&
                          S_ISDIR(status.st_mode);
    return isFolder ? ERROR_SUCCESS : ERROR_DIRECTORY;
}

void SetCommandLine(const std::u16string& line, Launch& launch)
{
    const std::vector<std::u16string> arguments = SplitCommandLine(line);
    for (const std::u16string& argument : arguments) {
        launch.arguments.push_back(ToHost(argument));
    }
    std::string variable = StartVariable({line, CurrentErrorMode()}, arguments);
    if (!variable.empty()) {
        launch.environment.push_back(std::move(variable));
    }
}

// The host refuses to execute a file without the permission; the platform knows none and finds no program.
DWORD ErrorOfSpawn(int error, const std::string& program)
{
    const bool readable = error == EACCES && access(program.c_str(), R_OK) == 0;
    return readable ? ERROR_BAD_EXE_FORMAT : ErrorFromErrno(error);
}

class SpawnActions {
public:
    SpawnActions() { posix_spawn_file_actions_init(&actions_); }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    posix_spawn_file_actions_t* Get() { return &actions_; }

private:
    posix_spawn_file_actions_t actions_;
};

// Who starts this program may have told it to forget its children; their exit codes would be lost.
void RememberChildren()
{
    struct sigaction action {};
    if (sigaction(SIGCHLD, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
        action.sa_handler = SIG_DFL;
        sigaction(SIGCHLD, &action, nullptr);
    }
}

DWORD Spawn(Launch& launch, pid_t& id)
{
    RememberChildren();
    SpawnActions actions;
    int error = 0;
    if (!launch.folder.empty()) {
        error = posix_spawn_file_actions_addchdir_np(actions.Get(), launch.folder.c_str());
    }
    if (error == 0 && !ChildErrorFile().empty()) {
        error = posix_spawn_file_actions_addopen(actions.Get(), STDERR_FILENO, ChildErrorFile().c_str(),
                                                 O_WRONLY | O_CREAT | O_APPEND, 0666);
    }
    if (error == 0 && !launch.inheritHandles) {
        error = posix_spawn_file_actions_addclosefrom_np(actions.Get(), STDERR_FILENO + 1);
    }
    if (error == 0) {
        const std::lock_guard starts(startOfProcess);
        error = posix_spawn(&id, launch.program.c_str(), actions.Get(), nullptr,
                            Pointers(launch.arguments).data(), Pointers(launch.environment).data());
    }
    return error == 0 ? ERROR_SUCCESS : ErrorOfSpawn(error, launch.program);
}

// Whether the startup information asks for nothing.
bool IsPlain(const STARTUPINFOW* startupInfo)
{
    return startupInfo != nullptr && startupInfo->cb == sizeof(*startupInfo) && startupInfo->dwFlags == 0 &&
           startupInfo->lpReserved == nullptr && startupInfo->lpDesktop == nullptr &&
           startupInfo->lpTitle == nullptr && startupInfo->cbReserved2 == 0 &&
           startupInfo->lpReserved2 == nullptr;
}

DWORD PrepareLaunch(LPCWSTR applicationName, LPCWSTR commandLine, LPCWSTR currentDirectory, Launch& launch)
{
    std::u16string line = commandLine != nullptr ? commandLine : u"";
    if (line.empty()) {
        line = u'"' + std::u16string(applicationName) + u'"';
    }
    if (line.size() > LONGEST_COMMAND_LINE) {
        return ERROR_FILENAME_EXCED_RANGE;
    }
    if (const DWORD error = FindFolder(currentDirectory, launch.folder); error != ERROR_SUCCESS) {
        return error;
    }
    SetCommandLine(line, launch);
    return FindProgram(applicationName, launch.program);
}

} // namespace

void SetChildErrorFile(std::string nativePath)
{
    ChildErrorFile() = std::move(nativePath);
}

} // namespace Platform::Host

using namespace Platform::Host;

LPWSTR WINAPI GetCommandLineW()
{
    return GateStops("GetCommandLineW") ? nullptr : OwnStart().commandLine.data();
}

DWORD WINAPI GetCurrentProcessId()
{
    GateSees("GetCurrentProcessId");
    return static_cast<DWORD>(getpid());
}

HANDLE WINAPI GetCurrentProcess()
{
    GateSees("GetCurrentProcess");
    return CURRENT_PROCESS;
}

LPWSTR WINAPI GetEnvironmentStringsW()
{
    return Guarded("GetEnvironmentStringsW", LPWSTR{nullptr}, [&]() -> LPWSTR {
        std::u16string block;
        for (const std::string& entry : OwnEnvironment()) {
            block += FromHost(entry) + u'\0';
        }
        auto* copy = new WCHAR[block.size() + 1];
        std::memcpy(copy, block.c_str(), (block.size() + 1) * sizeof(WCHAR));
        return copy;
    });
}

BOOL WINAPI FreeEnvironmentStringsW(LPWSTR block)
{
    GateSees("FreeEnvironmentStringsW");
    delete[] block;
    return TRUE;
}

BOOL WINAPI CreateProcessW(LPCWSTR applicationName, LPWSTR commandLine, LPSECURITY_ATTRIBUTES,
                           LPSECURITY_ATTRIBUTES, BOOL inheritHandles, DWORD creationFlags,
                           LPVOID environment, LPCWSTR currentDirectory, LPSTARTUPINFOW startupInfo,
                           LPPROCESS_INFORMATION processInformation)
{
    return Guarded("CreateProcessW", FALSE, [&]() -> BOOL {
        const bool wideEnvironment = (creationFlags & CREATE_UNICODE_ENVIRONMENT) != 0;
        if (applicationName == nullptr || processInformation == nullptr || !IsPlain(startupInfo) ||
            (creationFlags & ~CREATE_UNICODE_ENVIRONMENT) != 0 ||
            (environment != nullptr && !wideEnvironment)) {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        Launch launch;
        launch.inheritHandles = inheritHandles != FALSE;
        launch.environment = environment != nullptr
                                 ? EnvironmentOfBlock(static_cast<const WCHAR*>(environment))
                                 : OwnEnvironment();
        *processInformation = {};
        DWORD error = PrepareLaunch(applicationName, commandLine, currentDirectory, launch);
        // All memory is taken before there is a process: a failure means that none was started.
        const auto process = std::make_shared<ChildProcess>();
        PendingHandle processHandle(process);
        PendingHandle threadHandle(process);
        pid_t id = 0;
        if (error == ERROR_SUCCESS) {
            error = Spawn(launch, id);
        }
        if (error != ERROR_SUCCESS) {
            return Fail(error);
        }
        process->SetId(id);
        *processInformation = {processHandle.HandOut(), threadHandle.HandOut(), static_cast<DWORD>(id),
                               static_cast<DWORD>(id)};
        return TRUE;
    });
}

BOOL WINAPI GetExitCodeProcess(HANDLE process, LPDWORD exitCode)
{
    return Guarded("GetExitCodeProcess", FALSE, [&]() -> BOOL {
        const auto found = FindProcess(process);
        if (found == nullptr) {
            return FALSE;
        }
        *exitCode = found->ExitCode();
        return TRUE;
    });
}

BOOL WINAPI TerminateProcess(HANDLE process, UINT exitCode)
{
    return Guarded("TerminateProcess", FALSE, [&]() -> BOOL {
        const auto found = FindProcess(process);
        return found != nullptr ? found->Terminate(exitCode) : FALSE;
    });
}
