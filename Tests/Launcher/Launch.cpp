#include "Tests/Launcher/Launch.h"

#include "Tests/Support/Target.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace {

constexpr const char* RUNTIME_ASSEMBLY = "Brenvault.Runtime"; // what the Windows launcher needs beside it

ProcessOptions WithProgram(ProcessOptions options, const InstallFolder& install)
{
    if (options.program.empty()) {
        options.program = ToPlatform(install.Launcher());
    }
    return options;
}

} // namespace

InstallFolder::InstallFolder(const std::filesystem::path& folder, const std::filesystem::path& launcher)
    : folder_(scratch_.Path() / folder)
{
    for (const std::filesystem::path& file : {Game(), Updater(), SkuFile()}) {
        std::filesystem::create_directories(file.parent_path());
    }
    std::filesystem::copy_file(launcher, Launcher());
    const std::filesystem::path runtime = launcher.parent_path() / RUNTIME_ASSEMBLY;
    if (std::filesystem::exists(runtime)) {
        std::filesystem::copy(runtime, folder_ / RUNTIME_ASSEMBLY);
    }
    std::filesystem::copy_file(BuiltProgram("StandIn.exe"), Game());
}

std::filesystem::path InstallFolder::Game() const
{
    return folder_ / "Data" / "Base" / "_Dbg" / "Bin" / "Release" / "BrenvaultR.exe";
}

std::filesystem::path InstallFolder::Updater() const
{
    return folder_ / "Support" / "Base" / "GameUpdate" / "BrenvaultGameUpdate.exe";
}

std::filesystem::path InstallFolder::SkuFile() const
{
    return folder_ / "Data" / "Base" / "Pakk" / "brenvaultsku.ini";
}

void InstallFolder::PlaceUpdater() const
{
    std::filesystem::copy_file(BuiltProgram("StandIn.exe"), Updater());
}

void InstallFolder::WriteSkuFile(const std::string& bytes) const
{
    std::ofstream(SkuFile(), std::ios::binary) << bytes;
}

void RemoveRegistrations()
{
    if (!IsRegistryForTests()) {
        throw std::runtime_error("the registry is not for tests");
    }
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, WIDE("Software\\Corvanta"));
}

PathBuffer BufferOf(const std::filesystem::path& path)
{
    const WideText text = ToPlatform(path);
    PathBuffer buffer;
    std::copy(text.begin(), text.end(), buffer.text);
    return buffer;
}

RunningLaunch::RunningLaunch(const InstallFolder& install, const ProcessOptions& options)
    : watcher_(install.Scratch()), process_(WithProgram(options, install))
{
}

LaunchResult RunningLaunch::Finish()
{
    const DWORD exitCode = AwaitExit(process_, [this] { watcher_.Poll(process_.Id()); });
    return {exitCode, watcher_.Boxes()};
}
