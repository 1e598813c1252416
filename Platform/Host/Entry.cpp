// The entry of a program on the host: hands the platform's four arguments to WinMain.
#include "Platform/Host/Api/Processes.h"
#include "Platform/Host/CommandLine.h"
#include "Platform/Host/ProcessStart.h"
#include "Platform/Host/Utf.h"

int main()
{
    constexpr int SHOW_DEFAULT = 10;
    static char image; // stands for the program in memory; only its address counts
    std::string arguments =
        Platform::Host::ToHost(Platform::Host::ArgumentsPart(Platform::Host::OwnStart().commandLine));
    return WinMain(reinterpret_cast<HINSTANCE>(&image), nullptr, arguments.data(), SHOW_DEFAULT);
}
