// A million lines of 60 characters to a file in the current folder, each written as it ends.
#include "Plinth/Debug/Trace.h"
#include "Plinth/Debug/TraceLogFile.h"
#include "Plinth/Debug/TraceState.h"
#include "Tests/Support/Target.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int LINE_COUNT = 1'000'000;

std::vector<std::string> Lines(const char* lineEnd)
{
    std::vector<std::string> lines;
    for (int i = 0; i < 1000; ++i) {
        std::string line =
            "Loaded data/textures/" + std::to_string(i) + ".dds in " + std::to_string(7 * i) + " us";
        line.resize(60, '.');
        lines.push_back(line + lineEnd);
    }
    return lines;
}

std::filesystem::path LogPath()
{
    return std::filesystem::current_path() / "TextBenchmark.log";
}

void TraceOurs(benchmark::State& state)
{
    const std::vector<std::string> lines = Lines("\n");
    Plinth::traceState.logFile = CreateFileW(ToPlatform(LogPath()).c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                             nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    for (auto _ : state) {
        for (std::size_t i = 0; i < LINE_COUNT; ++i) {
            Plinth::Trace(lines[i % lines.size()].c_str());
        }
    }
    Plinth::CloseLogFile();
    std::filesystem::remove(LogPath());
}

void TracePlain(benchmark::State& state)
{
    const std::vector<std::string> lines = Lines("\r\n");
    const int file = open(LogPath().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    for (auto _ : state) {
        for (std::size_t i = 0; i < LINE_COUNT; ++i) {
            const std::string& line = lines[i % lines.size()];
            benchmark::DoNotOptimize(write(file, line.data(), line.size()));
        }
    }
    close(file);
    std::filesystem::remove(LogPath());
}

// Once a process: a second round would write behind the first.
BENCHMARK(TraceOurs)->Name("trace lines/ours")->Iterations(1);
BENCHMARK(TracePlain)->Name("trace lines/write")->Iterations(1);

} // namespace
