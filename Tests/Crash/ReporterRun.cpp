#include "Tests/Crash/ReporterRun.h"

#include "Tests/Support/StandInReport.h"
#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <fstream>
#include <iterator>

namespace {

std::string ReadWhole(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::filesystem::path> FindDumps(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> dumps;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".dmp") {
            dumps.push_back(entry.path());
        }
    }
    return dumps;
}

} // namespace

ReporterResult RunReporter(const std::filesystem::path& folder, const std::string& words,
                           const ReporterOptions& options)
{
    const std::string commandLine = options.program.filename().string() + " " + words;
    MessageBoxWatcher watcher(folder);
    watcher.TakePictures(options.picture);
    StartedProcess process({.program = ToPlatform(options.program),
                            .commandLine = WideText(commandLine.begin(), commandLine.end()),
                            .folder = ToPlatform(folder)});
    const DWORD exitCode = AwaitExit(process, [&] { watcher.Poll(process.Id()); });
    return {exitCode, watcher.Boxes(), ReadWhole(folder / options.log), ReadWhole(folder / "heap.log"),
            FindDumps(folder)};
}

ReporterResult RunCrasher(const std::filesystem::path& folder, const std::string& words)
{
    const std::filesystem::path program = folder / "Crasher.exe";
    std::filesystem::copy_file(BuiltProgram("Crasher.exe"), program);
    ReporterResult result = RunReporter(folder, words, {.program = program, .log = "Crasher.log"});
    RemoveProgram(program);
    return result;
}
