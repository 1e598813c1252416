// Gives the runtime an argument that it refuses: a number's base.
#include "Tests/Crash/CrashCase.h"
#include "Tests/Support/Target.h"

namespace {

void GiveBadArgument()
{
    char text[32];
    static_cast<void>(_itoa_s(5, text, sizeof(text), 99));
}

} // namespace

const CrashCase INVALID_PARAMETER = {
    .word = "InvalidParameter",
    .crash = GiveBadArgument,
    .exitCode = RUNTIME_TELLS_OF_PARAMETERS ? 1 : RETURNED,
    .signal = 0,
    .log = RUNTIME_TELLS_OF_PARAMETERS ? CrashLog::OTHER : CrashLog::EMPTY,
    .says = {RUNTIME_TELLS_OF_PARAMETERS ? "    Error: Invalid parameter!\n" : nullptr},
    .dump = RUNTIME_TELLS_OF_PARAMETERS ? CrashDump::ANY : CrashDump::NONE,
};
