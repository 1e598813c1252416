#include "Tests/Launcher/Launch.h"

#include "Tests/Support/Target.h"

namespace {

template <typename Text>
auto DataOrNull(Text& text)
{
    return text.empty() ? nullptr : text.data();
}

} // namespace

InstallFolder::InstallFolder(const std::filesystem::path& folder, const std::filesystem::path& launcher)
    : folder_(scratch_.Path() / folder)
{
    std::filesystem::create_directories(Game().parent_path());
    std::filesystem::copy_file(launcher, Launcher());
    std::filesystem::copy_file(BuiltProgram("StandIn.exe"), Game());
}

std::filesystem::path InstallFolder::Game() const
{
    return folder_ / "Data" / "Base" / "_Dbg" / "Bin" / "Release" / "BrenvaultR.exe";
}

RunningLaunch::RunningLaunch(const InstallFolder& install, const LaunchOptions& options)
    : watcher_(install.Scratch())
{
    LaunchOptions given = options;
    if (given.launcher.empty()) {
        given.launcher = ToPlatform(install.Launcher());
    }
    LPVOID environment = given.environment.has_value() ? given.environment->data() : nullptr;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    CreateProcessW(given.launcher.c_str(), DataOrNull(given.commandLine), nullptr, nullptr,
                   given.inheritHandles ? TRUE : FALSE, CREATE_UNICODE_ENVIRONMENT, environment,
                   DataOrNull(given.folder), &startup, &process_);
}

RunningLaunch::~RunningLaunch()
{
    CloseHandle(process_.hProcess);
    CloseHandle(process_.hThread);
}

LaunchResult RunningLaunch::Finish()
{
    constexpr int POLLS = 1500;
    constexpr DWORD MILLISECONDS = 10;
    for (int poll = 0; poll < POLLS && WaitForSingleObject(process_.hProcess, MILLISECONDS) == WAIT_TIMEOUT;
         ++poll) {
        watcher_.Poll(process_.dwProcessId);
    }
    LaunchResult result{STILL_ACTIVE, watcher_.Boxes()};
    GetExitCodeProcess(process_.hProcess, &result.exitCode);
    if (result.exitCode == STILL_ACTIVE) {
        TerminateProcess(process_.hProcess, STILL_ACTIVE);
    }
    return result;
}
