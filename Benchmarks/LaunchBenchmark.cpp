// How long a launch takes, from the start of the launcher's process to its end, beside a bare program that
// only makes the same platform calls. The two run in turn, so that what else the machine does meets both
// alike.
//
//     LaunchBenchmark LAUNCHER [ROUNDS]
#include "Tests/Launcher/Launch.h"
#include "Tests/Support/Target.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int WARM_UP_ROUNDS = 5;

using Milliseconds = std::chrono::duration<double, std::milli>;

[[noreturn]] void Fail(const char* what)
{
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
}

// The report of what was started is awaited too, but not measured: it would run into the next launch.
double MillisecondsOfLaunch(const std::filesystem::path& program, const std::filesystem::path& started)
{
    const auto start = std::chrono::steady_clock::now();
    const StartedProcess launch({.program = ToPlatform(program)});
    if (WaitForSingleObject(launch.Handle(), 15000) != WAIT_OBJECT_0) {
        Fail("A launch did not end.");
    }
    const Milliseconds elapsed = std::chrono::steady_clock::now() - start;
    if (launch.ExitCode() != 0 || AwaitReports(started, 1).size() != 1) {
        Fail("A launch did not start what it should.");
    }
    return elapsed.count();
}

struct Times {
    std::vector<double> all;

    double Quantile(double part)
    {
        std::sort(all.begin(), all.end());
        return all[static_cast<std::size_t>(part * static_cast<double>(all.size() - 1))];
    }
};

void Print(const char* name, Times& times)
{
    std::printf("%-14s%8.2f ms%8.2f ms%8.2f ms\n", name, times.Quantile(0.1), times.Quantile(0.5),
                times.Quantile(0.9));
}

void Compare(const char* title, const InstallFolder& install, const std::filesystem::path& started,
             int rounds)
{
    const std::filesystem::path bareProgram = install.Path() / "BareLaunch.exe";
    Times launcher;
    Times bare;
    for (int round = -WARM_UP_ROUNDS; round < rounds; ++round) {
        const double launcherTime = MillisecondsOfLaunch(install.Launcher(), started);
        const double bareTime = MillisecondsOfLaunch(bareProgram, started);
        if (round >= 0) {
            launcher.all.push_back(launcherTime);
            bare.all.push_back(bareTime);
        }
    }
    std::printf("%-14s%11s%11s%11s\n", title, "10 %", "median", "90 %");
    Print("Launcher.exe", launcher);
    Print("bare program", bare);
    std::printf("ratio of medians over %d runs each: %.2f\n", rounds,
                launcher.Quantile(0.5) / bare.Quantile(0.5));
}

} // namespace

int main(int argc, char** argv)
{
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 100;
    if (argc < 2 || rounds < 1) {
        Fail("usage: LaunchBenchmark LAUNCHER [ROUNDS]");
    }
    const ScratchRegistry registry;
    const InstallFolder install("Brenvault", std::filesystem::absolute(argv[1]));
    std::filesystem::copy_file(BuiltProgram("BareLaunch.exe"), install.Path() / "BareLaunch.exe");
    Compare("the game", install, install.Game(), rounds);
    install.PlaceUpdater();
    install.WriteSkuFile("[GameUpdate]\r\nInfo=Launch Benchmark 1.0\r\nGameName=Launch Benchmark\r\n"
                         "ExecPath=Data\\Base\\_Dbg\\Bin\\Release\\BrenvaultR.exe\r\n");
    Compare("the updater", install, install.Updater(), rounds);
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, WIDE("Software\\Corvanta\\Launch Benchmark"));
    return 0;
}
