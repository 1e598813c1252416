#include "Plinth/Debug/StaticDiagnostics.h"

#include "Plinth/Debug/CrashState.h"
#include "Plinth/Debug/Trace.h"
#include "Plinth/Text/ZeroTerminatedText.h"

#include <cstring>

namespace Plinth {

constinit CrashState crashState{};

namespace {

// Within the memory, even where something wrote over it.
std::uint32_t Position()
{
    return static_cast<std::uint32_t>(crashState.position) % STATIC_DIAGNOSTICS_SIZE;
}

void TraceByte(char byte)
{
    const bool isText = (byte >= ' ' && byte <= '~') || byte == '\n';
    const char text[] = {isText ? byte : '.', 0};
    if (byte != 0) {
        TraceLevel(1, text);
    }
}

} // namespace

void WriteStaticDiagnostics(const char* text)
{
    for (const char* byte = text != nullptr ? text : ""; *byte != 0; ++byte) {
        const std::uint32_t position = Position();
        crashState.diagnostics[position] = *byte;
        crashState.position = static_cast<std::int32_t>((position + 1) % STATIC_DIAGNOSTICS_SIZE);
    }
}

void ClearStaticDiagnostics()
{
    std::memset(crashState.diagnostics, 0, sizeof(crashState.diagnostics));
}

void TraceStaticDiagnostics()
{
    const std::uint32_t start = Position(); // others may write meanwhile
    for (std::uint32_t age = 0; age < STATIC_DIAGNOSTICS_SIZE; ++age) {
        TraceByte(crashState.diagnostics[(start + age) % STATIC_DIAGNOSTICS_SIZE]);
    }
}

} // namespace Plinth
