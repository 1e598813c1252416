// What tests take away from their process for a while. Each ends with its object.
#pragma once

#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

namespace Platform::Host {

// A lower limit of a resource: RLIMIT_NOFILE, the number that descriptors stay below; RLIMIT_FSIZE, the
// length that files do not grow beyond, which is then a failure of the call and no signal.
class LoweredLimit {
public:
    LoweredLimit(__rlimit_resource resource, rlim_t limit);
    ~LoweredLimit();
    LoweredLimit(const LoweredLimit&) = delete;
    LoweredLimit& operator=(const LoweredLimit&) = delete;

private:
    __rlimit_resource resource_;
    rlimit before_{};
    void (*handler_)(int);
};

// The rights of the superuser, where the process has them: it is nobody's then.
class OrdinaryUser {
public:
    OrdinaryUser();
    ~OrdinaryUser();
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    uid_t before_;
};

} // namespace Platform::Host
