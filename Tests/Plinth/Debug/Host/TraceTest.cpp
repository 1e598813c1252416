// What only the host layer can set: the clock and the machine's memory.
#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Plinth/Debug/Allocation.h"
#include "Plinth/Debug/TraceLogFile.h"
#include "Plinth/Debug/TraceState.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

namespace Plinth {
namespace {

TEST(HostTrace, TimeStampPadsMillisecondsWithBlanks)
{
    Platform::Host::SetShownTime(SYSTEMTIME{2024, 1, 3, 2, 3, 4, 5, 42});
    const TraceCapture trace;
    TraceTimeStamp();
    Trace("\n");
    Platform::Host::SetShownTime({});
    EXPECT_EQ(trace.Text(), "[ 2024/01/02 03:04:05:  42 ]\n");
}

TEST(HostTrace, MemoryStatusIsInWholeMegabytes)
{
    Platform::Host::SetShownMemoryStatus(
        MEMORYSTATUS{0, 37, 2147483648, 1572863, SIZE_T{1} << 40, 1048575, 1048576, 5u << 20});
    const TraceCapture trace;
    TraceMemoryStatus();
    Platform::Host::SetShownMemoryStatus({});
    EXPECT_EQ(trace.Text(),
              "\nMemory load 37%, available virtual 5 MB, total virtual 1 MB, available physical 1 MB, total "
              "physical 2048 MB, available page file 0 MB, total page file 1048576 MB.\n\n");
}

// Each line is one write, between the two calls that keep the last error.
TEST(HostTrace, CallsThePlatformOnceALine)
{
    const ScratchFolder scratch;
    const TraceCapture trace;
    traceState.logFile = CreateFileW(ToPlatform(scratch.Path() / "log").c_str(), GENERIC_WRITE, 0, nullptr,
                                     CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    const std::vector<std::string> line = {"GetLastError", "WriteFile", "SetLastError"};
    for (const char* text : {"a", "\n", "b\t\n"}) {
        const Platform::Host::GateWatch watch;
        Trace(text);
        EXPECT_EQ(watch.Calls(), *text == 'a' ? std::vector<std::string>() : line);
    }
    CloseLogFile();
}

} // namespace
} // namespace Plinth
