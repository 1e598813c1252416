// Aborts, of which no filter hears.
#include "Tests/Crash/CrashCase.h"

#include <cstdlib>

const CrashCase ABORT = {
    .word = "Abort",
    .crash = std::abort,
    .exitCode = 3,
    .signal = 6,
    .log = CrashLog::EMPTY,
    .dump = CrashDump::NONE,
};
