// Hashes of paths of 40 bytes that lie in the cache: ours, their definition byte by byte, and a fast hash of
// another kind.
#include "Benchmarks/Text/Workload.h"
#include "Plinth/Text/ZeroTerminatedText.h"

#include <benchmark/benchmark.h>
#include <xxhash.h>

#include <bit>
#include <cstdint>
#include <cstring>

namespace {

template <Plinth::CharacterFold FOLD>
std::uint32_t PlainHash(const char* text)
{
    if (text == nullptr || *text == 0) {
        return 0;
    }
    std::uint32_t sum = 0;
    for (; *text != 0; ++text) {
        sum = (sum << 4) + static_cast<std::uint32_t>(static_cast<signed char>(FOLD(*text)));
        const std::uint32_t top = sum & 0xF0000000;
        sum ^= top >> 24 ^ top;
    }
    return sum != 0 ? std::rotl(sum, 16) * 1812433253u : 1;
}

template <std::uint32_t (*HASH)(const char*, std::uint32_t)>
std::uint32_t OurHash(const char* text)
{
    return HASH(text, Plinth::NO_LIMIT);
}

std::uint64_t XxHash(const char* text)
{
    return XXH3_64bits(text, std::strlen(text));
}

template <auto HASH>
void Hash(benchmark::State& state)
{
    const PathTexts texts(128);
    for (auto _ : state) {
        for (std::size_t i = 0; i < texts.Count(); ++i) {
            benchmark::DoNotOptimize(HASH(texts.At(i)));
        }
    }
}

BENCHMARK(Hash<OurHash<Plinth::HashText>>)->Name("hash/ours");
BENCHMARK(Hash<OurHash<Plinth::HashTextNoCase>>)->Name("hash no case/ours");
BENCHMARK(Hash<OurHash<Plinth::HashTextPath>>)->Name("hash path/ours");
BENCHMARK(Hash<PlainHash<Plinth::FoldNone>>)->Name("hash/plain");
BENCHMARK(Hash<PlainHash<Plinth::FoldLower>>)->Name("hash no case/plain");
BENCHMARK(Hash<PlainHash<Plinth::FoldPath>>)->Name("hash path/plain");
BENCHMARK(Hash<XxHash>)->Name("hash/xxhash");

} // namespace
