#include "Plinth/Debug/StaticDiagnostics.h"

#include "Plinth/Debug/CrashState.h"
#include "Plinth/Debug/Trace.h"
#include "Plinth/Text/ZeroTerminatedText.h"

#include <cstring>

namespace Plinth {

constinit CrashState crashState{};

namespace {

std::int32_t Following(std::int32_t position)
{
    return position + 1 < STATIC_DIAGNOSTICS_SIZE ? position + 1 : 0;
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
        crashState.diagnostics[crashState.position] = *byte;
        crashState.position = Following(crashState.position);
    }
}

void ClearStaticDiagnostics()
{
    std::memset(crashState.diagnostics, 0, sizeof(crashState.diagnostics));
}

void TraceStaticDiagnostics()
{
    std::int32_t position = crashState.position;
    do {
        TraceByte(crashState.diagnostics[position]);
        position = Following(position);
    } while (position != crashState.position);
}

} // namespace Plinth
