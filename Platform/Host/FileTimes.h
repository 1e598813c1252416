// Times of files, between the host's form and the platform's.
#pragma once

#include "Platform/Host/Api/Time.h"

#include <cstdint>
#include <ctime>
#include <limits>

namespace Platform::Host {

constexpr std::int64_t FILE_TIME_STEPS_A_SECOND = 10'000'000;
constexpr std::int64_t NANOSECONDS_A_STEP = 100;
constexpr std::int64_t FIRST_SECOND = -11'644'473'600; // of file times, counted from 1970
constexpr std::int64_t FILE_TIME_OF_1970 = -FIRST_SECOND * FILE_TIME_STEPS_A_SECOND;
constexpr std::int64_t LAST_FILE_TIME = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t LAST_SECOND = LAST_FILE_TIME / FILE_TIME_STEPS_A_SECOND + FIRST_SECOND;

// To the step before where the host's time lies between two; the first or last one where it lies beyond all.
inline std::int64_t ToSteps(const timespec& time)
{
    const std::int64_t seconds = time.tv_sec;
    if (seconds < FIRST_SECOND) {
        return 0;
    }
    return seconds >= LAST_SECOND
               ? LAST_FILE_TIME
               : (seconds - FIRST_SECOND) * FILE_TIME_STEPS_A_SECOND + time.tv_nsec / NANOSECONDS_A_STEP;
}

inline FILETIME ToFileTime(const timespec& time)
{
    const std::int64_t steps = ToSteps(time);
    return {static_cast<DWORD>(steps), static_cast<DWORD>(static_cast<std::uint64_t>(steps) >> 32)};
}

// The steps as one number; negative ones are no times.
inline std::int64_t StepsOf(const FILETIME& time)
{
    return static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
}

inline timespec FromSteps(std::int64_t steps)
{
    const std::int64_t since1970 = steps - FILE_TIME_OF_1970;
    std::int64_t seconds = since1970 / FILE_TIME_STEPS_A_SECOND;
    std::int64_t rest = since1970 % FILE_TIME_STEPS_A_SECOND;
    if (rest < 0) {
        rest += FILE_TIME_STEPS_A_SECOND;
        --seconds;
    }
    return {static_cast<time_t>(seconds), static_cast<long>(rest * NANOSECONDS_A_STEP)};
}

} // namespace Platform::Host
