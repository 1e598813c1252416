#include "Tests/Launcher/Host/LaunchInside.h"

#include "Tests/Support/Target.h"

#include <chrono>
#include <fstream>

namespace {

using namespace Platform::Host;

// In place of a program; the permission to execute stays.
void WriteScript(const std::filesystem::path& program, const std::string& says)
{
    std::ofstream(program) << "#!/bin/sh\necho " << says << " >&2\n";
}

std::string ReadWords(const std::string& file)
{
    std::ifstream stream(file);
    std::string words;
    for (std::string word; stream >> word;) {
        words += (words.empty() ? "" : " ") + word;
    }
    return words;
}

} // namespace

Observed RunWinMain(const std::u16string& modulePath, const GateRule& rule)
{
    Observed observed{.rule = rule};
    SetModulePath(modulePath);
    SetMessageBoxHook([&](const MessageBoxCall& call) {
        observed.boxes.push_back(call);
        return IDOK;
    });
    GateWatch watch(rule);
    watch.OnCall([&](std::string_view function) {
        observed.errorModeAt[std::string(function)] = CurrentErrorMode();
        observed.firstLastError = function == "GetCommandLineW" ? lastError : observed.firstLastError;
    });
    lastError = 77;
    observed.exitCode = WinMain(nullptr, nullptr, nullptr, 0);
    observed.calls = watch.Calls();
    observed.firstFailed = watch.FirstFailed();
    observed.points = watch.Points();
    SetMessageBoxHook({});
    SetModulePath(std::nullopt);
    return observed;
}

Launches::Launches(const Scenario& scenario)
{
    WriteScript(Install().Updater(), "updater");
    WriteScript(Install().Game(), "game");
    if (!scenario.hasNamedGame) {
        std::filesystem::remove(Install().SkuFile());
    } else if (!scenario.isRegistered) {
        Install().WriteSkuFile(std::string("[GameUpdate]\nGameName = ") + NamedGame::NAME);
    }
    if (!scenario.hasNamedGame && scenario.isRegistered) {
        Register("The Brenvault", {"info", "folder", ToUtf8(ToPlatform(Install().Game()))});
    }
    if (!scenario.hasGame) {
        std::filesystem::remove(Install().Game());
    }
}

Launches::~Launches()
{
    SetChildErrorFile({});
    SetRegistryFile(""); // another one, which is empty
}

std::u16string Launches::ModulePath() const
{
    return ToPlatform(Install().Launcher());
}

std::string Launches::FileOf(std::size_t launch) const
{
    return (Install().Scratch() / std::to_string(launch)).native();
}

void Launches::Begin()
{
    game_.Reset();
    SetChildErrorFile(FileOf(exitCodes_.size()));
}

std::string Launches::End(int exitCode)
{
    exitCodes_.push_back(exitCode);
    return game_.ExpectWholeValues();
}

Observed Launches::Run(const GateRule& rule)
{
    Begin();
    Observed observed = RunWinMain(ModulePath(), rule);
    observed.written = End(observed.exitCode);
    return observed;
}

std::vector<std::string> Launches::Starts() const
{
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + std::chrono::seconds(20);
    for (std::size_t i = 0; i < exitCodes_.size(); ++i) {
        while (exitCodes_[i] == 0 && ReadWords(FileOf(i)).empty() && steady_clock::now() < end) {
            Sleep(1);
        }
    }
    Sleep(200); // a second start would have shown by then
    std::vector<std::string> starts;
    for (std::size_t i = 0; i < exitCodes_.size(); ++i) {
        starts.push_back(ReadWords(FileOf(i)));
    }
    return starts;
}
