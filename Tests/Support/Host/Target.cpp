#include "Tests/Support/Target.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Drives.h"

#include <string>
#include <system_error>

std::filesystem::path ToNative(WideTextView path)
{
    std::string native;
    const DWORD error = Platform::Host::ResolvePath(path, native);
    return error == ERROR_SUCCESS || error == ERROR_FILE_NOT_FOUND ? native : std::string();
}

WideText ToPlatform(const std::filesystem::path& path)
{
    return Platform::Host::ToDrivePath(std::filesystem::absolute(path).native());
}

ScratchDrive::ScratchDrive()
{
    Platform::Host::SetDrive(LETTER, folder_.Path().native());
}

ScratchDrive::~ScratchDrive()
{
    Platform::Host::RemoveDrive(LETTER);
}

std::filesystem::path ScratchDrive::Root() const
{
    return folder_.Path();
}

ScratchRegistry::ScratchRegistry()
{
    Platform::Host::SetRegistryFile(folder_.Path() / "registry.reg");
}

ScratchRegistry::~ScratchRegistry()
{
    Platform::Host::SetRegistryFile("");
}

bool RunWithoutRegistryWriting(const std::function<void()>& run)
{
    Platform::Host::SetMachineKeysReadOnly(true);
    run();
    Platform::Host::SetMachineKeysReadOnly(false);
    return true;
}

bool IsRegistryForTests()
{
    return true;
}

const bool PROGRAMS_HAVE_VERSIONS = false;

const bool PLATFORM_SHARES_THE_HEAP = true;

const bool RUNTIME_TELLS_OF_PARAMETERS = true;

const bool FAULTS_ARE_SIGNALS = true;

int CountInheritedHandles()
{
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code closed;
        const bool isListing = std::filesystem::read_symlink(entry.path(), closed).filename() == "fd";
        count += !isListing && std::stoi(entry.path().filename()) > 2 ? 1 : 0;
    }
    return count;
}
