#include "Platform/Host/Api/Time.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/InvalidArgument.h"

#include <cerrno>

namespace Platform::Host {

namespace {

constexpr __time64_t LAST_TIME = 32535244799; // the platform's, in the year 3001

std::optional<SYSTEMTIME>& ShownTime()
{
    static std::optional<SYSTEMTIME> time;
    return time;
}

SYSTEMTIME Now()
{
    timespec now{};
    tm local{};
    clock_gettime(CLOCK_REALTIME, &now);
    localtime_r(&now.tv_sec, &local);
    return {.wYear = static_cast<WORD>(local.tm_year + 1900),
            .wMonth = static_cast<WORD>(local.tm_mon + 1),
            .wDayOfWeek = static_cast<WORD>(local.tm_wday),
            .wDay = static_cast<WORD>(local.tm_mday),
            .wHour = static_cast<WORD>(local.tm_hour),
            .wMinute = static_cast<WORD>(local.tm_min),
            .wSecond = static_cast<WORD>(local.tm_sec),
            .wMilliseconds = static_cast<WORD>(now.tv_nsec / 1000000)};
}

} // namespace

void SetShownTime(std::optional<SYSTEMTIME> time)
{
    ShownTime() = time;
}

} // namespace Platform::Host

using namespace Platform::Host;

void WINAPI GetLocalTime(LPSYSTEMTIME time)
{
    GateSees("GetLocalTime");
    *time = ShownTime() ? *ShownTime() : Now();
}

// The host's structure has fields that the platform's has not: those say that the time is UTC.
errno_t _gmtime64_s(std::tm* fields, const __time64_t* time)
{
    DWORD unused = ERROR_SUCCESS;
    const bool stops = GateStops("_gmtime64_s", unused);
    if (fields == nullptr) {
        return Refusing(EINVAL);
    }
    *fields = {-1, -1, -1, -1, -1, -1, -1, -1, -1};
    if (time == nullptr) {
        return Refusing(EINVAL);
    }
    if (stops || *time < 0 || *time > LAST_TIME) {
        return EINVAL;
    }
    const std::time_t seconds = *time;
    gmtime_r(&seconds, fields);
    return 0;
}
