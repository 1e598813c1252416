#include "Tests/Platform/BusyThread.h"

namespace {

volatile LONG count = 0;
volatile LONG ends = 0;

} // namespace

extern "C" {

[[gnu::noinline]] void BusyLoop()
{
    while (ends == 0) {
        count = static_cast<LONG>((static_cast<DWORD>(count) + 1) & 0xFFFFFF);
    }
}

[[gnu::noinline]] int BusyRecursion(int depth) // NOLINT(misc-no-recursion)
{
    volatile int result = depth; // work behind the call keeps its frame
    if (depth > 1) {
        result = result + BusyRecursion(depth - 1);
    } else {
        BusyLoop();
    }
    return result;
}

[[gnu::noinline]] DWORD WINAPI BusyStart(LPVOID /*parameter*/)
{
    volatile int result = BusyRecursion(BusyThread::DEPTH);
    return result != 0 ? BusyThread::EXIT_CODE : 0;
}
}

BusyThread::BusyThread() : handle_((ends = 0, CreateThread(nullptr, 0, BusyStart, nullptr, 0, &id_)))
{
    while (!Counts()) {
    }
}

BusyThread::~BusyThread()
{
    End();
    CloseHandle(handle_);
}

bool BusyThread::Counts() const
{
    const LONG before = count;
    Sleep(20);
    return count != before;
}

void BusyThread::End()
{
    ends = 1;
    WaitForSingleObject(handle_, 20000);
}
