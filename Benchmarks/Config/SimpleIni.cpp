// Without the conversion between encodings, which texts of 8 bits do not need.
#define SI_NO_CONVERSION
#include "Benchmarks/Config/Parsing.h"

#include <SimpleIni.h>

namespace {

class SimpleIni {
public:
    using Source = std::string;

    explicit SimpleIni(const Source& source)
    {
        if (document_.LoadData(source.data(), source.size()) != SI_OK) {
            std::abort();
        }
    }

private:
    CSimpleIniCaseA document_;
};

const bool registered = RegisterParsing<SimpleIni>("simpleini");

} // namespace
