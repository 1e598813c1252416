// Checksums of random bytes: a small block and a page that lie in the cache, and a block that fits into none.
// The peers' checksums are the same ones, but for the high bits first's: only ISA-L has that.
#include "Plinth/Debug/Checksums.h"
#include "Plinth/Debug/CrcTables.h"

#include <benchmark/benchmark.h>
#include <isa-l/crc.h>
#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace Plinth;

using Checksum = std::uint32_t (*)(const unsigned char* bytes, std::uint32_t count);

std::uint32_t Ours(const unsigned char* bytes, std::uint32_t count)
{
    return Crc32(bytes, count, 0);
}

std::uint32_t OurTables(const unsigned char* bytes, std::uint32_t count)
{
    return ~AdvanceByTables<BitOrder::LOW_FIRST>(~0u, bytes, count);
}

std::uint32_t Zlib(const unsigned char* bytes, std::uint32_t count)
{
    return static_cast<std::uint32_t>(crc32_z(0, bytes, count));
}

std::uint32_t Libdeflate(const unsigned char* bytes, std::uint32_t count)
{
    return libdeflate_crc32(0, bytes, count);
}

std::uint32_t OurAccumulator(const unsigned char* bytes, std::uint32_t count)
{
    return CrcAccumulator().Update(bytes, count);
}

// Inverts before and after.
std::uint32_t Isal(const unsigned char* bytes, std::uint32_t count)
{
    return ~crc32_ieee(0, bytes, count);
}

// High bits first, byte by byte.
std::uint32_t Plain(const unsigned char* bytes, std::uint32_t count)
{
    static const auto table = [] {
        std::array<std::uint32_t, 256> words{};
        for (std::uint32_t byte = 0; byte < 256; ++byte) {
            words[byte] = byte << 24;
            for (int bit = 0; bit < 8; ++bit) {
                words[byte] = words[byte] << 1 ^ (words[byte] >> 31 != 0 ? CRC_POLYNOMIAL : 0);
            }
        }
        return words;
    }();
    std::uint32_t state = 0xFFFFFFFF;
    for (; count != 0; ++bytes, --count) {
        state = state << 8 ^ table[state >> 24 ^ *bytes];
    }
    return state;
}

// Of text of two bytes a unit, `count` bytes in all.
std::uint32_t OurWide(const unsigned char* bytes, std::uint32_t count)
{
    return Crc32Wide(bytes, count / 2, 0);
}

// What a caller without it would write, in pieces that stay in the cache.
std::uint32_t GatheredForZlib(const unsigned char* bytes, std::uint32_t count)
{
    std::array<unsigned char, 1024> gathered;
    std::uint32_t crc = 0;
    for (count /= 2; count != 0;) {
        const std::uint32_t length = std::min(count, 1024u);
        for (std::uint32_t i = 0; i < length; ++i) {
            gathered[i] = bytes[i * 2 + 1];
        }
        crc = static_cast<std::uint32_t>(crc32_z(crc, gathered.data(), length));
        bytes += std::size_t{length} * 2;
        count -= length;
    }
    return crc;
}

void Measure(benchmark::State& state, Checksum checksum, Checksum same, std::uint32_t count)
{
    std::vector<unsigned char> bytes(count);
    std::mt19937 random(1);
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(random());
    }
    if (checksum(bytes.data(), count) != same(bytes.data(), count)) {
        state.SkipWithError("the checksums differ");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(checksum(bytes.data(), count));
    }
}

const bool registered = [] {
    struct Row {
        const char* name;
        const char* library;
        Checksum checksum;
        Checksum same;
    };
    const Row rows[] = {
        {"crc", "ours", Ours, Zlib},
        {"crc", "zlib", Zlib, Zlib},
        {"crc", "libdeflate", Libdeflate, Zlib},
        {"crc by tables", "ours", OurTables, Zlib},
        {"crc by tables", "zlib", Zlib, Zlib},
        {"accumulator", "ours", OurAccumulator, Plain},
        {"accumulator", "isal", Isal, Plain},
        {"accumulator", "plain", Plain, Plain},
        {"accumulator", "zlib", Zlib, Zlib},
        {"crc wide", "ours", OurWide, GatheredForZlib},
        {"crc wide", "zlib", GatheredForZlib, GatheredForZlib},
    };
    struct Size {
        const char* name;
        std::uint32_t count;
    };
    for (const Size& size : {Size{"64 B", 64}, Size{"4 KiB", 4 << 10}, Size{"64 MiB", 64 << 20}}) {
        for (const Row& row : rows) {
            const std::string name = std::string(row.name) + ", " + size.name + "/" + row.library;
            benchmark::RegisterBenchmark(name.c_str(), Measure, row.checksum, row.same, size.count);
        }
    }
    return true;
}();

} // namespace
