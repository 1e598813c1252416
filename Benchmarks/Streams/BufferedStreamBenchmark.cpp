// A file of 16 MiB read and written in small pieces, with a buffer of 1 MiB on both sides.
#include "Plinth/Streams/CBufferedStream.h"
#include "Plinth/Streams/CWindowsFileStream.h"
#include "Tests/Support/Target.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace Plinth;

constexpr std::size_t FILE_SIZE = std::size_t{16} << 20;
constexpr std::uint32_t BUFFER_SIZE = 1 << 20;
constexpr std::size_t PIECE = 64;

class BenchmarkFile {
public:
    BenchmarkFile() { std::ofstream(path_, std::ios::binary) << std::string(FILE_SIZE, 'x'); }
    ~BenchmarkFile() { std::filesystem::remove(path_); }
    BenchmarkFile(const BenchmarkFile&) = delete;
    BenchmarkFile& operator=(const BenchmarkFile&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_ = std::filesystem::current_path() / "StreamsBenchmark.data";
};

// Opens the file for one direction; the standard library's way.
class StandardFile {
public:
    StandardFile(const BenchmarkFile& file, const char* mode)
        : buffer_(BUFFER_SIZE), file_(std::fopen(file.Path().c_str(), mode))
    {
        std::setvbuf(file_, buffer_.data(), _IOFBF, buffer_.size());
    }
    ~StandardFile() { std::fclose(file_); }
    StandardFile(const StandardFile&) = delete;
    StandardFile& operator=(const StandardFile&) = delete;

    [[nodiscard]] std::FILE* Get() const { return file_; }

private:
    std::vector<char> buffer_;
    std::FILE* file_;
};

// Likewise, ours. The stream is known by its interface alone, as to those who get it from a file system.
class OurFile {
public:
    OurFile(const BenchmarkFile& file, std::uint32_t mode)
    {
        const CString path(ToPlatform(file.Path()).c_str());
        inner_.Open(path.CStr(), mode);
        stream_.reset(CreateBufferedStream(&inner_, (mode & MODE_READ) != 0, false, BUFFER_SIZE, false));
    }

    [[nodiscard]] IStream& Get() const { return *stream_; }

private:
    CWindowsFileStream inner_;
    std::unique_ptr<IStream> stream_;
};

void CheckSum(benchmark::State& state, std::size_t sum)
{
    if (sum != FILE_SIZE * 'x') {
        state.SkipWithError("the file was not read whole");
    }
}

void ReadBytesOurs(benchmark::State& state)
{
    const BenchmarkFile file;
    for (auto _ : state) {
        const OurFile ours(file, MODE_OPEN_EXISTING | MODE_READ | MODE_SHARE_READ);
        IStream& stream = ours.Get();
        std::size_t sum = 0;
        unsigned char byte = 0;
        while (stream.Read(&byte, 1, READ_ALLOW_PARTIAL) != 0) {
            sum += byte;
        }
        CheckSum(state, sum);
    }
}

void ReadBytesStandard(benchmark::State& state)
{
    const BenchmarkFile file;
    for (auto _ : state) {
        const StandardFile standard(file, "rb");
        std::size_t sum = 0;
        for (int byte = 0; (byte = getc_unlocked(standard.Get())) != EOF;) {
            sum += static_cast<unsigned char>(byte);
        }
        CheckSum(state, sum);
    }
}

void ReadPiecesOurs(benchmark::State& state)
{
    const BenchmarkFile file;
    std::array<unsigned char, PIECE> piece{};
    for (auto _ : state) {
        const OurFile ours(file, MODE_OPEN_EXISTING | MODE_READ | MODE_SHARE_READ);
        IStream& stream = ours.Get();
        std::size_t sum = 0;
        while (stream.Read(piece.data(), PIECE, READ_ALLOW_PARTIAL) == PIECE) {
            sum += piece.front() * PIECE;
        }
        CheckSum(state, sum);
    }
}

void ReadPiecesStandard(benchmark::State& state)
{
    const BenchmarkFile file;
    std::array<unsigned char, PIECE> piece{};
    for (auto _ : state) {
        const StandardFile standard(file, "rb");
        std::size_t sum = 0;
        while (fread_unlocked(piece.data(), 1, PIECE, standard.Get()) == PIECE) {
            sum += piece.front() * PIECE;
        }
        CheckSum(state, sum);
    }
}

void CheckSize(benchmark::State& state, const BenchmarkFile& file)
{
    if (std::filesystem::file_size(file.Path()) != FILE_SIZE) {
        state.SkipWithError("the file was not written whole");
    }
}

template <std::uint32_t COUNT>
void WriteOurs(benchmark::State& state)
{
    const BenchmarkFile file;
    const std::vector<char> piece(COUNT, 'x');
    for (auto _ : state) {
        const OurFile ours(file, MODE_CREATE_ALWAYS | MODE_WRITE);
        IStream& stream = ours.Get();
        for (std::size_t written = 0; written < FILE_SIZE; written += COUNT) {
            stream.Write(piece.data(), COUNT);
        }
    }
    CheckSize(state, file);
}

void WriteBytesStandard(benchmark::State& state)
{
    const BenchmarkFile file;
    for (auto _ : state) {
        const StandardFile standard(file, "wb");
        for (std::size_t written = 0; written < FILE_SIZE; ++written) {
            putc_unlocked('x', standard.Get());
        }
    }
    CheckSize(state, file);
}

void WritePiecesStandard(benchmark::State& state)
{
    const BenchmarkFile file;
    const std::vector<char> piece(PIECE, 'x');
    for (auto _ : state) {
        const StandardFile standard(file, "wb");
        for (std::size_t written = 0; written < FILE_SIZE; written += PIECE) {
            fwrite_unlocked(piece.data(), 1, PIECE, standard.Get());
        }
    }
    CheckSize(state, file);
}

BENCHMARK(ReadBytesOurs)->Name("read by bytes/ours");
BENCHMARK(ReadBytesStandard)->Name("read by bytes/getc");
BENCHMARK(ReadPiecesOurs)->Name("read by 64 bytes/ours");
BENCHMARK(ReadPiecesStandard)->Name("read by 64 bytes/fread");
BENCHMARK(WriteOurs<1>)->Name("write by bytes/ours");
BENCHMARK(WriteBytesStandard)->Name("write by bytes/putc");
BENCHMARK(WriteOurs<PIECE>)->Name("write by 64 bytes/ours");
BENCHMARK(WritePiecesStandard)->Name("write by 64 bytes/fwrite");

} // namespace
