// The state of the crash report.
#pragma once

#include <cstdint>

namespace Plinth {

inline constexpr std::uint32_t STATIC_DIAGNOSTICS_SIZE = 10'240;

struct CrashState {
    std::int32_t position; // where the next byte goes, over the oldest one; by a fault it may be anything
    char diagnostics[STATIC_DIAGNOSTICS_SIZE];
    std::uint32_t pureCallReturnAddress; // of the last pure virtual call; 0: there was none
};

extern CrashState crashState;

} // namespace Plinth
