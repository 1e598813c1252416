// Faults where no debug-help library was found.
#include "Plinth/Debug/DbgHelp.h"
#include "Tests/Crash/CrashCase.h"

namespace {

void FaultWithoutDbgHelp()
{
    Plinth::symbolState = {.dbgHelp = Plinth::Attempt::FAILED};
    WriteToNowhere();
}

} // namespace

const CrashCase DBGHELP_MISSING = {
    .word = "DbgHelpMissing",
    .crash = FaultWithoutDbgHelp,
    .bytes = "89 01",
    .says = {"\n  Stack dump:\n\n    <Symbol handler not initialized>\n",
             "Can't write minidump (dbghelp.dll not loaded)!"},
    .dump = CrashDump::NONE,
};
