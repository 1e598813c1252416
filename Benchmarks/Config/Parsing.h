// What is measured of every library: parsing, and the memory that it takes.
//
// A library is a class whose Source holds a text in the form that the library reads, and whose constructor
// parses one.
#pragma once

#include "Benchmarks/Config/Workload.h"

#include <benchmark/benchmark.h>

#include <string>

template <typename Library>
void MeasureTime(benchmark::State& state, const std::string& text)
{
    typename Library::Source source(text);
    for (auto _ : state) {
        Library document(source);
        benchmark::DoNotOptimize(&document);
    }
}

template <typename Library>
void MeasureMemory(benchmark::State& state, std::size_t sections)
{
    typename Library::Source source(LargeDocument(sections));
    for (auto _ : state) {
        const MemoryPeak peak;
        const Library document(source);
        state.counters["bytes"] = peak.Bytes();
    }
}

// Always true, to be called before main.
template <typename Library>
bool RegisterParsing(const std::string& library)
{
    using benchmark::RegisterBenchmark;
    using benchmark::State;
    const auto named = [&library](const std::string& what) { return what + '/' + library; };
    RegisterBenchmark(named("parse 200 bytes").c_str(),
                      [](State& state) { MeasureTime<Library>(state, SmallDocument()); });
    for (const auto& [size, sections] : LARGE_DOCUMENTS) {
        RegisterBenchmark(named(std::string("parse ") + size).c_str(), [count = sections](State& state) {
            MeasureTime<Library>(state, LargeDocument(count));
        });
        RegisterBenchmark(named(std::string("memory of ") + size).c_str(), [count = sections](State& state) {
            MeasureMemory<Library>(state, count);
        })->Iterations(1);
    }
    return true;
}
