/// \file
/// What the processor tells of itself by its CPUID instruction. It is asked once, at the first question.
#pragma once

#include <cstdint>

namespace Plinth {

constexpr std::int32_t CPU_FEATURE_MMX = 0;   ///< integer vectors of 64 bits
constexpr std::int32_t CPU_FEATURE_SSE = 1;   ///< vectors of four floats
constexpr std::int32_t CPU_FEATURE_3DNOW = 2; ///< AMD's vectors of two floats

constexpr std::int32_t CPU_TEXT_VENDOR = 0; ///< "GenuineIntel"
constexpr std::int32_t CPU_TEXT_BRAND = 1;  ///< at most 48 characters, as the maker wants to see it called

/// Asks the processor anew. On one without the instruction nothing is known: no feature, no text, one core.
void QueryCpu();

bool HasCpuFeature(std::int32_t kind);     ///< false for kinds that are not listed above
const char* GetCpuText(std::int32_t kind); ///< null: not known, or no such kind
std::int32_t GetCpuCoreCount();            ///< of a package; 1 for makers but Intel and AMD
std::int32_t GetCpuLogicalPerPackage();    ///< logical processors; 1 without hyper-threading

} // namespace Plinth
