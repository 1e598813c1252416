#include "Platform/Host/SystemFigures.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace Platform::Host {

SystemFigures::SystemFigures(const char* path)
{
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    const ssize_t length = file >= 0 ? read(file, text_, sizeof(text_) - 1) : 0;
    text_[length > 0 ? length : 0] = 0;
    if (file >= 0) {
        close(file);
    }
}

std::size_t SystemFigures::Number(const char* name) const
{
    const char* const found = std::strstr(text_, name);
    return found != nullptr ? std::strtoull(found + std::strlen(name), nullptr, 10) : 0;
}

} // namespace Platform::Host
