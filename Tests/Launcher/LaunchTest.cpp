// Whole launches: the real launcher as a process, a stand-in for the game, judged from outside.
#include "Tests/Launcher/Launch.h"
#include "Tests/Support/RegistryKey.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <list>

namespace {

// Expects that exit code and no box, or one of that text.
void ExpectEnd(const LaunchResult& result, DWORD exitCode, const std::string& text)
{
    EXPECT_EQ(result.exitCode, exitCode);
    EXPECT_EQ(result.boxes.size(), text.empty() ? 0u : 1u);
    for (const SeenMessageBox& box : result.boxes) {
        EXPECT_EQ(ToUtf8(box.caption), "The Brenvault Launcher");
        EXPECT_EQ(ToUtf8(box.text), text);
    }
}

// Launches and expects that the game was started without a word.
StandInReport LaunchGame(const InstallFolder& install, const ProcessOptions& options = {})
{
    ExpectEnd(Launch(install, options), 0, "");
    std::vector<StandInReport> reports = AwaitReports(install.Game(), 1);
    EXPECT_EQ(reports.size(), 1u);
    return reports.empty() ? StandInReport{} : reports[0];
}

void ExpectFailure(const InstallFolder& install, const std::string& digits, const std::string& hint)
{
    ExpectEnd(Launch(install), 1, FailureText(digits, hint));
}

WideText LongLine(std::size_t length)
{
    WideText line(length, WIDE("x")[0]);
    for (std::size_t i = 8; i < length; i += 50) {
        line[i] = WIDE(" ")[0];
    }
    return line;
}

TEST(Launch, HandsItsCommandLineToTheGameUnchanged)
{
    const InstallFolder install;
    const WideText lines[] = {
        WIDE("Launcher.exe"),
        WIDE("\"C:\\Some where\\Launcher.exe\" -window  \"two words\"\t-x"),
        WIDE("Launcher.exe trailing blanks   "),
        WIDE("Launcher.exe open \"quote and \\\"escaped\\\\\" \"\" \"\"\" end\\\\"),
        WIDE("   leading blanks"),
        WIDE("Launcher.exe Gr\u00fc\u00dfe \u65e5\u672c \U0001F3AE"),
        WideText(WIDE("Launcher.exe unpaired ")) + WCHAR(0xD83C) + WIDE(" ") + WCHAR(0xDFAE),
        WIDE("Launcher.exe line\nbreak %s %n $HOME `id` 'single' *.* <|>&;"),
        LongLine(8192),
        LongLine(32766),
    };
    for (const WideText& line : lines) {
        const StandInReport report = LaunchGame(install, {.commandLine = line});
        EXPECT_EQ(report.values.at("command line units"), ToUnits(line)) << ToUtf8(line.substr(0, 100));
    }
}

TEST(Launch, StartsTheGameInTheInstallFolderWhateverItsNameAndTheCurrentDirectory)
{
    for (const LPCWSTR name :
         {WIDE("Two  Words"), WIDE("a.b;c,d 'e' [f] %TEMP%"), WIDE("Gr\u00fc\u00dfe \u65e5\u672c")}) {
        const InstallFolder install{std::filesystem::path(name)};
        const WideText elsewhere = ToPlatform(std::filesystem::temp_directory_path());
        const StandInReport report = LaunchGame(install, {.folder = elsewhere});
        EXPECT_EQ(report.values.at("folder"), ToUtf8(ToPlatform(install.Path())));
        EXPECT_EQ(report.values.at("program"), ToUtf8(ToPlatform(install.Game())));
        EXPECT_EQ(report.values.at("command line"),
                  ToUtf8(WIDE("\"") + ToPlatform(install.Launcher()) + WIDE("\"")));
    }
}

TEST(Launch, WorksFromADriveRoot)
{
    const ScratchDrive drive;
    const InstallFolder install(drive.Root());
    const StandInReport report = LaunchGame(install, {.program = WIDE("X:\\Launcher.exe")});
    EXPECT_EQ(report.values.at("folder"), "X:\\");
    EXPECT_EQ(report.values.at("program"), "X:\\Data\\Base\\_Dbg\\Bin\\Release\\BrenvaultR.exe");

    const ScratchRegistry registry;
    RemoveRegistrations();
    install.PlaceUpdater();
    install.WriteSkuFile("[GameUpdate]\nInfo=i\nGameName=Brenvault Tests\nExecPath=Bin\\Run.exe\n");
    ExpectEnd(Launch(install, {.program = WIDE("X:\\Launcher.exe")}), 0, "");
    const std::vector<StandInReport> reports = AwaitReports(install.Updater(), 1);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].values.at("folder"), "X:\\Support\\Base\\GameUpdate");
    const Key key(HKEY_LOCAL_MACHINE, WIDE("Software\\Corvanta\\Brenvault Tests\\GameUpdate"), KEY_READ);
    EXPECT_EQ(GetValue(key, WIDE("InstallDir"))->second, TerminatedBytesOf(WIDE("X:\\")));
    EXPECT_EQ(GetValue(key, WIDE("ExecPath"))->second, TerminatedBytesOf(WIDE("X:\\Bin\\Run.exe")));
    RemoveRegistrations();
}

TEST(Launch, SaysThatTheGameIsMissingOrNoProgram)
{
    const InstallFolder install;
    std::filesystem::remove(install.Game());
    ExpectFailure(install, "620002", REINSTALL_HINT);
    std::ofstream(install.Game()) << "This is no program.\n";
    ExpectFailure(install, "6200c1", REINSTALL_HINT);
    std::filesystem::remove_all(install.Path() / "Data" / "Base");
    ExpectFailure(install, "620003", REINSTALL_HINT);
}

// The updater's path is the longer one: it is the first that does not fit into the platform's 259 characters.
TEST(Launch, NeedsRoomForThePathsOfGameAndUpdater)
{
    const ScratchFolder scratch;
    const std::size_t parent = ToPlatform(scratch.Path()).size() + 1;
    LaunchGame(InstallFolder(scratch.Path() / std::string(211 - parent, 'd')));
    ExpectFailure(InstallFolder(scratch.Path() / std::string(212 - parent, 'd')), "520000", "");
}

// The launcher is ended by force after 15 seconds, and the game stays for 30 unless its report is taken.
TEST(Launch, HandsOnItsEnvironmentAndErrorModeButNoHandlesAndDoesNotWait)
{
    const InstallFolder install;
    const std::string file = (install.Scratch() / "inherited").string();
    std::FILE* inherited = std::fopen(file.c_str(), "wb");
    const WCHAR environment[] =
        WIDE("STAND_IN_STAYS=1\0BRENVAULT_B=two words \u00fc\0SystemRoot=C:\\windows\0");
    ProcessOptions options{.commandLine = WIDE("Launcher.exe  odd \" "),
                           .environment = WideText(environment, std::size(environment) - 1),
                           .inheritHandles = true};
    const StandInReport game = LaunchGame(install, options);
    // Nothing of how the host layer hands on a command line shows; Wine adds entries of its own.
    EXPECT_TRUE(std::none_of(game.environment.begin(), game.environment.end(),
                             [](const std::string& entry) { return entry.starts_with("PLATFORM_HOST"); }));
    EXPECT_EQ(game.environment.count("STAND_IN_STAYS=1"), 1u);
    EXPECT_EQ(game.environment.count("BRENVAULT_B=two words \u00fc"), 1u);
    EXPECT_EQ(game.values.at("error mode"), "0");
    EXPECT_EQ(game.values.at("inherited handles"), "0");

    // The same program started with the handle sees it: the count above can fail.
    options.program = ToPlatform(install.Game());
    options.environment = std::nullopt;
    EXPECT_EQ(Launch(install, options).exitCode, static_cast<DWORD>(STAND_IN_EXIT_CODE));
    const std::vector<StandInReport> reports = AwaitReports(install.Game(), 1);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_NE(reports[0].values.at("inherited handles"), "0");
    std::fclose(inherited);
}

TEST(Launch, ManyAtATimeStartOneGameEach)
{
    constexpr std::size_t COUNT = 20;
    const InstallFolder install;
    std::list<RunningLaunch> launches;
    std::vector<std::string> expected;
    for (std::size_t i = 0; i < COUNT; ++i) {
        const WideText line = WideText(WIDE("Launcher.exe ")) + static_cast<WCHAR>('a' + i);
        expected.push_back(ToUtf8(line));
        launches.emplace_back(install, ProcessOptions{.commandLine = line});
    }
    for (RunningLaunch& launch : launches) {
        ExpectEnd(launch.Finish(), 0, "");
    }
    std::vector<std::string> seen;
    for (const StandInReport& report : AwaitReports(install.Game(), COUNT)) {
        seen.push_back(report.values.at("command line"));
    }
    Sleep(200); // a second start of one of them would have shown by then
    EXPECT_TRUE(AwaitReports(install.Game(), 0).empty());
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(seen, expected);
}

} // namespace
