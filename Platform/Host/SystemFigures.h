// The figures that the host shows of itself and of the process.
#pragma once

#include <cstddef>

namespace Platform::Host {

// One of the system's text files of "Name:   1234" lines, kept on the stack: who asks may be out of memory.
class SystemFigures {
public:
    explicit SystemFigures(const char* path);

    // 0 for a name that is not there. The name carries its line end and colon: "\nMemFree:".
    [[nodiscard]] std::size_t Number(const char* name) const;

private:
    char text_[8192];
};

} // namespace Platform::Host
