// The launcher's entry: finds the install folder, starts the game's updater from it where that is due and the
// game where it is not, and ends without waiting for what it started.
//
// The launch is a chain of platform calls. The first that fails ends it: its stage and the last error taken
// right after the call go into the failure message. The calls, their order and the last errors are what
// support staff read out of an error code, so nothing may come between a call and its GetLastError.
#include "GameLauncher/FailureMessage.h"
#include "GameLauncher/LaunchStage.h"
#include "GameLauncher/PathBuffer.h"
#include "GameLauncher/ProgramStart.h"
#include "GameLauncher/UpdaterHandOff.h"
#include "Platform/Win32.h"

namespace {

constexpr LPCWSTR GAME_PATH = WIDE("Data\\Base\\_Dbg\\Bin\\Release\\BrenvaultR.exe");
constexpr LPCWSTR UPDATER_PATH = WIDE("Support\\Base\\GameUpdate\\BrenvaultGameUpdate.exe");

// The longest path that the launcher accepts for itself, terminator included. Less than a PathBuffer holds.
constexpr DWORD MODULE_PATH_CAPACITY = 772;

// Each step runs only when those before it went well; a step that fails leaves its stage behind.
class LaunchSequence {
public:
    // Runs the launch up to its end or its first failure; gives the process's exit code.
    int Run();

private:
    bool TakeCommandLine();
    bool FindModule();
    bool EnterLauncherFolder();
    bool BuildProgramPath(PathBuffer& path, LPCWSTR relative);
    bool StartUpdaterOrGame();
    bool StartGame();
    bool FailAt(LaunchStage stage);

    LPWSTR commandLine_ = nullptr;
    PathBuffer folder_;
    PathBuffer gamePath_;
    PathBuffer updaterPath_;
    LaunchStage stage_ = LaunchStage::None;
    DWORD lastError_ = 0;
    bool reinstallHint_ = false;
};

bool LaunchSequence::FailAt(LaunchStage stage)
{
    stage_ = stage;
    return false;
}

bool LaunchSequence::TakeCommandLine()
{
    commandLine_ = GetCommandLineW();
    return commandLine_ != nullptr || FailAt(LaunchStage::CommandLine);
}

bool LaunchSequence::FindModule()
{
    const DWORD length = GetModuleFileNameW(nullptr, folder_.text, MODULE_PATH_CAPACITY);
    lastError_ = GetLastError();
    if (length == 0) {
        return FailAt(LaunchStage::ModulePath);
    }
    if (length >= MODULE_PATH_CAPACITY) {
        return FailAt(LaunchStage::ModulePathLength);
    }
    return folder_.text[0] != 0 || FailAt(LaunchStage::ModulePathEmpty);
}

bool LaunchSequence::EnterLauncherFolder()
{
    const BOOL removed = PathRemoveFileSpecW(folder_.text);
    lastError_ = GetLastError();
    if (!removed) {
        return FailAt(LaunchStage::LauncherFolder);
    }
    const BOOL entered = SetCurrentDirectoryW(folder_.text);
    lastError_ = GetLastError();
    return entered || FailAt(LaunchStage::CurrentDirectory);
}

bool LaunchSequence::BuildProgramPath(PathBuffer& path, LPCWSTR relative)
{
    path = folder_;
    const BOOL appended = PathAppendW(path.text, relative);
    lastError_ = GetLastError();
    return appended || FailAt(LaunchStage::ProgramPath);
}

bool LaunchSequence::StartGame()
{
    const bool started = StartProgram(gamePath_.text, commandLine_, lastError_);
    reinstallHint_ = !started;
    return started || FailAt(LaunchStage::StartGame);
}

bool LaunchSequence::StartUpdaterOrGame()
{
    switch (TryStartUpdater(updaterPath_, folder_.text, gamePath_.text, &lastError_)) {
    case UpdaterStarted:
        return true;
    case UpdaterStartFailed:
        reinstallHint_ = true;
        return FailAt(LaunchStage::StartUpdater);
    default:
        return StartGame();
    }
}

int LaunchSequence::Run()
{
    SetErrorMode(SEM_FAILCRITICALERRORS);
    SetLastError(0);
    if (TakeCommandLine() && FindModule() && EnterLauncherFolder() &&
        BuildProgramPath(gamePath_, GAME_PATH) && BuildProgramPath(updaterPath_, UPDATER_PATH) &&
        StartUpdaterOrGame()) {
        return 0;
    }
    ShowFailureMessage(stage_, lastError_, reinstallHint_);
    return 1;
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int)
{
    LaunchSequence launch;
    return launch.Run();
}
