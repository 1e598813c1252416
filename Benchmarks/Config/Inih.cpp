#include "Benchmarks/Config/Parsing.h"

#include <INIReader.h>

namespace {

class Inih {
public:
    using Source = std::string;

    explicit Inih(const Source& source) : reader_(source.data(), source.size())
    {
        if (reader_.ParseError() != 0) {
            std::abort();
        }
    }

private:
    INIReader reader_;
};

const bool registered = RegisterParsing<Inih>("inih");

} // namespace
