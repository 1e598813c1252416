#include "Platform/Host/StandardError.h"

#include <csignal>
#include <unistd.h>

namespace Platform::Host {

namespace {

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

} // namespace

bool WriteToStandardError(std::string_view text)
{
    const BrokenPipeGuard guard;
    return write(STDERR_FILENO, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

} // namespace Platform::Host
