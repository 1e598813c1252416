// Shows what the launcher does: runs it in a sample install folder through its three outcomes and prints what
// it found there and what came of it.
//
//     Sample LAUNCHER     the launcher to show; colours when the environment has COLOUR
#include "Plinth/Config/RegistryValues.h"
#include "Tests/Launcher/Launch.h"
#include "Tests/Support/Target.h"
#include "Tests/Support/Terminal.h"

#include <iostream>

namespace {

constexpr LPCWSTR COMMAND_LINE = WIDE("Launcher.exe -window \"two words\"  -lang=de ");
constexpr LPCWSTR SAMPLE_KEY = WIDE("Software\\Corvanta\\Brenvault Sample");
constexpr const char* NAMED_KEY = R"(Software\Corvanta\Brenvault Sample\GameUpdate)";
constexpr const char* UNNAMED_KEY = R"(SOFTWARE\Corvanta\The Brenvault\GameUpdate)";

// Lines after the first stand below it.
void PrintRow(const std::string& name, std::string lines)
{
    for (std::size_t end = lines.find('\n'); end != std::string::npos; end = lines.find('\n', end + 1)) {
        lines.replace(end, 1, "\n" + std::string(18, ' '));
    }
    std::cout << "  " << Colour("\x1b[36m") << name << Colour("\x1b[0m") << std::string(16 - name.size(), ' ')
              << lines << '\n';
}

void PrintRegistration(const char* when, const char* key)
{
    std::string values;
    for (const char* const name : {"Info", "InstallDir", "ExecPath"}) {
        Plinth::CString value;
        if (Plinth::GetRegString(HKEY_LOCAL_MACHINE, key, nullptr, name, value)) {
            values += (values.empty() ? "" : "\n") + std::string(name) + " = " + value.CStr();
        }
    }
    PrintRow(when, values.empty() ? "nothing" : values);
}

// Whether it was that program alone, or nothing where none is expected. What is expected is waited for.
bool PrintStarted(const InstallFolder& install, const std::filesystem::path& expected)
{
    std::vector<StandInReport> reports;
    if (!expected.empty()) {
        reports = AwaitReports(expected, 1);
    }
    const bool hasCome = reports.size() == (expected.empty() ? 0 : 1);
    const std::size_t count = reports.size();
    for (const std::filesystem::path& program : {install.Updater(), install.Game()}) {
        const std::vector<StandInReport> others = AwaitReports(program, 0);
        reports.insert(reports.end(), others.begin(), others.end());
    }
    for (const StandInReport& report : reports) {
        PrintRow("started", report.values.at("program"));
        PrintRow("  command line", report.values.at("command line"));
        PrintRow("  folder", report.values.at("folder"));
    }
    return hasCome && reports.size() == count;
}

struct Outcome {
    const char* title;
    std::string skuFile;           // empty: there is none
    const char* key;               // where the registration is looked for
    std::filesystem::path started; // empty: nothing
    DWORD exitCode;
};

// Whether it came as expected.
bool Show(const InstallFolder& install, const Outcome& outcome)
{
    PrintTitle(outcome.title);
    PrintRow("command line", ToUtf8(COMMAND_LINE));
    PrintRow("sku file", outcome.skuFile.empty() ? "none" : outcome.skuFile);
    PrintRow("registry key", outcome.key);
    PrintRegistration("  before", outcome.key);
    const LaunchResult result = Launch(install, {.commandLine = COMMAND_LINE});
    PrintRegistration("  after", outcome.key);
    const bool isStarted = PrintStarted(install, outcome.started);
    for (const SeenMessageBox& box : result.boxes) {
        PrintRow("message box", ToUtf8(box.caption) + "\n" + ToUtf8(box.text));
    }
    PrintRow("exit code", std::to_string(result.exitCode));
    const bool isAsExpected = isStarted && result.exitCode == outcome.exitCode;
    if (!isAsExpected) {
        std::cerr << "That is not what the launcher should have done.\n";
    }
    return isAsExpected;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: Sample LAUNCHER\n";
        return 2;
    }
    const std::string skuFile = "[GameUpdate]\n"
                                "Info=Brenvault 1.0\n"
                                "GameName=Brenvault Sample\n"
                                "ExecPath=Data\\Base\\_Dbg\\Bin\\Release\\BrenvaultR.exe";
    const ScratchRegistry registry;
    const InstallFolder install("The Brenvault", std::filesystem::absolute(argv[1]));
    std::cout << "Install folder: " << ToUtf8(ToPlatform(install.Path())) << '\n';

    RegDeleteTreeW(HKEY_LOCAL_MACHINE, SAMPLE_KEY); // one that was broken off may have left it
    install.PlaceUpdater();
    install.WriteSkuFile(skuFile);
    bool isAsExpected = Show(install, {"The sku file names the game: the updater goes first", skuFile,
                                       NAMED_KEY, install.Updater(), 0});
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, SAMPLE_KEY);
    std::filesystem::remove(install.SkuFile());
    isAsExpected &=
        Show(install, {"Nothing is registered: the game starts", "", UNNAMED_KEY, install.Game(), 0});
    RemoveProgram(install.Game());
    isAsExpected &= Show(install, {"The game is missing", "", UNNAMED_KEY, {}, 1});
    return isAsExpected ? 0 : 1;
}
