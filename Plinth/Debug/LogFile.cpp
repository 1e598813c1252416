#include "Plinth/Debug/LogFile.h"

#include "Plinth/Debug/OutputFile.h"
#include "Plinth/Debug/TraceState.h"

namespace Plinth {

namespace {

HANDLE OpenToAppend(const CString& path)
{
    auto* const file = OpenOutputFile(path, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL);
    if (file != nullptr) {
        SetFilePointer(file, 0, nullptr, FILE_END);
    }
    return file;
}

} // namespace

bool OpenLogFile(const CString& path, std::uint32_t flags)
{
    CloseLogFile();
    traceState.logFile = CreateLogFile(path, flags);
    traceState.blankLineWritten = 0;
    return traceState.logFile != nullptr;
}

HANDLE CreateLogFile(const CString& path, std::uint32_t flags)
{
    if (path.IsEmpty()) {
        return nullptr;
    }
    const DWORD error = GetLastError();
    auto* const file = (flags & DiagFlagAppendLog) != 0
                           ? OpenToAppend(path)
                           : OpenOutputFile(path, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
    SetLastError(error);
    return file;
}

} // namespace Plinth
