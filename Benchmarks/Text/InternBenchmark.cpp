// A million paths of 40 bytes, a tenth of them different, into an empty pool; and a million that it holds.
#include "Benchmarks/Text/Workload.h"
#include "Plinth/Text/CStringPool.h"

#include <absl/container/flat_hash_set.h>
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace {

class Ours {
public:
    const char* Intern(const char* text) { return pool_.Intern(text)->text; }

private:
    Plinth::CStringPool pool_;
};

// Views of copies that lie packed in blocks.
class Abseil {
public:
    const char* Intern(const char* text)
    {
        const std::string_view view(text);
        return set_.lazy_emplace(view, [&](const auto& construct) { construct(Store(view)); })->data();
    }

private:
    static constexpr std::size_t BLOCK_SIZE = 65536;

    std::string_view Store(std::string_view text)
    {
        if (room_ < text.size() + 1) {
            next_ = blocks_.emplace_back(new char[BLOCK_SIZE]).get();
            room_ = BLOCK_SIZE;
        }
        std::memcpy(next_, text.data(), text.size() + 1);
        const std::string_view copy(next_, text.size());
        next_ += text.size() + 1;
        room_ -= text.size() + 1;
        return copy;
    }

    std::vector<std::unique_ptr<char[]>> blocks_;
    char* next_ = nullptr;
    std::size_t room_ = 0;
    absl::flat_hash_set<std::string_view> set_;
};

class Standard {
public:
    const char* Intern(const char* text) { return set_.insert(text).first->c_str(); }

private:
    std::unordered_set<std::string> set_;
};

struct Texts {
    PathTexts different{100'000};
    PathTexts all{different, 1'000'000};
};

template <typename Pool>
void InternAll(Pool& pool, const PathTexts& texts)
{
    for (std::size_t i = 0; i < texts.Count(); ++i) {
        benchmark::DoNotOptimize(pool.Intern(texts.At(i)));
    }
}

template <typename Pool>
void InternNew(benchmark::State& state)
{
    const Texts texts;
    for (auto _ : state) {
        Pool pool;
        InternAll(pool, texts.all);
    }
}

template <typename Pool>
void InternKnown(benchmark::State& state)
{
    const Texts texts;
    Pool pool;
    InternAll(pool, texts.different);
    for (auto _ : state) {
        InternAll(pool, texts.all);
    }
}

BENCHMARK(InternNew<Ours>)->Name("intern new/ours");
BENCHMARK(InternNew<Abseil>)->Name("intern new/abseil");
BENCHMARK(InternNew<Standard>)->Name("intern new/standard");
BENCHMARK(InternKnown<Ours>)->Name("intern known/ours");
BENCHMARK(InternKnown<Abseil>)->Name("intern known/abseil");
BENCHMARK(InternKnown<Standard>)->Name("intern known/standard");

} // namespace
