// What the system information keeps once it has been asked for.
#pragma once

#include <cstdint>

namespace Plinth {

struct CpuInfo {
    char vendor[12 + 1];
    char brand[48 + 1]; // empty where the processor has none
    std::uint32_t signature;
    std::uint32_t miscellaneous;
    std::uint32_t features;
    std::uint32_t extendedFeatures;
    std::uint32_t cacheParameters;
    std::uint32_t extendedSizes;
    bool queried;
};
static_assert(sizeof(CpuInfo) == 92);

struct SystemInfoState {
    CpuInfo cpu;
    char programVersion[16]; // empty: not composed yet
};

extern SystemInfoState systemInfoState;

} // namespace Plinth
