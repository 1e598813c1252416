// Starting processes and waiting for them, as the real platform does it.
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/StandInReport.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>

namespace {

constexpr DWORD UNTOUCHED = 77;

struct Start {
    std::optional<WideText> commandLine;
    WideText folder;
};

class Processes : public testing::Test {
protected:
    Processes() { std::filesystem::copy_file(BuiltProgram("StandIn.exe"), Program()); }

    [[nodiscard]] std::filesystem::path Program() const { return scratch_.Path() / "A program.exe"; }
    [[nodiscard]] const std::filesystem::path& Folder() const { return scratch_.Path(); }

    // The last error of starting a program: UNTOUCHED when it went well, the process then being in
    // `process_`.
    DWORD Try(const WideText& program, const Start& start = {})
    {
        WideText line = start.commandLine.value_or(WideText());
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        SetLastError(UNTOUCHED);
        const BOOL created = CreateProcessW(
            program.c_str(), start.commandLine ? line.data() : nullptr, nullptr, nullptr, FALSE, 0, nullptr,
            start.folder.empty() ? nullptr : start.folder.c_str(), &startup, &process_);
        const DWORD error = GetLastError();
        EXPECT_EQ(created != FALSE, error == UNTOUCHED) << ToUtf8(program);
        return error;
    }

    // Waits for the started process and closes its handles.
    StandInReport Finish()
    {
        EXPECT_EQ(WaitForSingleObject(process_.hProcess, 20000), WAIT_OBJECT_0);
        DWORD exitCode = 0;
        EXPECT_TRUE(GetExitCodeProcess(process_.hProcess, &exitCode));
        EXPECT_EQ(exitCode, static_cast<DWORD>(STAND_IN_EXIT_CODE));
        EXPECT_TRUE(CloseHandle(process_.hThread));
        EXPECT_TRUE(CloseHandle(process_.hProcess));
        const std::vector<StandInReport> reports = AwaitReports(Program(), 1);
        return reports.empty() ? StandInReport{} : reports[0];
    }

    PROCESS_INFORMATION process_ = {};

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
        ASSERT_EQ(Try(program, {.commandLine = given}), UNTOUCHED);
        EXPECT_EQ(Finish().values["command line units"], ToUnits(expected));
    }
}

TEST_F(Processes, StartInTheFolderGivenElseInTheStartersOwn)
{
    ASSERT_TRUE(SetCurrentDirectoryW(ToPlatform(Folder()).c_str()));
    ASSERT_EQ(Try(ToPlatform(Program())), UNTOUCHED);
    EXPECT_EQ(Finish().values["folder"], ToUtf8(ToPlatform(Folder())));
    std::filesystem::create_directory(Folder() / "other");
    ASSERT_EQ(Try(WIDE("A program.exe"), {.folder = WIDE("other")}), UNTOUCHED);
    EXPECT_EQ(Finish().values["folder"], ToUtf8(ToPlatform(Folder() / "other")));
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
        EXPECT_EQ(Try(folder + name), error) << ToUtf8(name);
    }
    EXPECT_EQ(Try(WIDE("")), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(Try(program, {.folder = folder + WIDE("\\missing")}), ERROR_DIRECTORY);
    EXPECT_EQ(Try(program, {.folder = program}), ERROR_DIRECTORY);
}

TEST_F(Processes, CanBeWaitedForAndEnded)
{
    // Without anybody to take its report the stand-in would stay for 30 seconds.
    WideText environment =
        WideText(WIDE("STAND_IN_STAYS=1")) + WCHAR(0) + WIDE("SystemRoot=C:\\windows") + WCHAR(0);
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    ASSERT_TRUE(CreateProcessW(ToPlatform(Program()).c_str(), nullptr, nullptr, nullptr, FALSE,
                               CREATE_UNICODE_ENVIRONMENT, environment.data(), nullptr, &startup, &process_));
    DWORD exitCode = 0;
    EXPECT_EQ(WaitForSingleObject(process_.hProcess, 50), WAIT_TIMEOUT);
    EXPECT_TRUE(GetExitCodeProcess(process_.hProcess, &exitCode));
    EXPECT_EQ(exitCode, STILL_ACTIVE);
    EXPECT_TRUE(TerminateProcess(process_.hProcess, 0));
    EXPECT_EQ(WaitForSingleObject(process_.hProcess, 20000), WAIT_OBJECT_0);
    EXPECT_TRUE(GetExitCodeProcess(process_.hProcess, &exitCode));
    EXPECT_EQ(exitCode, 0u);
    EXPECT_TRUE(CloseHandle(process_.hThread));
    EXPECT_TRUE(CloseHandle(process_.hProcess));
}

TEST_F(Processes, HandlesThatAreNoneAreRefused)
{
    for (HANDLE handle : {HANDLE{nullptr}, reinterpret_cast<HANDLE>(0x7ffffff0)}) {
        DWORD exitCode = UNTOUCHED;
        SetLastError(UNTOUCHED);
        EXPECT_FALSE(GetExitCodeProcess(handle, &exitCode));
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
        EXPECT_EQ(exitCode, UNTOUCHED);
        SetLastError(UNTOUCHED);
        EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_FAILED);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
        SetLastError(UNTOUCHED);
        EXPECT_FALSE(CloseHandle(handle));
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    }
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
