// An install folder whose updater is due: its sku file names the game, which is registered for another folder
// so far.
#pragma once

#include "GameLauncher/UpdaterHandOff.h"
#include "Tests/Launcher/Launch.h"

#include <array>

using RegisteredTexts = std::array<std::string, 3>; // "Info", "InstallDir", "ExecPath" in UTF-8

void Register(const std::string& game, const RegisteredTexts& registration);

class NamedGame {
public:
    static constexpr const char* NAME = "Brenvault Tests";
    // Who reads the sku file's first half finds this one.
    static constexpr const char* OTHER = "Brenvault Tests 2";

    NamedGame();
    ~NamedGame();
    NamedGame(const NamedGame&) = delete;
    NamedGame& operator=(const NamedGame&) = delete;

    [[nodiscard]] const InstallFolder& Install() const { return install_; }

    // Registers the game for the other folder.
    void Reset() const;

    // The hand-off, and nothing beside it that takes memory.
    UpdaterResult TryStart(DWORD& lastError) const;

    // Expects that each registered value is as Reset left it ('-'), or the whole text of the sku file and
    // folder
    // ('+'), in that order, and that no other game has any.
    std::string ExpectWholeValues() const;

private:
    InstallFolder install_;
    PathBuffer folder_;
    PathBuffer game_;
    PathBuffer updater_;
};
