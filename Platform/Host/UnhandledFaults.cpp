#include "Platform/Host/UnhandledFaults.h"

#include "Platform/FaultGuard.h"
#include "Platform/Host/Drives.h"
#include "Platform/Host/FaultRecords.h"
#include "Platform/Host/Frames.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Registers.h"

#include <atomic>
#include <ctime>
#include <new>
#include <utility>

namespace Platform::Host {

namespace {

constinit std::atomic<LPTOP_LEVEL_EXCEPTION_FILTER> currentFilter{nullptr};
constinit thread_local bool isAsked = false; // the filter, by this thread

// What a report calls has been called once before: what is bound, read or kept at the first call is then.
void RehearseReport()
{
    FrameList frames;
    RunGuarded([&] { CollectFrames(0, frames); });
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    try {
        char16_t root[DRIVE_ROOT_LENGTH];
        ToDrivePath("/", root, DRIVE_ROOT_LENGTH);
    } catch (const std::bad_alloc&) { // then a report has no paths
    }
}

// While it lives, the signal's frame tells the place that the context does, or the caller's where that is
// nowhere: who walks the stack from the handler gets over it.
class PlaceOfFault {
public:
    PlaceOfFault(ucontext_t& host, const CONTEXT& context) : host_(host)
    {
        ReadRegisters(host, before_);
        const DWORD_PTR caller = CallerOfNowhere(context);
        if (caller != 0) {
            SetPlace(host, caller, context.Esp + sizeof(caller));
        } else {
            SetPlace(host, context.Eip, context.Esp);
        }
    }
    ~PlaceOfFault() { SetPlace(host_, before_.Eip, before_.Esp); }
    PlaceOfFault(const PlaceOfFault&) = delete;
    PlaceOfFault& operator=(const PlaceOfFault&) = delete;

private:
    ucontext_t& host_;
    CONTEXT before_;
};

} // namespace

void ReportFault(int signal, const siginfo_t& information, ucontext_t& host)
{
    const LPTOP_LEVEL_EXCEPTION_FILTER filter = currentFilter;
    if (filter == nullptr || std::exchange(isAsked, true)) {
        return;
    }
    EXCEPTION_RECORD record;
    CONTEXT context;
    DescribeFault(signal, information, host, record, context);
    {
        const PlaceOfFault place(host, context);
        EXCEPTION_POINTERS pointers{&record, &context};
        filter(&pointers);
    }
    isAsked = false;
}

} // namespace Platform::Host

using namespace Platform::Host;

LPTOP_LEVEL_EXCEPTION_FILTER WINAPI SetUnhandledExceptionFilter(LPTOP_LEVEL_EXCEPTION_FILTER filter)
{
    GateSees("SetUnhandledExceptionFilter");
    if (filter != nullptr) {
        PrepareForFaults();
        RehearseReport();
    }
    return currentFilter.exchange(filter);
}
