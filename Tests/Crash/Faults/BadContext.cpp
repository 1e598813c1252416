// Hands a fault without a context to the report, which then ends behind its heading; the program goes on.
#include "Plinth/Debug/CrashReport.h"
#include "Tests/Crash/CrashCase.h"

namespace {

void ReportBadContext()
{
    EXCEPTION_RECORD record{};
    record.ExceptionCode = 0xE0001234;
    EXCEPTION_POINTERS exception{&record, reinterpret_cast<CONTEXT*>(0xDEA0)};
    Plinth::HandleException(&exception);
}

} // namespace

const CrashCase BAD_CONTEXT = {
    .word = "BadContext",
    .crash = ReportBadContext,
    .exitCode = RETURNED,
    .signal = 0,
    .log = CrashLog::OTHER,
    .says = {"ERROR: Exception 0xe0001234 at 0x00000000!\n\nError while writing minidump!\n"},
    .dump = CrashDump::ANY,
};
