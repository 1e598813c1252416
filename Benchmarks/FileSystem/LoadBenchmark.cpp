// Files loaded whole into fresh memory.
#include "Plinth/FileSystem/CFileStream.h"
#include "Plinth/FileSystem/CWindowsFileSystem.h"
#include "Tests/Support/Target.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

using namespace Plinth;

constexpr std::size_t LARGE = std::size_t{64} << 20;
constexpr std::size_t SMALL = 200;
constexpr std::uint32_t MODE = MODE_OPEN_EXISTING | MODE_READ | MODE_SHARE_READ | MODE_MISSING_OK;

template <std::size_t SIZE>
class BenchmarkFile {
public:
    BenchmarkFile() { std::ofstream(path_, std::ios::binary) << std::string(SIZE, 'x'); }
    ~BenchmarkFile() { std::filesystem::remove(path_); }
    BenchmarkFile(const BenchmarkFile&) = delete;
    BenchmarkFile& operator=(const BenchmarkFile&) = delete;

    [[nodiscard]] const std::filesystem::path& Native() const { return path_; }
    [[nodiscard]] CString Platform() const { return {ToPlatform(path_).c_str()}; }

private:
    std::filesystem::path path_ = std::filesystem::current_path() / "FileSystemBenchmark.data";
};

template <std::size_t SIZE>
void LoadFile(benchmark::State& state)
{
    const BenchmarkFile<SIZE> file;
    const CString path = file.Platform();
    CWindowsFileSystem files;
    for (auto _ : state) {
        CMemoryStream stream;
        if (!files.LoadFile(stream, path, MODE) || stream.GetSize() != SIZE) {
            state.SkipWithError("the file was not loaded whole");
        }
    }
}

template <std::size_t SIZE>
void CopyStream(benchmark::State& state)
{
    const BenchmarkFile<SIZE> file;
    const CString path = file.Platform();
    CWindowsFileSystem files;
    for (auto _ : state) {
        CFileStream source(&files);
        CMemoryStream stream;
        if (!source.Open(path, MODE) || stream.CopyFrom(source, 0, true) != SIZE) {
            state.SkipWithError("the file was not loaded whole");
        }
    }
}

template <std::size_t SIZE>
void ReadPlain(benchmark::State& state)
{
    const BenchmarkFile<SIZE> file;
    for (auto _ : state) {
        const int descriptor = open(file.Native().c_str(), O_RDONLY | O_CLOEXEC);
        void* const block = std::malloc(SIZE);
        if (read(descriptor, block, SIZE) != static_cast<ssize_t>(SIZE)) {
            state.SkipWithError("the file was not read whole");
        }
        std::free(block);
        close(descriptor);
    }
}

BENCHMARK(LoadFile<LARGE>)->Name("load 64 MiB, LoadFile/ours");
BENCHMARK(ReadPlain<LARGE>)->Name("load 64 MiB, LoadFile/read");
BENCHMARK(CopyStream<LARGE>)->Name("load 64 MiB, CFileStream/ours");
BENCHMARK(ReadPlain<LARGE>)->Name("load 64 MiB, CFileStream/read");
BENCHMARK(LoadFile<SMALL>)->Name("load 200 bytes, LoadFile/ours");
BENCHMARK(ReadPlain<SMALL>)->Name("load 200 bytes, LoadFile/read");
BENCHMARK(CopyStream<SMALL>)->Name("load 200 bytes, CFileStream/ours");
BENCHMARK(ReadPlain<SMALL>)->Name("load 200 bytes, CFileStream/read");

} // namespace
