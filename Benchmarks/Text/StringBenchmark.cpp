// CString against the standard string and the C library.
#include "Benchmarks/Text/Workload.h"
#include "Plinth/Text/CString.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using Plinth::CString;

struct EqualOp {
    bool operator()(const CString& a, const CString& b) const { return a == b; }
    bool operator()(const std::string& a, const std::string& b) const { return a == b; }
};

struct FindOp {
    std::uint32_t operator()(const CString& text, const CString& needle) const
    {
        return text.Find(needle, 0);
    }
    const void* operator()(const std::string& text, const std::string& needle) const
    {
        return memmem(text.data(), text.size(), needle.data(), needle.size());
    }
};

struct CompareNoCaseOp {
    int operator()(const CString& a, const CString& b) const { return CompareNoCase(a, b); }
    int operator()(const std::string& a, const std::string& b) const
    {
        return strcasecmp(a.c_str(), b.c_str());
    }
};

template <typename String>
std::vector<String> StringsOf(const std::vector<std::string>& texts)
{
    std::vector<String> strings;
    strings.reserve(texts.size());
    for (const std::string& text : texts) {
        strings.emplace_back(text.c_str());
    }
    return strings;
}

template <typename String, typename Operation, TextPairs (*PAIRS)()>
void OnPairs(benchmark::State& state)
{
    const TextPairs pairs = PAIRS();
    const auto first = StringsOf<String>(pairs.first);
    const auto second = StringsOf<String>(pairs.second);
    for (auto _ : state) {
        const String* other = second.data();
        for (const String& string : first) {
            benchmark::DoNotOptimize(Operation()(string, *other++));
        }
    }
}

constexpr char ENGLISH[] = "the lighthouse keeper";
constexpr char FREQUENT_LETTERS[] = "test in a tent";
constexpr char ABSENT[] = "there were stars";

template <typename String, const char* PASSAGE, const char* NEEDLE>
void FindInEnglish(benchmark::State& state)
{
    const String text(EnglishText(PASSAGE).c_str());
    const String needle(NEEDLE);
    for (auto _ : state) {
        benchmark::DoNotOptimize(FindOp()(text, needle));
    }
}

BENCHMARK(OnPairs<CString, EqualOp, EqualNames>)->Name("equal, same texts/ours");
BENCHMARK(OnPairs<std::string, EqualOp, EqualNames>)->Name("equal, same texts/standard");
BENCHMARK(OnPairs<CString, EqualOp, DifferentNames>)->Name("equal, different texts/ours");
BENCHMARK(OnPairs<std::string, EqualOp, DifferentNames>)->Name("equal, different texts/standard");
BENCHMARK(OnPairs<CString, FindOp, NamesAndParts>)->Name("find, short text/ours");
BENCHMARK(OnPairs<std::string, FindOp, NamesAndParts>)->Name("find, short text/memmem");
BENCHMARK(OnPairs<CString, CompareNoCaseOp, NamesInBothCases>)->Name("compare no case, same/ours");
BENCHMARK(OnPairs<std::string, CompareNoCaseOp, NamesInBothCases>)->Name("compare no case, same/strcasecmp");
BENCHMARK(OnPairs<CString, CompareNoCaseOp, DifferentNames>)->Name("compare no case, different/ours");
BENCHMARK(OnPairs<std::string, CompareNoCaseOp, DifferentNames>)
    ->Name("compare no case, different/strcasecmp");
BENCHMARK(FindInEnglish<CString, ENGLISH, ENGLISH>)->Name("find, 64 KiB, near the end/ours");
BENCHMARK(FindInEnglish<std::string, ENGLISH, ENGLISH>)->Name("find, 64 KiB, near the end/memmem");
BENCHMARK(FindInEnglish<CString, FREQUENT_LETTERS, FREQUENT_LETTERS>)
    ->Name("find, 64 KiB, frequent letters/ours");
BENCHMARK(FindInEnglish<std::string, FREQUENT_LETTERS, FREQUENT_LETTERS>)
    ->Name("find, 64 KiB, frequent letters/memmem");
BENCHMARK(FindInEnglish<CString, ENGLISH, ABSENT>)->Name("find, 64 KiB, absent/ours");
BENCHMARK(FindInEnglish<std::string, ENGLISH, ABSENT>)->Name("find, 64 KiB, absent/memmem");

} // namespace
