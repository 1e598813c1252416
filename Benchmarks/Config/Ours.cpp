#include "Benchmarks/Config/Parsing.h"
#include "Plinth/Config/CIniFile.h"
#include "Plinth/Streams/CMemoryStream.h"

namespace {

class Ours {
public:
    struct Source : Plinth::CMemoryStream {
        explicit Source(const std::string& text)
        {
            SetCapacity(static_cast<std::uint32_t>(text.size()));
            Write(text.data(), static_cast<std::uint32_t>(text.size()));
        }
    };

    explicit Ours(Source& source)
    {
        source.SetPosition(0);
        document.Parse(source);
    }

    Plinth::CIniFile document;
};

void WriteText(benchmark::State& state)
{
    Ours::Source source(LargeDocument(SECTIONS_OF_1_MIB));
    const Ours ours(source);
    for (auto _ : state) {
        Plinth::CMemoryStream text;
        ours.document.WriteText(text);
        benchmark::DoNotOptimize(text.GetData());
    }
}

void LookUp(benchmark::State& state)
{
    Ours::Source source(LargeDocument(SECTIONS_OF_1_MIB));
    const Ours ours(source);
    const std::vector<Lookup> lookups = Lookups(100'000);
    const Plinth::CString missing;
    for (auto _ : state) {
        for (const auto& [section, key] : lookups) {
            const Plinth::CString value = ours.document.GetString(section.c_str(), key.c_str(), missing);
            benchmark::DoNotOptimize(value.CStr());
        }
    }
}

const bool registered = RegisterParsing<Ours>("ours");
BENCHMARK(WriteText)->Name("write 1 MiB/ours");
BENCHMARK(LookUp)->Name("look up/ours");

} // namespace
