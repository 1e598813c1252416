#include "Platform/Host/Api/Memory.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

// The user's half of the address space of a 64-bit process.
constexpr SIZE_T ADDRESS_SPACE = sizeof(void*) > 4 ? SIZE_T{1} << 47 : SIZE_T{3} << 30;

std::optional<MEMORYSTATUS>& ShownStatus()
{
    static std::optional<MEMORYSTATUS> status;
    return status;
}

// One of the system's text files of "Name:   1234 kB" lines, kept on the stack: who asks may be out of
// memory.
class Figures {
public:
    explicit Figures(const char* path)
    {
        const int file = open(path, O_RDONLY | O_CLOEXEC);
        const ssize_t length = file >= 0 ? read(file, text_, sizeof(text_) - 1) : 0;
        text_[length > 0 ? length : 0] = 0;
        if (file >= 0) {
            close(file);
        }
    }

    // In bytes; 0 for a name that is not there. The name carries its line end and colon: "\nMemFree:".
    [[nodiscard]] SIZE_T Bytes(const char* name) const
    {
        const char* const found = std::strstr(text_, name);
        return found != nullptr ? std::strtoull(found + std::strlen(name), nullptr, 10) * 1024 : 0;
    }

private:
    char text_[8192];
};

SIZE_T VirtualLimit()
{
    rlimit limit{};
    const bool limited = getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
    return limited && limit.rlim_cur < ADDRESS_SPACE ? limit.rlim_cur : ADDRESS_SPACE;
}

MEMORYSTATUS ReadStatus()
{
    const Figures memory("/proc/meminfo");
    const Figures process("/proc/self/status");
    MEMORYSTATUS status{};
    status.dwTotalPhys = memory.Bytes("MemTotal:");
    status.dwAvailPhys = memory.Bytes("\nMemAvailable:");
    status.dwTotalPageFile = status.dwTotalPhys + memory.Bytes("\nSwapTotal:");
    status.dwAvailPageFile = status.dwAvailPhys + memory.Bytes("\nSwapFree:");
    status.dwTotalVirtual = VirtualLimit();
    const SIZE_T used = process.Bytes("\nVmSize:");
    status.dwAvailVirtual = used < status.dwTotalVirtual ? status.dwTotalVirtual - used : 0;
    if (status.dwTotalPhys != 0) {
        const SIZE_T usedPhysical = status.dwTotalPhys - status.dwAvailPhys;
        status.dwMemoryLoad = static_cast<DWORD>(usedPhysical * 100 / status.dwTotalPhys);
    }
    return status;
}

} // namespace

void SetShownMemoryStatus(std::optional<MEMORYSTATUS> status)
{
    ShownStatus() = status;
}

} // namespace Platform::Host

using namespace Platform::Host;

void WINAPI GlobalMemoryStatus(LPMEMORYSTATUS status)
{
    GateSees("GlobalMemoryStatus");
    *status = ShownStatus() ? *ShownStatus() : ReadStatus();
    status->dwLength = sizeof(*status);
}
