#include "Tests/Support/Target.h"

#include "Platform/Host/Drives.h"

#include <string>

std::filesystem::path ToNative(WideTextView path)
{
    std::string native;
    Platform::Host::ResolvePath(path, native);
    return native;
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

int CountInheritedHandles()
{
    int count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        ++count;
    }
    constexpr int OWN = 4; // standard input, output and error, and the listing itself
    return count - OWN;
}
