// The one library that can be loaded by name. Whoever asks for it has all of it linked in.
#include "Platform/Host/Api/DebugHelp.h"
#include "Platform/Host/Api/Modules.h"
#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Names.h"

#include <algorithm>
#include <iterator>

namespace Platform::Host {

namespace {

struct Export {
    std::string_view name;
    FARPROC function;
};

template <typename Function>
FARPROC Erase(Function* function)
{
    return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(function));
}

const Export EXPORTS[] = {
    {"ImagehlpApiVersion", Erase(ImagehlpApiVersion)},
    {"MiniDumpWriteDump", Erase(MiniDumpWriteDump)},
    {"StackWalk", Erase(StackWalk)},
    {"SymFunctionTableAccess", Erase(SymFunctionTableAccess)},
    {"SymGetLineFromAddr", Erase(SymGetLineFromAddr)},
    {"SymGetModuleBase", Erase(SymGetModuleBase)},
    {"SymGetModuleInfo", Erase(SymGetModuleInfo)},
    {"SymGetOptions", Erase(SymGetOptions)},
    {"SymGetSymFromAddr", Erase(SymGetSymFromAddr)},
    {"SymInitialize", Erase(SymInitialize)},
    {"SymInitializeW", Erase(SymInitializeW)},
    {"SymLoadModule", Erase(SymLoadModule)},
    {"SymSetOptions", Erase(SymSetOptions)},
};

// Any address of ours will do.
HMODULE DebugHelp()
{
    static char library;
    return reinterpret_cast<HMODULE>(&library);
}

ExportHook& ShownExports()
{
    static ExportHook hook;
    return hook;
}

FARPROC FindExport(std::string_view name)
{
    const Export* const found = std::find_if(std::begin(EXPORTS), std::end(EXPORTS),
                                             [name](const Export& row) { return row.name == name; });
    const FARPROC function = found != std::end(EXPORTS) ? found->function : nullptr;
    return ShownExports() ? ShownExports()(name, function) : function;
}

} // namespace

void SetExportHook(ExportHook hook)
{
    ShownExports() = std::move(hook);
}

} // namespace Platform::Host

using namespace Platform::Host;

HMODULE WINAPI LoadLibraryW(LPCWSTR fileName)
{
    return Guarded("LoadLibraryW", HMODULE{nullptr}, [&]() -> HMODULE {
        if (fileName == nullptr) {
            Fail(ERROR_INVALID_PARAMETER);
            return nullptr;
        }
        if (CompareNames(fileName, u"DbgHelp") != 0 && CompareNames(fileName, u"DbgHelp.dll") != 0) {
            Fail(ERROR_MOD_NOT_FOUND);
            return nullptr;
        }
        return DebugHelp();
    });
}

BOOL WINAPI FreeLibrary(HMODULE module)
{
    if (GateStops("FreeLibrary")) {
        return FALSE;
    }
    return module == DebugHelp() ? TRUE : Fail(ERROR_INVALID_HANDLE);
}

FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name)
{
    return Guarded("GetProcAddress", FARPROC{nullptr}, [&]() -> FARPROC {
        if (name == nullptr || module != DebugHelp()) {
            lastError = name == nullptr ? ERROR_INVALID_PARAMETER : ERROR_MOD_NOT_FOUND;
            return nullptr;
        }
        const FARPROC function = FindExport(name);
        if (function == nullptr) {
            lastError = ERROR_PROC_NOT_FOUND;
        }
        return function;
    });
}
