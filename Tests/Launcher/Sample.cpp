// Shows what the launcher does: runs it in a sample install folder and prints what came of it.
//
//     Sample LAUNCHER     the launcher to show; colours when the environment has COLOUR
#include "Tests/Launcher/Launch.h"
#include "Tests/Support/Target.h"

#include <cstdlib>
#include <iostream>

namespace {

const char* Colour(const char* sequence)
{
    return std::getenv("COLOUR") != nullptr ? sequence : "";
}

void PrintTitle(const std::string& title)
{
    std::cout << '\n' << Colour("\x1b[1m") << title << Colour("\x1b[0m") << '\n';
}

void PrintRow(const std::string& name, const std::string& value)
{
    std::cout << "  " << Colour("\x1b[36m") << name << Colour("\x1b[0m") << std::string(16 - name.size(), ' ')
              << value << '\n';
}

// Lines after the first stand below it.
void PrintLines(const std::string& name, std::string lines)
{
    for (std::size_t end = lines.find('\n'); end != std::string::npos; end = lines.find('\n', end + 1)) {
        lines.replace(end, 1, "\n" + std::string(18, ' '));
    }
    PrintRow(name, lines);
}

// Launches and prints what was started and said; gives the launcher's exit code.
DWORD Show(const InstallFolder& install, const WideText& commandLine, std::size_t gamesExpected)
{
    const LaunchResult result = Launch(install, {.commandLine = commandLine});
    PrintRow("command line", ToUtf8(commandLine));
    for (const StandInReport& report : AwaitReports(install.Game(), gamesExpected)) {
        PrintRow("started", report.values.at("program"));
        PrintRow("  command line", report.values.at("command line"));
        PrintRow("  folder", report.values.at("folder"));
    }
    for (const SeenMessageBox& box : result.boxes) {
        PrintLines("message box", ToUtf8(box.caption) + "\n" + ToUtf8(box.text));
    }
    PrintRow("exit code", std::to_string(result.exitCode));
    return result.exitCode;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: Sample LAUNCHER\n";
        return 2;
    }
    const InstallFolder install("The Brenvault", std::filesystem::absolute(argv[1]));
    const WideText commandLine = WIDE("Launcher.exe -window \"two words\"  -lang=de ");
    std::cout << "Install folder: " << ToUtf8(ToPlatform(install.Path())) << '\n';

    PrintTitle("The game is there");
    const DWORD started = Show(install, commandLine, 1);
    RemoveProgram(install.Game());
    PrintTitle("The game is missing");
    const DWORD failed = Show(install, commandLine, 0);
    return started == 0 && failed == 1 ? 0 : 1;
}
