#include "Plinth/Debug/CrcFolding.h"

namespace Plinth {

template <BitOrder ORDER>
std::uint32_t AdvanceCrc(std::uint32_t state, const unsigned char* bytes, std::uint32_t count)
{
    return AdvanceByTables<ORDER>(state, bytes, count);
}

template <BitOrder ORDER>
CrcAdvance NarrowFolding()
{
    return nullptr;
}

template <BitOrder ORDER>
CrcAdvance WideFolding()
{
    return nullptr;
}

template std::uint32_t AdvanceCrc<BitOrder::LOW_FIRST>(std::uint32_t, const unsigned char*, std::uint32_t);
template std::uint32_t AdvanceCrc<BitOrder::HIGH_FIRST>(std::uint32_t, const unsigned char*, std::uint32_t);
template CrcAdvance NarrowFolding<BitOrder::LOW_FIRST>();
template CrcAdvance NarrowFolding<BitOrder::HIGH_FIRST>();
template CrcAdvance WideFolding<BitOrder::LOW_FIRST>();
template CrcAdvance WideFolding<BitOrder::HIGH_FIRST>();

} // namespace Plinth
