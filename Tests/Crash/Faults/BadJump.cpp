// Calls what is no function.
#include "Tests/Crash/CrashCase.h"

namespace {

void CallNothing()
{
    auto* volatile const nothing = reinterpret_cast<void (*)()>(0xDEA0);
    nothing();
}

} // namespace

const CrashCase BAD_JUMP = {
    .word = "BadJump",
    .crash = CallNothing,
    .bytes = "?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? \n",
    .says = {" at 0x0000dea0!", "\n  module Unknown (time stamp 0x00000000, base address 0x00000000) at "},
};
