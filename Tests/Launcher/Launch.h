// A sample install folder and real launches from it.
#pragma once

#include "Tests/Launcher/MessageBoxWatcher.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/StandInReport.h"
#include "Tests/Support/WideText.h"

#include <filesystem>
#include <optional>
#include <vector>

// The launcher and a stand-in game, laid out as a player has them.
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

private:
    ScratchFolder scratch_;
    std::filesystem::path folder_;
};

struct LaunchOptions {
    WideText launcher;                   // empty: the install folder's
    WideText commandLine;                // empty: the platform's own choice
    std::optional<WideText> environment; // a block; nullopt: this process's
    WideText folder;                     // the current directory at start; empty: this process's
    bool inheritHandles = false;
};

struct LaunchResult {
    DWORD exitCode; // of the launcher; STILL_ACTIVE when it did not start or had to be ended by force
    std::vector<SeenMessageBox> boxes;
};

class RunningLaunch {
public:
    RunningLaunch(const InstallFolder& install, const LaunchOptions& options);
    ~RunningLaunch();
    RunningLaunch(const RunningLaunch&) = delete;
    RunningLaunch& operator=(const RunningLaunch&) = delete;

    // Waits for the end, answering message boxes. After 15 seconds the launcher is ended by force.
    LaunchResult Finish();

private:
    MessageBoxWatcher watcher_;
    PROCESS_INFORMATION process_ = {};
};

inline LaunchResult Launch(const InstallFolder& install, const LaunchOptions& options = {})
{
    return RunningLaunch(install, options).Finish();
}
