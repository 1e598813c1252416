// Throws what nobody catches: the C++ runtime aborts, of which no filter hears.
#include "Tests/Crash/CrashCase.h"

#include <stdexcept>

namespace {

void Throw()
{
    throw std::runtime_error("no more levels");
}

} // namespace

const CrashCase UNCAUGHT_EXCEPTION = {
    .word = "UncaughtException",
    .crash = Throw,
    .exitCode = 3,
    .signal = 6,
    .log = CrashLog::EMPTY,
    .dump = CrashDump::NONE,
};
