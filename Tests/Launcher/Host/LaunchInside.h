// Launches inside this process: WinMain called with every platform call seen, and failed on demand.
#pragma once

#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Tests/Launcher/NamedGame.h"

#include <map>

struct Observed {
    int exitCode = -1;
    std::vector<Platform::Host::MessageBoxCall> boxes;
    std::vector<std::string> calls;
    std::map<std::string, UINT> errorModeAt; // at the function's last call
    Platform::Host::GateRule rule;
    std::optional<std::size_t> firstFailed; // of the calls
    unsigned points = 0;                    // calls that the rule is about
    DWORD firstLastError = UINT32_MAX;      // at the first call that may set it
    std::string written;                    // see NamedGame::ExpectWholeValues
};

Observed RunWinMain(const std::u16string& modulePath, const Platform::Host::GateRule& rule = {});

// What an install folder has, and what a launch from it comes to. Without a sku file that names the game the
// path of the game's program decides.
struct Scenario {
    const char* name;
    bool hasNamedGame;
    bool isRegistered; // for this folder, or will be by the launch: the updater is due
    bool hasGame;
    const char* starts; // "updater", "game" or nothing
    const char* digits; // of the box; empty: none
};

constexpr Scenario SCENARIOS[] = {
    {"updater by the sku file", true, true, true, "updater", ""},
    {"updater by the game's path", false, true, true, "updater", ""},
    {"game", true, false, true, "game", ""},
    {"no game", false, false, false, "", "620002"},
};

// Launches in a scenario. Updater and game are small scripts that say which of them was started.
class Launches {
public:
    explicit Launches(const Scenario& scenario);
    ~Launches();
    Launches(const Launches&) = delete;
    Launches& operator=(const Launches&) = delete;

    [[nodiscard]] const InstallFolder& Install() const { return game_.Install(); }
    [[nodiscard]] std::u16string ModulePath() const;

    // One launch. Expects that it leaves whole values in the registry.
    Observed Run(const Platform::Host::GateRule& rule = {});

    // The same in steps: what comes before it, and what after it.
    void Begin();
    std::string End(int exitCode);

    // What each launch started: "game", "updater", or several of them with blanks between.
    [[nodiscard]] std::vector<std::string> Starts() const;

private:
    [[nodiscard]] std::string FileOf(std::size_t launch) const;

    NamedGame game_;
    std::vector<int> exitCodes_;
};
