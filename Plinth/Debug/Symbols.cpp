#include "Plinth/Debug/Symbols.h"

#include "Plinth/Debug/BindFunction.h"
#include "Plinth/Debug/DbgHelp.h"
#include "Plinth/Debug/ModulePath.h"
#include "Plinth/FileSystem/CFileSearch.h"
#include "Plinth/Text/ZeroTerminatedText.h"

#include <cstddef>
#include <new>

namespace Plinth {

constinit SymbolState symbolState{};

namespace {

static_assert(sizeof(void*) != 4 || (sizeof(IMAGEHLP_SYMBOL) == 24 && sizeof(IMAGEHLP_LINE) == 20 &&
                                     sizeof(IMAGEHLP_MODULE) == 572));

constexpr std::uint32_t LONGEST_SEARCH_PATH = 4096;
constexpr std::uint32_t LONGEST_FOLDER = 2047;
constexpr std::uint32_t LONGEST_SYSTEM_NAME = 255;

// Large enough that only the caller's buffer cuts the text.
constexpr std::uint32_t DESCRIPTION_SIZE = 4096;

void BindFunctions()
{
#define PLINTH_DBGHELP_BIND(name)                                                                            \
    if (!BindFunction(symbolState.module, #name, symbolState.functions.name)) {                              \
        return;                                                                                              \
    }
    PLINTH_DBGHELP_FUNCTIONS(PLINTH_DBGHELP_BIND)
#undef PLINTH_DBGHELP_BIND
}

void ForgetDbgHelp()
{
    FreeLibrary(symbolState.module);
    symbolState.module = nullptr;
    symbolState.functions = {};
}

// Names stay decorated: two functions of one plain name are told apart.
void SetOptions()
{
    constexpr DWORD CLEARED = SYMOPT_UNDNAME;
    constexpr DWORD SET = SYMOPT_DEFERRED_LOADS | SYMOPT_LOAD_LINES | SYMOPT_EXACT_SYMBOLS;
    symbolState.functions.SymSetOptions((symbolState.functions.SymGetOptions() & ~CLEARED) | SET);
}

// Empty for every system but those that have symbols of their own beside the game's.
CWideString SystemName()
{
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    GetVersionExW(reinterpret_cast<LPOSVERSIONINFOW>(&version));
    if (version.dwMajorVersion != 5 || version.dwMinorVersion > 1) {
        return {};
    }
    CWideString name(LONGEST_SYSTEM_NAME);
    name = version.dwMinorVersion == 0 ? WIDE("Win2k") : WIDE("WinXP");
    if (version.wServicePackMajor != 0) {
        name.AppendFormat(WIDE("SP%i"), version.wServicePackMajor);
    }
    return name;
}

// With its separator; a path without one is used whole.
CWideString ProgramFolder()
{
    const CModulePath program;
    const CWideString path(program.text);
    const std::size_t separator = path.find_last_of(WIDE("\\/"));
    return separator != CWideString::npos ? CWideString(path.substr(0, separator + 1)) : path;
}

// The first of the places for symbols that is there, and what it has for this system.
void AppendSymbolFolders(CWideString& searchPath, const CWideString& base)
{
    struct Place {
        LPCWSTR folder, systems;
    };
    constexpr Place PLACES[] = {
        {WIDE("..\\_dbg\\symbols"), WIDE("..\\_dbg\\symbols\\")},
        {WIDE("..\\..\\symbols"), WIDE("..\\..\\symbols\\")},
        {WIDE("..\\..\\..\\data\\base\\_dbg\\symbols"), WIDE("..\\..\\..\\data\\base\\_dbg\\symbols\\")},
    };
    const CWideString system = SystemName();
    for (const Place& place : PLACES) {
        if (AppendSymbolSearchPath(searchPath, base.c_str(), place.folder, nullptr)) {
            AppendSymbolSearchPath(searchPath, base.c_str(), place.systems, system.c_str());
            return;
        }
    }
}

CWideString SearchPath()
{
    const CWideString base = ProgramFolder();
    CWideString searchPath(LONGEST_SEARCH_PATH);
    searchPath = base;
    AppendSymbolFolders(searchPath, base);
    for (LPCWSTR devkits : {WIDE("..\\..\\source\\devkits\\DLLs"), WIDE("..\\..\\..\\source\\devkits\\DLLs"),
                            WIDE("..\\..\\..\\..\\..\\source\\devkits\\DLLs")}) {
        AppendSymbolSearchPath(searchPath, base.c_str(), devkits, nullptr);
    }
    return searchPath;
}

// False for a fault too.
template <typename Start>
bool Succeeds(Start start)
{
    BOOL result = FALSE;
    Platform::RunGuarded([&] { result = start(); });
    return result != FALSE;
}

bool StartSymbolEngine(const CWideString& searchPath)
{
    const DbgHelpFunctions& functions = symbolState.functions;
    if (functions.SymInitializeW != nullptr) {
        return Succeeds(
            [&] { return functions.SymInitializeW(symbolState.process, searchPath.c_str(), TRUE); });
    }
    const CString narrow(searchPath);
    return narrow.IsEmpty() == searchPath.empty() &&
           Succeeds([&] { return functions.SymInitialize(symbolState.process, narrow.CStr(), TRUE); });
}

bool DuplicateProcessHandle()
{
    auto* const self = GetCurrentProcess();
    return DuplicateHandle(self, self, self, &symbolState.process, 0, FALSE, DUPLICATE_SAME_ACCESS) != FALSE;
}

void AppendSymbol(char* text, DWORD_PTR address)
{
    constexpr DWORD LONGEST_NAME = 999;
    alignas(IMAGEHLP_SYMBOL) char record[sizeof(IMAGEHLP_SYMBOL) + LONGEST_NAME + 1]{};
    auto* const symbol = reinterpret_cast<IMAGEHLP_SYMBOL*>(record);
    symbol->SizeOfStruct = sizeof(*symbol);
    symbol->MaxNameLength = LONGEST_NAME;
    DWORD_PTR displacement = 0;
    if (symbolState.functions.SymGetSymFromAddr(symbolState.process, address, &displacement, symbol)) {
        AppendFormatText(text, DESCRIPTION_SIZE, "%s+%u", symbol->Name, static_cast<unsigned>(displacement));
    }
}

void AppendLine(char* text, DWORD_PTR address)
{
    IMAGEHLP_LINE line{};
    line.SizeOfStruct = sizeof(line);
    DWORD displacement = 0;
    if (symbolState.functions.SymGetLineFromAddr(symbolState.process, address, &displacement, &line)) {
        AppendFormatText(text, DESCRIPTION_SIZE, "%s%s(%u)", *text != 0 ? "  " : "", line.FileName,
                         static_cast<unsigned>(line.LineNumber));
    }
}

void AppendModule(char* text, DWORD_PTR address)
{
    IMAGEHLP_MODULE module{};
    module.SizeOfStruct = sizeof(module);
    if (symbolState.functions.SymGetModuleInfo(symbolState.process, address, &module)) {
        AppendFormatText(text, DESCRIPTION_SIZE, "%s+%u  %s", module.ModuleName,
                         static_cast<unsigned>(address - module.BaseOfImage), module.ImageName);
    }
}

} // namespace

bool LoadDbgHelp()
{
    if (symbolState.dbgHelp != Attempt::NOT_TRIED) {
        return symbolState.dbgHelp == Attempt::DONE;
    }
    symbolState.dbgHelp = Attempt::FAILED;
    symbolState.module = LoadLibraryW(WIDE("DbgHelp.dll"));
    if (symbolState.module == nullptr) {
        return false;
    }
    BindFunctions();
    if (symbolState.functions.SymLoadModule == nullptr || !Platform::RunGuarded(SetOptions)) {
        ForgetDbgHelp();
        return false;
    }
    symbolState.dbgHelp = Attempt::DONE;
    return true;
}

bool InitSymbols()
{
    if (symbolState.dbgHelp != Attempt::DONE || symbolState.symbols != Attempt::NOT_TRIED) {
        return SymbolsAreReady();
    }
    symbolState.symbols = Attempt::FAILED;
    if (!DuplicateProcessHandle()) {
        return false;
    }
    try {
        if (StartSymbolEngine(SearchPath())) {
            symbolState.symbols = Attempt::DONE;
        }
    } catch (const std::bad_alloc&) { // as good as an engine that does not start
    }
    return SymbolsAreReady();
}

bool DirectoryExists(LPCWSTR path)
{
    if (path == nullptr || *path == 0) {
        return false;
    }
    const CFileSearch search(path);
    return search.IsFound() && search.IsDirectory();
}

bool AppendSymbolSearchPath(CWideString& searchPath, LPCWSTR base, LPCWSTR relative, LPCWSTR extra)
{
    if (relative == nullptr || *relative == 0) {
        return false;
    }
    CWideString folder(base);
    for (LPCWSTR part : {relative, extra, WIDE("\\")}) {
        folder += part != nullptr ? part : WIDE("");
    }
    const CWideString::Base path = folder.substr(0, folder.size() - 1);
    if (path.size() > LONGEST_FOLDER || searchPath.size() + 1 + folder.size() > LONGEST_SEARCH_PATH ||
        !DirectoryExists(path.c_str())) {
        return false;
    }
    searchPath += WIDE(";") + folder;
    return true;
}

void DescribeAddress(char* buffer, std::uint32_t size, DWORD_PTR address)
{
    CopyText(buffer, size, "");
    if (!SymbolsAreReady() || buffer == nullptr || size == 0) {
        return;
    }
    Platform::RunGuarded([=] {
        char text[DESCRIPTION_SIZE];
        text[0] = 0;
        AppendSymbol(text, address);
        AppendLine(text, address);
        if (*text == 0) {
            AppendModule(text, address);
        }
        CopyText(buffer, size, text);
    });
}

} // namespace Plinth
