// Faults on two threads at once. Their reports mix where the platform tells of both at once; Wine's
// debug-help library, which is made for one, may abort over it.
#include "Tests/Crash/CrashCase.h"
#include "Tests/Support/Target.h"

#include <atomic>

namespace {

std::atomic<int> waiting{2};

DWORD WINAPI FaultTogether(LPVOID /*parameter*/)
{
    for (--waiting; waiting > 0;) {
    }
    WriteToNowhere();
    return 0;
}

void FaultTwice()
{
    CreateThread(nullptr, 0, FaultTogether, nullptr, 0, nullptr);
    FaultTogether(nullptr);
}

} // namespace

const CrashCase TWO_THREADS = {
    .word = "TwoThreads",
    .crash = FaultTwice,
    .exitCode = ANY_EXIT_CODE,
    .log = CrashLog::OTHER,
    .says = {FAULTS_ARE_SIGNALS ? "\nMinidump successfully written.\n" : nullptr},
    .dump = CrashDump::ANY,
};
