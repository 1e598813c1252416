// Faults where the log has no room; its dump is written.
#include "Plinth/Debug/TraceState.h"
#include "Tests/Crash/CrashCase.h"

namespace {

void FaultWithFullDisk()
{
    if (Plinth::traceState.logFile != nullptr) {
        WriteToNowhere();
    }
}

} // namespace

const CrashCase FULL_DISK = {
    .word = "FullDisk",
    .crash = FaultWithFullDisk,
    .logPath = R"(Z:\dev\full)",
    .log = CrashLog::EMPTY,
};
