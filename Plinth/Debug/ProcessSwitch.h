/// \file
/// One byte that the programs of the game may agree upon within a process. It is 0 at first; the library only
/// keeps it.
#pragma once

#include <cstdint>

namespace Plinth {

void SetProcessSwitch(std::uint8_t value); ///< from now on, for all threads
std::uint8_t GetProcessSwitch();           ///< as it was set last
bool IsProcessSwitchSet();                 ///< whether it is anything but 0

} // namespace Plinth
