#include "Plinth/Debug/ProcessSwitch.h"

#include <atomic>

namespace Plinth {

namespace {

std::atomic<std::uint8_t> processSwitch{0};

} // namespace

void SetProcessSwitch(std::uint8_t value)
{
    processSwitch = value;
}

std::uint8_t GetProcessSwitch()
{
    return processSwitch;
}

bool IsProcessSwitchSet()
{
    return processSwitch != 0;
}

} // namespace Plinth
