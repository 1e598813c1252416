// The platform's calls behind crash reports and the diagnostics' start: their order, and what comes of each
// that fails.
#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Plinth/Debug/CrashHandler.h"
#include "Plinth/Debug/CrashReport.h"
#include "Plinth/Debug/Diagnostics.h"
#include "Plinth/Debug/ErrorReport.h"
#include "Plinth/Debug/Symbols.h"
#include "Tests/Plinth/Debug/FreshDiagnostics.h"
#include "Tests/Plinth/Debug/Host/ReportCalls.h"
#include "Tests/Support/HeapWatch.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <fstream>

namespace Plinth {
namespace {

using Platform::Host::GateWatch;

struct Fault {
    EXCEPTION_RECORD record{.ExceptionCode = EXCEPTION_BREAKPOINT};
    CONTEXT context{.Eip = reinterpret_cast<DWORD_PTR>(&DescribeException)};
    EXCEPTION_POINTERS pointers{&record, &context};
};

TEST(CrashReportCalls, ComeInOrderAndMayFail)
{
    const FreshDiagnostics fresh;
    ASSERT_TRUE(LoadDbgHelp());
    ASSERT_TRUE(InitSymbols());
    symbolState.functions.MiniDumpWriteDump = nullptr;
    Fault fault;
    {
        const GateWatch watch;
        HandleException(&fault.pointers);
        EXPECT_EQ(CallsOf(watch),
                  (Calls{"GetLocalTime", "GetModuleFileNameW", "GetModuleHandleW", "VirtualQuery",
                         "GetModuleFileNameW", "StackWalk", "GlobalMemoryStatus"}));
    }
    const std::string unknown = "Unknown (time stamp 0x00000000";
    const std::pair<Platform::Host::GateRule, std::string> rows[] = {
        {{.function = "GetModuleFileNameW", .ordinal = 1}, "  " + unknown + ") caused a breakpoint"},
        {{.function = "GetModuleFileNameW", .ordinal = 2},
         "module " + unknown + ", base address 0x00000000)"},
        {{.function = "VirtualQuery", .ordinal = 1}, "module " + unknown + ", base address 0x00000000)"}};
    for (const auto& [rule, text] : rows) {
        const TraceCapture trace;
        const GateWatch watch(rule);
        HandleException(&fault.pointers);
        EXPECT_TRUE(watch.Failed());
        EXPECT_NE(trace.Text().find(text), std::string::npos) << trace.Text();
    }
    const TraceCapture trace;
    Platform::Host::SetModulePath(u"C:\\\u0416\u00C4.exe");
    HandleException(&fault.pointers);
    Platform::Host::SetModulePath({});
    EXPECT_NE(trace.Text().find("\n  ?.exe (time stamp"), std::string::npos) << trace.Text();
}

TEST(EndingHandlersDeathTest, EndTheProcessWhereTheirReportReturns)
{
    const FreshDiagnostics fresh;
    SetReportCallback([](const char*) { InvalidParameterHandler(nullptr, nullptr, nullptr, 0, 0); });
    EXPECT_EXIT(ReportError(ReportFlagContinue, nullptr, 0, nullptr, nullptr), testing::ExitedWithCode(1),
                "");
}

TEST(CrashReportCalls, TakeNoHeapMemory)
{
    const FreshDiagnostics fresh;
    Fault fault;
    const HeapWatch heap;
    HandleException(&fault.pointers);
    EXPECT_EQ(heap.Blocks(), 0u);
}

TEST(DefaultLogFile, HasTheProgramsNameAndAnExtensionOfItsOwn)
{
    const std::pair<const char*, const char*> rows[] = {
        {"Launcher.exe", "Launcher.log"}, {"a.b.exe", "a.b.log"}, {"Launcher", "Launcher.log"}};
    for (const auto& [program, log] : rows) {
        const FreshDiagnostics fresh;
        const ScratchFolder scratch;
        const std::filesystem::path folder = scratch.Path() / "v1.0";
        std::filesystem::create_directory(folder);
        Platform::Host::SetModulePath(ToPlatform(folder / program));
        std::ofstream(folder / "Launcher") << "program";
        bool opened = false;
        for (unsigned ordinal = 1; !opened; ++ordinal) {
            const HeapWatch watch({.ordinal = ordinal}); // each block fails once, up to the log file's name
            opened = InitDiagnostics(nullptr, 0);
            EXPECT_EQ(opened, std::filesystem::exists(folder / log)) << ordinal;
            EXPECT_EQ(std::filesystem::file_size(folder / "Launcher"), 7u);
        }
        CloseLogFile();
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 2);
    }
    EXPECT_FALSE(std::filesystem::exists(".log"));
    Platform::Host::SetModulePath({});
    SetUnhandledExceptionFilter(nullptr);
    _set_invalid_parameter_handler(nullptr);
}

} // namespace
} // namespace Plinth
