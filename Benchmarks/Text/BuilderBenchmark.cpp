// 100,000 paths of three components, each folded.
#include "Plinth/Text/CTextBuilder.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

using Plinth::FoldPath;

struct Components {
    const char* drive;
    const char* folder;
    std::string file;
};

std::vector<Components> PathComponents()
{
    constexpr const char* DRIVES[] = {"C:/Games", "D:\\Program Files\\Games", "Z:/home/player"};
    constexpr const char* FOLDERS[] = {"Data/Textures", "Meshes\\Clutter", "Sound", "Interface/Controls"};
    std::vector<Components> paths;
    for (std::size_t i = 0; i < 100'000; ++i) {
        char file[32];
        std::snprintf(file, sizeof(file), "Object_%zu.DDS", i);
        paths.push_back({DRIVES[i % std::size(DRIVES)], FOLDERS[i % std::size(FOLDERS)], file});
    }
    return paths;
}

void BuildOurs(benchmark::State& state)
{
    const std::vector<Components> paths = PathComponents();
    char buffer[512];
    for (auto _ : state) {
        for (const Components& components : paths) {
            Plinth::CTextBuilder path(buffer, sizeof(buffer));
            path.AppendFolded(components.drive, FoldPath);
            path.AppendChar('\\');
            path.AppendFolded(components.folder, FoldPath);
            path.AppendChar('\\');
            path.AppendFolded(components.file.c_str(), FoldPath);
            benchmark::DoNotOptimize(path.GetText());
            benchmark::ClobberMemory();
        }
    }
}

void AppendFolded(std::string& path, const char* text)
{
    for (; *text != 0; ++text) {
        path.push_back(FoldPath(*text));
    }
}

void BuildStandard(benchmark::State& state)
{
    const std::vector<Components> paths = PathComponents();
    for (auto _ : state) {
        for (const Components& components : paths) {
            std::string path;
            AppendFolded(path, components.drive);
            path.push_back('\\');
            AppendFolded(path, components.folder);
            path.push_back('\\');
            AppendFolded(path, components.file.c_str());
            benchmark::DoNotOptimize(path.data());
            benchmark::ClobberMemory();
        }
    }
}

BENCHMARK(BuildOurs)->Name("build paths/ours");
BENCHMARK(BuildStandard)->Name("build paths/standard");

} // namespace
