// CRC-32 by carry-less multiplication. Each processor has its own source; CrcFoldingNone.cpp is for those
// without.
#pragma once

#include "Plinth/Debug/CrcTables.h"

namespace Plinth {

using CrcAdvance = std::uint32_t (*)(std::uint32_t state, const unsigned char* bytes, std::uint32_t count);

// The state after the bytes, in the fastest way that processor and system have.
template <BitOrder ORDER>
std::uint32_t AdvanceCrc(std::uint32_t state, const unsigned char* bytes, std::uint32_t count);

// Its ways for 16 bytes or more, by registers of 128 and of 256 bits; null: processor or system have it not.
template <BitOrder ORDER>
CrcAdvance NarrowFolding();
template <BitOrder ORDER>
CrcAdvance WideFolding();

} // namespace Plinth
