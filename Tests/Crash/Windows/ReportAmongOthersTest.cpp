// What another program, or the machine, may do to a report.
#include "Tests/Crash/ReporterRun.h"
#include "Tests/Support/StandInReport.h"
#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

TEST(FatalReport, WithoutADebugHelpLibraryHasNoStack)
{
    const ScratchFolder scratch;
    const std::filesystem::path program = scratch.Path() / "Reporter.exe";
    std::filesystem::copy_file(BuiltProgram("Reporter.exe"), program);
    std::ofstream(scratch.Path() / "DbgHelp.dll") << "one that cannot be loaded";
    const ReporterResult result = RunReporter(scratch.Path(), "symbols", {.program = program});
    RemoveProgram(program);
    EXPECT_EQ(result.exitCode, 1u);
    EXPECT_EQ(result.boxes.size(), 1u);
    EXPECT_TRUE(result.dumps.empty());
    EXPECT_EQ(result.log.find("call stack"), std::string::npos) << result.log;
    EXPECT_NE(result.log.find("User pressed Ok"), std::string::npos) << result.log;
}

TEST(Reports, LeaveAClipboardThatAnotherProgramHolds)
{
    const ScratchFolder scratch;
    const std::filesystem::path sign = scratch.Path() / "held";
    StartedProcess holder(
        {.program = BuiltProgram("ClipboardHolder.exe"), .commandLine = L"x " + sign.native()});
    for (int poll = 0; poll < 1000 && !std::filesystem::exists(sign); ++poll) {
        Sleep(10);
    }
    ASSERT_TRUE(std::filesystem::exists(sign));
    const ReporterResult result = RunReporter(scratch.Path(), "continue");
    EXPECT_EQ(holder.ExitCode(), STILL_ACTIVE);
    TerminateProcess(holder.Handle(), 0);
    WaitForSingleObject(holder.Handle(), 5000);
    EXPECT_EQ(result.exitCode, 3u);
    EXPECT_EQ(result.boxes.size(), 1u);
    ASSERT_TRUE(OpenClipboard(nullptr));
    HANDLE text = GetClipboardData(CF_TEXT);
    EXPECT_STREQ(text != nullptr ? static_cast<const char*>(GlobalLock(text)) : "", "the holder's");
    CloseClipboard();
}

} // namespace
