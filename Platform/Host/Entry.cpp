// The entry of a program on the host: hands the platform's four arguments to WinMain.
#include "Platform/Host/Api/Processes.h"
#include "Platform/Host/CommandLine.h"
#include "Platform/Host/LoadedModules.h"
#include "Platform/Host/ModulePaths.h"
#include "Platform/Host/ProcessStart.h"
#include "Platform/Host/Utf.h"

namespace {

HINSTANCE Program()
{
    const auto program = Platform::Host::DescribeModule(Platform::Host::FirstModule());
    return program.has_value() ? Platform::Host::HandleOf(*program) : nullptr;
}

} // namespace

int main()
{
    constexpr int SHOW_DEFAULT = 10;
    std::string arguments =
        Platform::Host::ToHost(Platform::Host::ArgumentsPart(Platform::Host::OwnStart().commandLine));
    return WinMain(Program(), nullptr, arguments.data(), SHOW_DEFAULT);
}
