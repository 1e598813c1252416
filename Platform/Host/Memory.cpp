#include "Platform/Host/Api/Memory.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Regions.h"
#include "Platform/Host/SystemFigures.h"

#include <sys/resource.h>

namespace Platform::Host {

namespace {

std::optional<MEMORYSTATUS>& ShownStatus()
{
    static std::optional<MEMORYSTATUS> status;
    return status;
}

// In bytes; the file counts in kilobytes.
SIZE_T Bytes(const SystemFigures& figures, const char* name)
{
    return figures.Number(name) * 1024;
}

SIZE_T VirtualLimit()
{
    rlimit limit{};
    const bool limited = getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
    return limited && limit.rlim_cur < ADDRESS_SPACE ? limit.rlim_cur : ADDRESS_SPACE;
}

MEMORYSTATUS ReadStatus()
{
    const SystemFigures memory("/proc/meminfo");
    const SystemFigures process("/proc/self/status");
    MEMORYSTATUS status{};
    status.dwTotalPhys = Bytes(memory, "MemTotal:");
    status.dwAvailPhys = Bytes(memory, "\nMemAvailable:");
    status.dwTotalPageFile = status.dwTotalPhys + Bytes(memory, "\nSwapTotal:");
    status.dwAvailPageFile = status.dwAvailPhys + Bytes(memory, "\nSwapFree:");
    status.dwTotalVirtual = VirtualLimit();
    const SIZE_T used = Bytes(process, "\nVmSize:");
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
