// Faults on another thread than the program's first.
#include "Tests/Crash/CrashCase.h"

namespace {

DWORD WINAPI Fault(LPVOID /*parameter*/)
{
    AnnounceThread();
    WriteToNowhere();
    return 0;
}

void FaultBesides()
{
    WaitForSingleObject(CreateThread(nullptr, 0, Fault, nullptr, 0, nullptr), INFINITE);
}

} // namespace

const CrashCase SECOND_THREAD = {
    .word = "SecondThread",
    .crash = FaultBesides,
    .bytes = "89 01",
    .frame = "Fault",
};
