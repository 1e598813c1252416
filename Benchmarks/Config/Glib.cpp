#include "Benchmarks/Config/Parsing.h"

#include <glib.h>

namespace {

class Glib {
public:
    using Source = std::string;

    explicit Glib(const Source& source)
    {
        if (g_key_file_load_from_data(file, source.data(), source.size(), G_KEY_FILE_NONE, nullptr) == 0) {
            std::abort();
        }
    }
    ~Glib() { g_key_file_free(file); }
    Glib(const Glib&) = delete;
    Glib& operator=(const Glib&) = delete;

    GKeyFile* const file = g_key_file_new();
};

void WriteText(benchmark::State& state)
{
    const Glib glib(LargeDocument(SECTIONS_OF_1_MIB));
    for (auto _ : state) {
        char* const text = g_key_file_to_data(glib.file, nullptr, nullptr);
        benchmark::DoNotOptimize(text);
        g_free(text);
    }
}

using Getter = char* (*)(GKeyFile*, const char*, const char*, GError**);

void LookUp(benchmark::State& state, Getter get)
{
    const Glib glib(LargeDocument(SECTIONS_OF_1_MIB));
    const std::vector<Lookup> lookups = Lookups(100'000);
    for (auto _ : state) {
        for (const auto& [section, key] : lookups) {
            char* const value = get(glib.file, section.c_str(), key.c_str(), nullptr);
            benchmark::DoNotOptimize(value);
            g_free(value);
        }
    }
}

const bool registered = RegisterParsing<Glib>("glib");
BENCHMARK(WriteText)->Name("write 1 MiB/glib");
BENCHMARK_CAPTURE(LookUp, string, g_key_file_get_string)->Name("look up/glib string");
BENCHMARK_CAPTURE(LookUp, value, g_key_file_get_value)->Name("look up/glib value");

} // namespace
