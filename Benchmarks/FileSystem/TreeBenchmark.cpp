// A tree of 20,000 files in 1,000 folders: making the index of it, and asking for files.
#include "Plinth/FileSystem/CWindowsFileSystem.h"
#include "Tests/Support/Target.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <ftw.h>
#include <random>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

using namespace Plinth;

constexpr int REGIONS = 40;
constexpr int TILES = 24; // with the regions themselves 1,000 folders
constexpr int FILES = 20;
constexpr std::size_t LOOKUPS = 200'000;
constexpr std::size_t ENTRIES = std::size_t{REGIONS} * (TILES + 1) * (FILES + 1);

std::string FolderName(int region, int tile)
{
    const std::string name = "Region" + std::to_string(region);
    return tile == TILES ? name : name + "/Tile_" + std::to_string(tile);
}

std::string FileName(int region, int tile, int file)
{
    return FolderName(region, tile) + "/Texture_" + std::to_string(file) + ".dds";
}

void MakeTree(const std::filesystem::path& root)
{
    for (int folder = 0; folder < REGIONS * (TILES + 1); ++folder) {
        const int region = folder % REGIONS;
        const int tile = folder / REGIONS;
        std::filesystem::create_directories(root / FolderName(region, tile));
        for (int file = 0; file < FILES; ++file) {
            std::ofstream(root / FileName(region, tile, file)) << file;
        }
    }
}

// The tree stays for the next process. It gets its name when it is whole.
std::filesystem::path Tree()
{
    const std::filesystem::path root = std::filesystem::current_path() / "FileSystemBenchmark.tree";
    if (!std::filesystem::exists(root)) {
        const std::filesystem::path unfinished = root.native() + ".new";
        std::filesystem::remove_all(unfinished);
        MakeTree(unfinished);
        std::filesystem::rename(unfinished, root);
    }
    return root;
}

// Random ones of the tree, each second one with another ending.
std::vector<std::string> AskedFor()
{
    std::mt19937 random(1);
    const auto below = [&random](int limit) {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    std::vector<std::string> names;
    for (std::size_t i = 0; i < LOOKUPS; ++i) {
        names.push_back(FileName(below(REGIONS), below(TILES + 1), below(FILES)) + (i % 2 != 0 ? "x" : ""));
    }
    return names;
}

void ScanOurs(benchmark::State& state)
{
    const CString root(ToPlatform(Tree()).c_str());
    for (auto _ : state) {
        CWindowsFileSystem files;
        files.SetRoot(root, true);
        benchmark::DoNotOptimize(files);
    }
}

std::size_t walked = 0;

void ScanPlain(benchmark::State& state)
{
    const std::string root = Tree();
    walked = 0;
    for (auto _ : state) {
        const auto count = [](const char*, const struct stat*, int, struct FTW*) {
            ++walked;
            return 0;
        };
        nftw(root.c_str(), count, 16, FTW_PHYS);
    }
    if (walked != ENTRIES + 1) {
        state.SkipWithError("the tree was not walked whole");
    }
}

void CheckFound(benchmark::State& state, std::size_t found)
{
    if (found != LOOKUPS / 2) {
        state.SkipWithError("wrong answers");
    }
}

void AskOurs(benchmark::State& state)
{
    CWindowsFileSystem files(CString(ToPlatform(Tree()).c_str()), true);
    std::vector<CString> names;
    for (const std::string& name : AskedFor()) {
        names.emplace_back(name.c_str());
    }
    for (auto _ : state) {
        std::size_t found = 0;
        CFileInfo info;
        for (const CString& name : names) {
            files.GetFileInfo(info, name, 0);
            found += info.Exists() ? 1U : 0U;
        }
        CheckFound(state, found);
    }
}

void AskPlain(benchmark::State& state)
{
    std::vector<std::string> names;
    const std::filesystem::path root = Tree();
    for (const std::string& name : AskedFor()) {
        names.push_back(root / name);
    }
    for (auto _ : state) {
        std::size_t found = 0;
        struct stat status {};
        for (const std::string& name : names) {
            found += stat(name.c_str(), &status) == 0 ? 1U : 0U;
        }
        CheckFound(state, found);
    }
}

// Once a process: a second time the names would be in the string pool already.
BENCHMARK(ScanOurs)->Name("index of 20,000 files/ours")->Iterations(1);
BENCHMARK(ScanPlain)->Name("index of 20,000 files/nftw")->Iterations(1);
BENCHMARK(AskOurs)->Name("200,000 file infos/ours");
BENCHMARK(AskPlain)->Name("200,000 file infos/stat");

} // namespace
