// Any bytes as a registry file: what is accepted and written again is the same registry, and its text the
// same text.
#include "Fuzz/Require.h"
#include "Platform/Host/RegistryText.h"

#include <cstdint>

using namespace Platform::Host;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    RegistryKey registry;
    RegistryTextFault fault;
    if (!ReadRegistryText({reinterpret_cast<const char*>(data), size}, registry, fault)) {
        Require(fault.line != 0 && *fault.reason != 0 && registry == RegistryKey());
        return 0;
    }
    const std::string text = WriteRegistryText(registry);
    RegistryKey again;
    Require(ReadRegistryText(text, again, fault));
    Require(again == registry);
    Require(WriteRegistryText(again) == text);
    return 0;
}
