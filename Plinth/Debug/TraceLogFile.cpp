#include "Plinth/Debug/TraceLogFile.h"

#include "Plinth/Debug/TraceState.h"

#include <utility>

namespace Plinth {

void CloseLogFile()
{
    if (auto* const file = std::exchange(traceState.logFile, nullptr); file != nullptr) {
        CloseLogHandle(file);
    }
}

void CloseLogHandle(HANDLE file)
{
    const DWORD error = GetLastError();
    CloseHandle(file);
    SetLastError(error);
}

void WriteLogFile(HANDLE file, const void* bytes, std::uint32_t length)
{
    if (bytes == nullptr) {
        return;
    }
    const DWORD error = GetLastError();
    DWORD written = 0;
    WriteFile(file, bytes, length, &written, nullptr);
    SetLastError(error);
}

} // namespace Plinth
