#include "Plinth/Debug/Diagnostics.h"

#include "Plinth/Config/RegistryValues.h"
#include "Plinth/Debug/CrashHandler.h"
#include "Plinth/Debug/ModulePath.h"
#include "Plinth/Text/ZeroTerminatedText.h"

namespace Plinth {

namespace {

constexpr std::uint32_t USUAL_PATH_SIZE = 1024;
constexpr char EXTENSION[] = ".log";

constinit std::uint8_t errorReportsSuppressed = 0;

// All of it or, for lack of memory, nothing: what is left without the extension may be the program itself.
CString DefaultLogPath()
{
    const CModulePath module;
    const CString program(module.text);
    const char* extension = nullptr;
    SplitPath(program.CStr(), nullptr, &extension);
    const auto length = static_cast<std::uint32_t>(extension - program.CStr());
    CString path;
    const bool isConverted = program.IsEmpty() == (module.text[0] == 0);
    if (isConverted && path.GetBuffer(length + sizeof(EXTENSION)) != nullptr) {
        path.Assign(program, length);
        path.Append(EXTENSION);
    }
    return path;
}

} // namespace

bool InitDiagnostics(const char* path, std::uint32_t flags)
{
    errorReportsSuppressed = flags & DiagFlagSuppressErrorReports;
    CString logPath(USUAL_PATH_SIZE);
    logPath = path;
    if (IsNullOrEmpty(path)) {
        DefaultLogPath().Swap(logPath);
    }
    const bool opened = OpenLogFile(logPath, flags);
    InstallCrashHandler();
    return opened;
}

bool InitDiagnostics(const CString& path, std::uint32_t flags)
{
    return InitDiagnostics(path.CStr(), flags);
}

bool AreErrorReportsSuppressed()
{
    return errorReportsSuppressed != 0;
}

std::uint32_t ReadSuppressErrorReports(const char* base, std::uint32_t flags)
{
    std::uint32_t value = flags & DiagFlagSuppressErrorReports;
    GetRegDwordFallback(RegistryRoot::LocalMachine, base, "Development", "SuppressErrorReportsEx", value);
    return value != 0 ? flags | DiagFlagSuppressErrorReports : flags & ~DiagFlagSuppressErrorReports;
}

} // namespace Plinth
