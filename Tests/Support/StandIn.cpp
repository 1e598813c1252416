// Takes the place of the game and of the updater: writes down what it was started with and ends.
//
// The report is "<own path>.<process id>.report", UTF-8 lines of "name: value"; it appears complete. When the
// environment has STAND_IN_STAYS, the stand-in stays until its report is gone, 30 seconds at the most.
#include "Platform/Win32.h"
#include "Tests/Support/StandInReport.h"
#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>

namespace {

std::string Printable(WideTextView text)
{
    std::string result = ToUtf8(text);
    std::replace_if(
        result.begin(), result.end(), [](char c) { return c >= 0 && c < ' '; }, '?');
    return result;
}

void WriteReport(const std::filesystem::path& path, int inheritedHandles)
{
    const WideText commandLine = GetCommandLineW();
    std::ofstream report(path, std::ios::binary);
    report << "program: " << Printable(OwnProgram()) << '\n'
           << "command line: " << Printable(commandLine) << '\n'
           << "command line units: " << ToUnits(commandLine) << '\n'
           << "folder: " << Printable(OwnFolder()) << '\n'
           << "error mode: " << GetErrorMode() << '\n'
           << "inherited handles: " << inheritedHandles << '\n';
    LPWSTR environment = GetEnvironmentStringsW();
    for (LPCWSTR entry = environment; *entry != 0; entry += WideTextView(entry).size() + 1) {
        report << "environment: " << Printable(entry) << '\n';
    }
    FreeEnvironmentStringsW(environment);
}

void StayWhile(const std::filesystem::path& report)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::filesystem::exists(report) && std::chrono::steady_clock::now() < end) {
        Sleep(10);
    }
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int)
{
    const int inheritedHandles = CountInheritedHandles();
    std::filesystem::path report = ToNative(OwnProgram());
    if (report.empty()) {
        return 1; // the test is over and has taken its folder away
    }
    report += "." + std::to_string(GetCurrentProcessId()) + ".report";
    std::filesystem::path unfinished = report;
    unfinished += ".unfinished";
    WriteReport(unfinished, inheritedHandles);
    std::filesystem::rename(unfinished, report);
    if (std::getenv("STAND_IN_STAYS") != nullptr) {
        StayWhile(report);
    }
    return STAND_IN_EXIT_CODE;
}
