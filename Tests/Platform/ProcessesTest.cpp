// Starting processes and waiting for them, as the real platform does it.
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/StandInReport.h"
#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <optional>
#include <utility>

namespace {

constexpr DWORD UNTOUCHED = 77;

class Processes : public testing::Test {
protected:
    Processes() { std::filesystem::copy_file(BuiltProgram("StandIn.exe"), Program()); }

    [[nodiscard]] std::filesystem::path Program() const { return scratch_.Path() / "A program.exe"; }
    [[nodiscard]] const std::filesystem::path& Folder() const { return scratch_.Path(); }

    // The last error of a start that has to fail.
    static DWORD ErrorOf(const ProcessOptions& options)
    {
        const StartedProcess process(options, UNTOUCHED);
        EXPECT_FALSE(process.Started()) << ToUtf8(options.program);
        return process.Error();
    }

    // Starts the program and waits for its end.
    StandInReport Run(const ProcessOptions& options)
    {
        StartedProcess process(options, UNTOUCHED);
        EXPECT_TRUE(process.Started());
        EXPECT_EQ(process.Error(), UNTOUCHED);
        EXPECT_EQ(WaitForSingleObject(process.Handle(), 20000), WAIT_OBJECT_0);
        EXPECT_EQ(process.ExitCode(), static_cast<DWORD>(STAND_IN_EXIT_CODE));
        EXPECT_TRUE(process.Close());
        const std::vector<StandInReport> reports = AwaitReports(Program(), 1);
        return reports.empty() ? StandInReport{} : reports[0];
    }

private:
    ScratchFolder scratch_;
};

TEST_F(Processes, GetTheirCommandLineToTheLetter)
{
    const WideText program = ToPlatform(Program());
    const WideText quoted = WIDE("\"") + program + WIDE("\"");
    const std::pair<std::optional<WideText>, WideText> rows[] = {
        {std::nullopt, quoted},
        {WIDE(""), quoted},
        {WIDE("   "), WIDE("   ")},
        {WIDE("one  \"two\" \\\"three\\\\\\\" \t"), WIDE("one  \"two\" \\\"three\\\\\\\" \t")},
    };
    for (const auto& [given, expected] : rows) {
        EXPECT_EQ(Run({.program = program, .commandLine = given}).values["command line units"],
                  ToUnits(expected));
    }
}

TEST_F(Processes, StartInTheFolderGivenElseInTheStartersOwn)
{
    ASSERT_TRUE(SetCurrentDirectoryW(ToPlatform(Folder()).c_str()));
    EXPECT_EQ(Run({.program = ToPlatform(Program())}).values["folder"], ToUtf8(ToPlatform(Folder())));
    std::filesystem::create_directory(Folder() / "other");
    EXPECT_EQ(Run({.program = WIDE("A program.exe"), .folder = WIDE("other")}).values["folder"],
              ToUtf8(ToPlatform(Folder() / "other")));
}

TEST_F(Processes, AreNotStartedFromWhatIsNoProgram)
{
    const WideText folder = ToPlatform(Folder());
    std::ofstream(Folder() / "text.exe") << "no program\n";
    std::ofstream(Folder() / "empty.exe") << "";
    const WideText program = ToPlatform(Program());
    const std::pair<WideText, DWORD> rows[] = {
        {WIDE("\\missing.exe"), ERROR_FILE_NOT_FOUND},
        {WIDE("\\missing\\a.exe"), ERROR_PATH_NOT_FOUND},
        {WIDE("\\text.exe\\a.exe"), ERROR_PATH_NOT_FOUND},
        {WIDE("\\text.exe"), ERROR_BAD_EXE_FORMAT},
        {WIDE("\\empty.exe"), ERROR_BAD_EXE_FORMAT},
        {WIDE("\\A program"), ERROR_FILE_NOT_FOUND},
        {WIDE("\\A*.exe"), ERROR_INVALID_NAME},
        {WIDE("\\A program.exe\\"), ERROR_INVALID_NAME},
    };
    for (const auto& [name, error] : rows) {
        EXPECT_EQ(ErrorOf({.program = folder + name}), error) << ToUtf8(name);
    }
    EXPECT_EQ(ErrorOf({.program = WIDE("")}), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(ErrorOf({.program = program, .folder = folder + WIDE("\\missing")}), ERROR_DIRECTORY);
    EXPECT_EQ(ErrorOf({.program = program, .folder = program}), ERROR_DIRECTORY);
}

TEST_F(Processes, CanBeWaitedForAndEnded)
{
    // Without anybody to take its report the stand-in would stay for 30 seconds.
    const WideText environment =
        WideText(WIDE("STAND_IN_STAYS=1")) + WCHAR(0) + WIDE("SystemRoot=C:\\windows") + WCHAR(0);
    StartedProcess process({.program = ToPlatform(Program()), .environment = environment});
    ASSERT_TRUE(process.Started());
    EXPECT_EQ(WaitForSingleObject(process.Handle(), 50), WAIT_TIMEOUT);
    EXPECT_EQ(process.ExitCode(), STILL_ACTIVE);
    EXPECT_TRUE(TerminateProcess(process.Handle(), 0));
    EXPECT_EQ(WaitForSingleObject(process.Handle(), 20000), WAIT_OBJECT_0);
    EXPECT_EQ(process.ExitCode(), 0u);
    EXPECT_TRUE(process.Close());
}

TEST_F(Processes, HandlesThatAreNoneAreRefused)
{
    DWORD exitCode = UNTOUCHED;
    const std::function<bool(HANDLE)> functions[] = {
        [&](HANDLE handle) { return GetExitCodeProcess(handle, &exitCode) != FALSE; },
        [](HANDLE handle) { return WaitForSingleObject(handle, 0) != WAIT_FAILED; },
        [](HANDLE handle) { return CloseHandle(handle) != FALSE; },
    };
    for (HANDLE handle : {HANDLE{nullptr}, reinterpret_cast<HANDLE>(0x7ffffff0)}) {
        for (const auto& takes : functions) {
            SetLastError(UNTOUCHED);
            EXPECT_FALSE(takes(handle));
            EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
        }
    }
    EXPECT_EQ(exitCode, UNTOUCHED);
}

TEST(ErrorState, ErrorModeAndLastErrorAreKept)
{
    const UINT before = SetErrorMode(SEM_FAILCRITICALERRORS);
    EXPECT_EQ(GetErrorMode(), SEM_FAILCRITICALERRORS);
    EXPECT_EQ(SetErrorMode(0x8002), SEM_FAILCRITICALERRORS);
    EXPECT_EQ(SetErrorMode(before), 0x8002u);
    SetLastError(0xC0000005);
    EXPECT_EQ(GetLastError(), 0xC0000005);
}

} // namespace
