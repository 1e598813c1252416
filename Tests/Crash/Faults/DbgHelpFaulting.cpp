// Faults where the debug-help library faults as well: the report goes on behind each of its steps.
#include "Plinth/Debug/DbgHelp.h"
#include "Tests/Crash/CrashCase.h"

namespace {

template <typename... Arguments>
BOOL WINAPI FaultToo(Arguments...)
{
    WriteToNowhere();
    return FALSE;
}

void FaultWithFaultingDbgHelp()
{
    Plinth::symbolState.functions.SymGetSymFromAddr = FaultToo;
    Plinth::symbolState.functions.StackWalk = FaultToo;
    Plinth::symbolState.functions.MiniDumpWriteDump = FaultToo;
    WriteToNowhere();
}

} // namespace

const CrashCase DBGHELP_FAULTING = {
    .word = "DbgHelpFaulting",
    .crash = FaultWithFaultingDbgHelp,
    .bytes = "89 01",
    .says = {"\n  Stack dump:\n\n", "Error while writing minidump!"},
    .dump = CrashDump::ANY,
};
