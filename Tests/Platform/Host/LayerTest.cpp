// What the host layer has beyond the platform: the gate, the command line's way through the host's arguments,
// drives, letter case.
#include "Platform/Host/CommandLine.h"
#include "Platform/Host/Control.h"
#include "Platform/Host/Drives.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/ProcessStart.h"
#include "Platform/Host/Utf.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <thread>

namespace {

using namespace Platform::Host;
using Arguments = std::vector<std::u16string>;

TEST(Gate, FailsTheCallThatItsRuleNames)
{
    const std::pair<GateRule, std::string> rows[] = {
        {{}, "1111"},
        {{.function = "SetCurrentDirectoryW", .ordinal = 2, .error = 5}, "1011"},
        {{.function = "SetCurrentDirectoryW", .ordinal = 2, .error = 5, .lasting = true}, "1000"},
        {{.ordinal = 1, .error = 5}, "0111"},
        {{.function = "CloseHandle", .ordinal = 1, .error = 5, .lasting = true}, "1111"},
    };
    for (const auto& [rule, expected] : rows) {
        GateWatch watch(rule);
        std::string outcome;
        for (int i = 0; i < 4; ++i) {
            lastError = 77;
            const bool entered = SetCurrentDirectoryW(u"Z:\\") != FALSE;
            EXPECT_EQ(lastError, entered ? 77u : 5u);
            outcome += entered ? '1' : '0';
        }
        EXPECT_EQ(outcome, expected);
        EXPECT_EQ(watch.Failed(), expected != "1111");
        EXPECT_EQ(watch.Count("SetCurrentDirectoryW"), 4u);
    }
    EXPECT_TRUE(SetCurrentDirectoryW(u"Z:\\"));

    // What cannot fail is seen, never failed and never counted.
    GateWatch watch({.ordinal = 1, .error = 5});
    lastError = 77;
    EXPECT_EQ(GetLastError(), 77u);
    EXPECT_FALSE(watch.Failed());
    EXPECT_EQ(watch.Count("GetLastError"), 1u);
}

TEST(LastError, IsOfTheThread)
{
    SetLastError(5);
    std::thread([] {
        EXPECT_EQ(GetLastError(), 0u);
        SetLastError(6);
    }).join();
    EXPECT_EQ(GetLastError(), 5u);
}

TEST(CommandLine, IsCutAsTheRuntimeDoesIt)
{
    const std::pair<std::u16string, Arguments> rows[] = {
        {u"a b\tc", {u"a", u"b", u"c"}},
        {u"\"C:\\a b\\c\"d  e ", {u"C:\\a b\\c", u"d", u"e"}},
        {u"a \"b c\" d\"e f\"g", {u"a", u"b c", u"de fg"}},
        {u"a \\\\b \\\"c \\\\\"d e\\\\\" \\\\\\\"f", {u"a", u"\\\\b", u"\"c", u"\\d e\\", u"\\\"f"}},
        {u"a \"b\"\"c\" \"\" \"open d", {u"a", u"b\"c", u"", u"open d"}},
        {u"  a", {u"", u"a"}},
        {u"", {u""}},
        {u"\"unclosed name", {u"unclosed name"}},
    };
    for (const auto& [line, arguments] : rows) {
        EXPECT_EQ(SplitCommandLine(line), arguments) << ToHost(line);
        if (!line.empty()) {
            EXPECT_EQ(SplitCommandLine(JoinArguments(arguments)), arguments) << ToHost(line);
        }
    }
}

TEST(ProcessStart, TravelsOnlyWhereTheArgumentsDoNotSayIt)
{
    const auto variable = [](const std::u16string& line, UINT mode) {
        return StartVariable({line, mode}, SplitCommandLine(line));
    };
    EXPECT_EQ(variable(u"a \"b c\" d", 0), "");
    EXPECT_EQ(variable(u"a  b", 0), "PLATFORM_HOST_START=0;a  b");
    EXPECT_EQ(variable(u"a", 0x8001), "PLATFORM_HOST_START=8001;a");
    const std::u16string text = u"\u00fc\U0001F3AE\xD83C-\xDFAE";
    EXPECT_EQ(FromHost(ToHost(text)), text);
    EXPECT_EQ(FromHost("\xff\xc3"), u"\uFFFD\uFFFD");
}

TEST(ProcessStart, TheLongestCommandLineIsThePlatforms)
{
    for (const auto& [length, error] :
         {std::pair(32766, ERROR_FILE_NOT_FOUND), std::pair(32767, ERROR_FILENAME_EXCED_RANGE)}) {
        const std::u16string line(static_cast<std::size_t>(length), u'x');
        const StartedProcess process({.program = u"Z:\\no such program", .commandLine = line});
        EXPECT_FALSE(process.Started());
        EXPECT_EQ(process.Error(), error);
    }
}

class HostProcesses : public testing::Test {
protected:
    HostProcesses() { std::filesystem::copy_file(BuiltProgram("StandIn.exe"), scratch_.Path() / "a.exe"); }

    [[nodiscard]] ProcessOptions Program() const
    {
        return {.program = ToPlatform(scratch_.Path() / "a.exe")};
    }

private:
    ScratchFolder scratch_;
};

TEST_F(HostProcesses, EndOnceAndTellTheirExitCodeWhateverTheSignalsSay)
{
    std::signal(SIGCHLD, SIG_IGN);
    const StartedProcess process(Program());
    EXPECT_EQ(WaitForSingleObject(process.Handle(), INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(process.ExitCode(), 42u);
    EXPECT_FALSE(TerminateProcess(process.Handle(), 1));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
}

TEST_F(HostProcesses, AFailedStartKeepsNoHandles)
{
    const auto handleOfNext = [this] {
        const StartedProcess process(Program());
        EXPECT_EQ(WaitForSingleObject(process.Handle(), 20000), WAIT_OBJECT_0);
        return process.Handle();
    };
    const auto before = handleOfNext();
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(StartedProcess({.program = u"Z:\\no such program"}).Started());
    }
    EXPECT_EQ(handleOfNext(), before);
}

TEST(HostPaths, TheCurrentDirectoryHasAtMost258Characters)
{
    const ScratchFolder scratch;
    const std::size_t parent = ToPlatform(scratch.Path()).size() + 1;
    const std::pair<std::size_t, DWORD> rows[] = {{258, 77}, {259, ERROR_FILENAME_EXCED_RANGE}};
    for (const auto& [length, error] : rows) {
        for (const char16_t* end : {u"", u"\\"}) {
            const std::filesystem::path folder = scratch.Path() / std::string(length - parent, 'd');
            std::filesystem::create_directory(folder);
            lastError = 77;
            SetCurrentDirectoryW((ToPlatform(folder) + end).c_str());
            EXPECT_EQ(lastError, error) << length << ToHost(end);
        }
    }
}

TEST(Drives, LeadThereAndBack)
{
    const ScratchFolder scratch;
    std::filesystem::create_directory(scratch.Path() / "in");
    std::ofstream(scratch.Path() / "in" / "File.TXT") << "x";
    std::ofstream(scratch.Path() / "in" / "file.txt") << "y";
    SetDrive('m', scratch.Path().native() + "/");
    SetDrive('N', scratch.Path() / "in");
    SetDrive('O', scratch.Path() / "gone");
    EXPECT_EQ(ToHost(ToDrivePath(scratch.Path().native())), "M:\\");
    EXPECT_EQ(ToHost(ToDrivePath((scratch.Path() / "in2" / "x").native())), "M:\\in2\\x");
    EXPECT_EQ(ToHost(ToDrivePath((scratch.Path() / "in" / "x").native())), "N:\\x");
    struct Row {
        std::u16string path;
        DWORD error;
        std::string native; // below the scratch folder
    };
    const Row rows[] = {
        {u"N:\\File.TXT", ERROR_SUCCESS, "/in/File.TXT"}, // the exact name first
        {u"n:/file.txt", ERROR_SUCCESS, "/in/file.txt"},
        {u"M:\\IN\\..\\In\\FILE.TXT.", ERROR_SUCCESS, ""},
        {u"M:\\IN\\new", ERROR_FILE_NOT_FOUND, "/in/new"},
        {u"N:\\FILE.txt\\", ERROR_INVALID_NAME, ""},
        {u"M:\\IN\\", ERROR_SUCCESS, "/in"},
        {u"M:\\no\\new", ERROR_PATH_NOT_FOUND, ""},
        {u"K:\\new", ERROR_PATH_NOT_FOUND, ""},
        {u"O:\\new", ERROR_PATH_NOT_FOUND, ""},
        {u"O:\\", ERROR_PATH_NOT_FOUND, ""},
        {u"\\\\server\\share", ERROR_PATH_NOT_FOUND, ""},
        {u"M:\\in\\...\\x", ERROR_PATH_NOT_FOUND, ""},
    };
    for (const Row& row : rows) {
        std::string native;
        EXPECT_EQ(ResolvePath(row.path, native), row.error) << ToHost(row.path);
        if (!row.native.empty()) {
            EXPECT_EQ(native, scratch.Path().native() + row.native);
        }
    }
    RemoveDrive('M');
    RemoveDrive('n');
    RemoveDrive('o');
    EXPECT_EQ(ToDrivePath(scratch.Path().native())[0], u'Z');
}

TEST(MessageBoxes, GoToTheHook)
{
    std::vector<MessageBoxCall> calls;
    SetMessageBoxHook([&](const MessageBoxCall& call) {
        calls.push_back(call);
        return 7;
    });
    EXPECT_EQ(MessageBoxW(nullptr, u"text", nullptr, MB_ICONERROR), 7);
    SetMessageBoxHook({});
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].text, u"text");
    EXPECT_EQ(calls[0].caption, u"Error");
}

} // namespace
