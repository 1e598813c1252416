#include "Platform/Host/Restrictions.h"

#include <cerrno>
#include <exception>
#include <system_error>

namespace Platform::Host {

namespace {

constexpr uid_t NOBODY = 65534;

void Require(int result)
{
    if (result != 0) {
        throw std::system_error(errno, std::generic_category());
    }
}

} // namespace

LoweredLimit::LoweredLimit(__rlimit_resource resource, rlim_t limit)
    : resource_(resource), handler_(std::signal(SIGXFSZ, SIG_IGN))
{
    Require(getrlimit(resource, &before_));
    const rlimit lowered{limit, before_.rlim_max};
    Require(setrlimit(resource, &lowered));
}

LoweredLimit::~LoweredLimit()
{
    setrlimit(resource_, &before_);
    std::signal(SIGXFSZ, handler_);
}

OrdinaryUser::OrdinaryUser() : before_(geteuid())
{
    if (before_ == 0) {
        Require(seteuid(NOBODY));
    }
}

OrdinaryUser::~OrdinaryUser()
{
    if (before_ == 0 && seteuid(before_) != 0) {
        std::terminate(); // whatever comes next would run with other rights than it expects
    }
}

} // namespace Platform::Host
