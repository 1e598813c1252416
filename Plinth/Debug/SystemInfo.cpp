#include "Plinth/Debug/SystemInfo.h"

#include "Plinth/Debug/Allocation.h"
#include "Plinth/Debug/BindFunction.h"
#include "Plinth/Debug/DbgHelp.h"
#include "Plinth/Debug/FileVersion.h"
#include "Plinth/Debug/Low32.h"
#include "Plinth/Debug/ModuleName.h"
#include "Plinth/Debug/ModulePath.h"
#include "Plinth/Debug/Processor.h"
#include "Plinth/Debug/SystemInfoState.h"
#include "Plinth/Debug/Trace.h"
#include "Plinth/Text/CString.h"
#include "Plinth/Text/ZeroTerminatedText.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <memory>

namespace Plinth {

SystemInfoState systemInfoState{};

namespace {

// --- The debug-help library

API_VERSION DbgHelpApiVersion()
{
    API_VERSION version{};
    Platform::RunGuarded([&version] { version = *symbolState.functions.ImagehlpApiVersion(); });
    return version;
}

void TraceDbgHelp()
{
    if (symbolState.dbgHelp != Attempt::DONE) {
        TraceLevel(1, "\n\nDbgHelp.dll not loaded.\n\n");
        return;
    }
    const FileVersion file = GetModuleFileVersion(symbolState.module);
    const API_VERSION api = DbgHelpApiVersion();
    TraceLevelF(1, "\n\nDbgHelp.dll (file version %u.%u.%u.%u, API version %u.%u, revision %u) loaded.\n\n",
                file.major, file.minor, file.build, file.privatePart, unsigned{api.MajorVersion},
                unsigned{api.MinorVersion}, unsigned{api.Revision});
}

// --- Modules

struct SnapshotFunctions {
    decltype(&CreateToolhelp32Snapshot) create;
    decltype(&Module32FirstW) first;
    decltype(&Module32NextW) next;

    [[nodiscard]] bool AreThere() const { return create != nullptr && first != nullptr && next != nullptr; }
};

SnapshotFunctions FindSnapshotFunctions()
{
    SnapshotFunctions functions{};
    HMODULE library = GetModuleHandleW(WIDE("Kernel32.dll"));
    if (library != nullptr) {
        BindFunction(library, "CreateToolhelp32Snapshot", functions.create);
        BindFunction(library, "Module32FirstW", functions.first);
        BindFunction(library, "Module32NextW", functions.next);
    }
    return functions;
}

static_assert(sizeof(LPVOID) != 4 || sizeof(MODULEENTRY32W) == 1064); // the size that a snapshot goes by

struct CloseSnapshot {
    void operator()(HANDLE snapshot) const { CloseHandle(snapshot); }
};

std::uint32_t ReadLinkTime(HMODULE module)
{
    IMAGE_DOS_HEADER start;
    std::memcpy(&start, module, sizeof(start));
    if (start.e_magic != IMAGE_DOS_SIGNATURE) {
        return 0;
    }
    IMAGE_FILE_HEADER header;
    const auto place = static_cast<DWORD_PTR>(start.e_lfanew) + sizeof(DWORD); // may lead anywhere
    std::memcpy(&header, reinterpret_cast<LPCVOID>(reinterpret_cast<DWORD_PTR>(module) + place),
                sizeof(header));
    return header.TimeDateStamp;
}

// Link times are shown in the builders' time zone, which is an hour ahead.
constexpr __time64_t BUILDERS_TIME_ZONE = 3600;

std::tm LinkTime(std::uint32_t stamp)
{
    const __time64_t time = __time64_t{stamp} + BUILDERS_TIME_ZONE;
    std::tm fields{};
    return _gmtime64_s(&fields, &time) == 0 ? fields : std::tm{};
}

void TraceModule(const MODULEENTRY32W& module)
{
    const FileVersion version = GetFileVersion(module.szExePath);
    const std::uint32_t stamp = GetModuleLinkTime(module.hModule);
    const std::tm time = LinkTime(stamp);
    const CModuleName name(module.szModule);
    char versionText[32];
    FormatText(versionText, sizeof(versionText), "%u.%u.%u.%u,", version.major, version.minor, version.build,
               version.privatePart);
    TraceLevelF(1, "0x%08x (0x%08x)  %-20ls  (%-18s 0x%08x, %04u/%02u/%02u %02u:%02u)\n",
                Low32(module.modBaseAddr), Low32(module.modBaseSize), name.Argument(), versionText, stamp,
                static_cast<unsigned>(time.tm_year + 1900), static_cast<unsigned>(time.tm_mon + 1),
                static_cast<unsigned>(time.tm_mday), static_cast<unsigned>(time.tm_hour),
                static_cast<unsigned>(time.tm_min));
}

void TraceModules(const SnapshotFunctions& functions, HANDLE snapshot)
{
    MODULEENTRY32W module{};
    module.dwSize = sizeof(module);
    if (functions.first(snapshot, &module) == FALSE) {
        return;
    }
    TraceLevel(1, "\n\n");
    do {
        TraceModule(module);
    } while (functions.next(snapshot, &module) != FALSE);
    TraceLevel(1, "\n\n");
}

// --- The program

void AppendPrivatePart(char* text, std::uint32_t size, std::uint32_t privatePart)
{
    if (privatePart != 0) {
        const char letter = privatePart <= 26 ? static_cast<char>('a' + privatePart - 1) : '?';
        AppendFormatText(text, size, "%c", letter);
    }
}

const char* ProgramVersion()
{
    auto& composed = systemInfoState.programVersion;
    if (*composed == 0) {
        const FileVersion version = GetModuleFileVersion(nullptr);
        char text[32];
        FormatText(text, sizeof(text), "%u.%u.%u", version.major, version.minor, version.build);
        AppendPrivatePart(text, sizeof(text), version.privatePart);
        CopyText(composed, sizeof(composed), text);
    }
    return composed;
}

CString ProgramFileName()
{
    const CModulePath path;
    LPCWSTR fileName = nullptr;
    SplitPath(path.text, &fileName, nullptr);
    return fileName;
}

} // namespace

void TraceLocalTime()
{
    SYSTEMTIME time;
    GetLocalTime(&time);
    TraceLevelF(1, "\n\nLocal time is %02u:%02u:%02u...\n\n", unsigned{time.wHour}, unsigned{time.wMinute},
                unsigned{time.wSecond});
}

void TraceProgramBanner(const char* name, const char* detail)
{
    const CString fileName = name == nullptr ? ProgramFileName() : CString();
    const char* const shownName = name != nullptr ? name : fileName.CStr();
    Trace("\n\n");
    if (detail != nullptr && *detail != 0) {
        TraceF("%s version %s (%s)", shownName, ProgramVersion(), detail);
    } else {
        TraceF("%s version %s", shownName, ProgramVersion());
    }
    Trace("\n\n");
    TraceSystemInfo();
    Trace("\n\n");
}

void TraceCommandLine()
{
    CString line(GetCommandLineW());
    char* const text = line.GetBuffer(0); // null: an empty line
    std::replace_if(
        text, text + line.GetLength(), [](unsigned char byte) { return byte < 32; }, ' ');
    TraceLevel(1, "\n\nThe command line is: "); // in parts: the line may be longer than a formatted text
    TraceLevel(1, line.CStr());
    TraceLevel(1, "\n\n");
    TraceLevel(1, "This is *NOT* a retail build.\n");
}

void TraceSystemInfo()
{
    TraceDbgHelp();
    TraceModuleList();
    const char* const brand = GetCpuText(CPU_TEXT_BRAND);
    TraceLevelF(1, "\n\n\"%s\" detected.\n", brand != nullptr ? brand : "<NULL>");
    TraceLevelF(1, "%d core(s) detected, %d support(s) HT.\n\n", GetCpuCoreCount(),
                GetCpuLogicalPerPackage());
    TraceMemoryStatus();
}

void TraceModuleList()
{
    const SnapshotFunctions functions = FindSnapshotFunctions();
    if (!functions.AreThere()) {
        TraceLevel(3, "\n\nFailed to get snapshot functions!\n\n");
        return;
    }
    auto* const snapshot = functions.create(TH32CS_SNAPMODULE, GetCurrentProcessId());
    if (snapshot == INVALID_HANDLE_VALUE) {
        TraceLevel(3, "\n\nFailed to get module snapshot!\n\n");
        return;
    }
    const std::unique_ptr<void, CloseSnapshot> closing(snapshot);
    TraceModules(functions, snapshot);
}

void GetProgramVersionText(char* buffer, std::uint32_t size)
{
    CopyText(buffer, size, ProgramVersion());
}

std::uint32_t GetModuleLinkTime(HMODULE module)
{
    std::uint32_t stamp = 0;
    if (module != nullptr) {
        Platform::RunGuarded([module, &stamp] { stamp = ReadLinkTime(module); });
    }
    return stamp;
}

} // namespace Plinth
