#include "Plinth/Debug/StackDump.h"

#include "Plinth/Debug/Minidump.h"
#include "Plinth/Debug/Symbols.h"
#include "Plinth/Debug/Trace.h"
#include "Plinth/Debug/TraceState.h"
#include "Tests/Plinth/Debug/FreshDiagnostics.h"
#include "Tests/Support/MinidumpReader.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <regex>

namespace Plinth {
namespace {

class StackDumps : public testing::Test {
protected:
    StackDumps() { SetMinidumpLocation(ToUtf8(ToPlatform(scratch_.Path())).c_str(), "Stack"); }
    ~StackDumps() override { ClearMinidumpLocation(); }

    [[nodiscard]] std::vector<std::filesystem::path> Dumps() const
    {
        return {std::filesystem::directory_iterator(scratch_.Path()), {}};
    }

    ScratchFolder scratch_;
    FreshDiagnostics fresh_;
};

int framesToWalk;

BOOL WINAPI Walk(DWORD, HANDLE process, HANDLE, LPSTACKFRAME frame, LPVOID context,
                 PREAD_PROCESS_MEMORY_ROUTINE, PFUNCTION_TABLE_ACCESS_ROUTINE, PGET_MODULE_BASE_ROUTINE,
                 PTRANSLATE_ADDRESS_ROUTINE)
{
    EXPECT_EQ(process, symbolState.process);
    EXPECT_EQ(static_cast<CONTEXT*>(context)->ContextFlags & CONTEXT_FULL, CONTEXT_CONTROL);
    ++frame->AddrPC.Offset;
    return framesToWalk-- > 0;
}

std::size_t FramesIn(const std::string& text)
{
    static const std::regex frame(R"(\n  [0-9a-f]{4}:[0-9a-f]{8}  0x)");
    return static_cast<std::size_t>(std::distance(std::sregex_iterator(text.begin(), text.end(), frame), {}));
}

TEST_F(StackDumps, ShowUpTo24Frames)
{
    ASSERT_TRUE(LoadDbgHelp());
    ASSERT_TRUE(InitSymbols());
    symbolState.functions.StackWalk = Walk;
    symbolState.functions.MiniDumpWriteDump = nullptr;
    for (const int frames : {0, 1, 24, 25, 26}) {
        const TraceCapture trace;
        framesToWalk = frames;
        DumpCallStack();
        const std::string text = trace.Text();
        EXPECT_EQ(FramesIn(text), std::min<std::size_t>(24, static_cast<std::size_t>(frames)));
        EXPECT_EQ(text.find("\n  <...>\n\n") != std::string::npos, frames > 24);
        const std::regex whole(
            R"(\nDumping call stack...\n\n)" +
            std::string(frames == 0 ? R"(Stack dump not available.\n\n)" : R"(Stack dump:\n\n(  .*\n)+\n)") +
            R"(Can't write minidump .*\n\nDumping of call stack finished.\n\n)");
        EXPECT_TRUE(std::regex_match(text, whole)) << text;
        EXPECT_EQ(stackDumpState.busy, -1);
    }
}

[[gnu::noinline]] int DumpBelow(int depth)
{
    if (depth == 0) {
        DumpCallStack();
        return 1;
    }
    volatile int below = DumpBelow(depth - 1); // else the compiler makes a loop of it
    return below + 1;
}

TEST_F(StackDumps, ShowTheCallersOwnFunctionsAndWriteADump)
{
    ASSERT_TRUE(LoadDbgHelp());
    ASSERT_TRUE(InitSymbols());
    const TraceCapture trace;
    DumpBelow(40);
    const std::string text = trace.Text();
    EXPECT_EQ(FramesIn(text), 24u) << text;
    const std::size_t dump = text.find("DumpCallStack");
    const std::size_t below = text.find("DumpBelow", dump);
    EXPECT_NE(below, std::string::npos) << text;
    EXPECT_NE(text.find("  <...>\n\nMinidump successfully written.\n\nDumping of call stack finished.\n\n"),
              std::string::npos)
        << text;
    ASSERT_EQ(Dumps().size(), 1u);
    const MinidumpReading reading = ReadMinidump(Dumps().front());
    EXPECT_EQ(reading.fault, "");
    EXPECT_FALSE(reading.dump.exception.has_value());
    const std::uint32_t self = GetCurrentThreadId();
    EXPECT_TRUE(std::any_of(reading.dump.threads.begin(), reading.dump.threads.end(),
                            [&](const auto& thread) { return thread.id == self; }));
}

TEST_F(StackDumps, AreRefusedWhileTheProcessEndsOrNothingHasNames)
{
    {
        const TraceCapture trace;
        DumpCallStack();
        EXPECT_EQ(trace.Text(), "");
    }
    ASSERT_TRUE(LoadDbgHelp());
    ASSERT_TRUE(InitSymbols());
    stackDumpState.exiting = 1;
    const TraceCapture trace;
    DumpCallStack();
    EXPECT_EQ(trace.Text(),
              "\nDumping call stack...\n\nNo stack will be dumped because the application is currently "
              "exiting.\n");
    EXPECT_TRUE(Dumps().empty());
    EXPECT_EQ(stackDumpState.busy, -1);
}

// The second one's caller is the dump thread itself, by way of the callback, while the first is under way.
TEST_F(StackDumps, GoOneAtATime)
{
    ASSERT_TRUE(LoadDbgHelp());
    ASSERT_TRUE(InitSymbols());
    static std::string lines;
    lines.clear();
    SetTraceCallback([](const char* line) {
        lines += line;
        DumpCallStack();
    });
    DumpCallStack();
    EXPECT_EQ(lines.find("Dumping call stack..."), lines.rfind("Dumping call stack...")) << lines;
    EXPECT_EQ(FramesIn(lines) > 1, true) << lines;
    EXPECT_EQ(stackDumpState.busy, -1);
}

TEST_F(StackDumps, OfWhatIsNoThreadFailButWriteTheirDump)
{
    ASSERT_TRUE(LoadDbgHelp());
    ASSERT_TRUE(InitSymbols());
    const TraceCapture trace;
    EXPECT_EQ(TraceStackDumpThreadProc(nullptr), 0u);
    EXPECT_EQ(trace.Text(), "Failed to get context for stack dump.\n\nMinidump successfully written.\n\n");
    EXPECT_EQ(Dumps().size(), 1u);
}

} // namespace
} // namespace Plinth
