// The state of the call-stack dump, for the diagnostics that share it.
#pragma once

#include "Platform/Win32.h"

#include <atomic>
#include <cstdint>

namespace Plinth {

struct StackDumpState {
    std::atomic<std::int32_t> busy{-1}; // dumps asked for and not done, less one
    std::atomic<DWORD> dumped{0};       // the thread whose stack is dumped at the moment
    std::atomic<DWORD> dumping{0};      // the one that does it; 0: there is none
    std::uint8_t exiting{0};            // set before the process is ended, for good: no dump any more
};

extern StackDumpState stackDumpState;

} // namespace Plinth
