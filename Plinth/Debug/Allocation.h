/// \file
/// The library's heap entry points. They make an exhausted heap visible: a block that cannot be had is traced
/// together with the machine's memory figures. The runtime's heap does the work and may be used side by side.
#pragma once

#include <cstdint>

namespace Plinth {

/// A block of at least `size` bytes, uninitialised and aligned as malloc does it, to be given back with
/// FreeMemory or free; null, after ReportAllocationFailure, when there is none.
[[nodiscard]] void* AllocateMemory(std::uint32_t size);

/// The same for a size that was summed in 64 bits: there is no block past 32, and the report then names the
/// largest size.
[[nodiscard]] void* AllocateSummed(std::uint64_t size);

void FreeMemory(void* block); ///< may be null

/// Traces the size and the memory status. Takes no heap memory.
void ReportAllocationFailure(std::uint32_t size);

/// Traces the machine's memory figures in one line, in whole megabytes. Takes no heap memory.
void TraceMemoryStatus();

} // namespace Plinth
