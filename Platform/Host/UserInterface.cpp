#include "Platform/Host/Api/UserInterface.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Utf.h"

#include <csignal>
#include <unistd.h>

namespace Platform::Host {

namespace {

MessageBoxHook& Hook()
{
    static MessageBoxHook hook;
    return hook;
}

// Keeps a write to a pipe that nobody reads from ending the process, without changing what children inherit.
class BrokenPipeGuard {
public:
    BrokenPipeGuard()
    {
        sigemptyset(&brokenPipe_);
        sigaddset(&brokenPipe_, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &brokenPipe_, &before_);
    }

    ~BrokenPipeGuard()
    {
        const timespec now{};
        sigtimedwait(&brokenPipe_, nullptr, &now);
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }

    BrokenPipeGuard(const BrokenPipeGuard&) = delete;
    BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

private:
    sigset_t brokenPipe_{};
    sigset_t before_{};
};

// One write, so that boxes of several processes do not mix.
bool PrintBox(const MessageBoxCall& call)
{
    const std::string text = ToHost(call.caption) + '\n' + ToHost(call.text) + '\n';
    const BrokenPipeGuard guard;
    return write(STDERR_FILENO, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

} // namespace

void SetMessageBoxHook(MessageBoxHook hook)
{
    Hook() = std::move(hook);
}

} // namespace Platform::Host

using namespace Platform::Host;

int WINAPI MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type)
{
    return Guarded("MessageBoxW", 0, [&]() -> int {
        const MessageBoxCall call{owner != nullptr, text != nullptr ? text : u"",
                                  caption != nullptr ? caption : u"Error", type};
        if (Hook()) {
            return Hook()(call);
        }
        return PrintBox(call) ? IDOK : Fail(ERROR_GEN_FAILURE);
    });
}
