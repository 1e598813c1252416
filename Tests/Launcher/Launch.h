// A sample install folder and real launches from it.
#pragma once

#include "GameLauncher/PathBuffer.h"
#include "Tests/Support/MessageBoxWatcher.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/StandInReport.h"
#include "Tests/Support/StartedProcess.h"

#include <filesystem>
#include <string>
#include <vector>

// The launcher and a stand-in game, laid out as a player has them. Updater and sku file are missing at first.
class InstallFolder {
public:
    // A name below a scratch folder, or a whole path; the launcher is the build's own unless another is
    // named.
    explicit InstallFolder(const std::filesystem::path& folder = "Brenvault",
                           const std::filesystem::path& launcher = BuiltProgram("Launcher.exe"));

    [[nodiscard]] const std::filesystem::path& Scratch() const { return scratch_.Path(); }
    [[nodiscard]] const std::filesystem::path& Path() const { return folder_; }
    [[nodiscard]] std::filesystem::path Launcher() const { return folder_ / "Launcher.exe"; }
    [[nodiscard]] std::filesystem::path Game() const;
    [[nodiscard]] std::filesystem::path Updater() const;
    [[nodiscard]] std::filesystem::path SkuFile() const;

    void PlaceUpdater() const; // a stand-in
    void WriteSkuFile(const std::string& bytes) const;

private:
    ScratchFolder scratch_;
    std::filesystem::path folder_;
};

struct LaunchResult {
    DWORD exitCode; // of the launcher; STILL_ACTIVE when it did not start or had to be ended by force
    std::vector<SeenMessageBox> boxes;
};

// Removes all that games have registered. Throws where that could be a real game.
void RemoveRegistrations();

PathBuffer BufferOf(const std::filesystem::path& path);

class RunningLaunch {
public:
    // Without a program named, the install folder's launcher is started.
    RunningLaunch(const InstallFolder& install, const ProcessOptions& options);

    [[nodiscard]] const StartedProcess& Process() const { return process_; }

    // Waits for the end, answering message boxes. After 15 seconds the launcher is ended by force.
    LaunchResult Finish();

private:
    MessageBoxWatcher watcher_;
    StartedProcess process_;
};

inline LaunchResult Launch(const InstallFolder& install, const ProcessOptions& options = {})
{
    return RunningLaunch(install, options).Finish();
}

// What the launcher's box says, in UTF-8; the hint comes with a game that could not be started.
constexpr const char* REINSTALL_HINT = "\n\nRe-installing the game may fix this problem.";

inline std::string FailureText(const std::string& digits, const std::string& hint)
{
    return "Failed to start Brenvault  game executable (error code " + digits + ")!" + hint;
}
