// What the host's permissions of a file mean to the platform.
#pragma once

#include <sys/stat.h>

namespace Platform::Host {

constexpr mode_t ANY_WRITING = 0222;

// Also where the host's superuser could write it.
inline bool IsReadOnly(const struct stat& status)
{
    return (status.st_mode & ANY_WRITING) == 0;
}

} // namespace Platform::Host
