// Any command line: the arguments it is cut into make a line that is cut into the same ones, and the line
// itself survives the way through the host's environment.
#include "Fuzz/Require.h"
#include "Platform/Host/CommandLine.h"
#include "Platform/Host/Utf.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::u16string line;
    for (std::size_t i = 0; i + 1 < size; i += 2) {
        line += static_cast<char16_t>(data[i] | data[i + 1] << 8);
    }
    const std::vector<std::u16string> arguments = Platform::Host::SplitCommandLine(line);
    Require(arguments[0].find(u'"') != std::u16string::npos ||
            Platform::Host::SplitCommandLine(Platform::Host::JoinArguments(arguments)) == arguments);
    Require(Platform::Host::FromHost(Platform::Host::ToHost(line)) == line);
    return 0;
}
