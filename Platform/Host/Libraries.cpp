// Modules by name, and the layer's own libraries: whoever asks for one has all of them linked in.
#include "Platform/Host/Api/DebugHelp.h"
#include "Platform/Host/Api/Modules.h"
#include "Platform/Host/Api/RuntimeHandlers.h"
#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/ModulePaths.h"
#include "Platform/Host/Names.h"

#include <algorithm>
#include <span>

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

const Export DEBUG_HELP_EXPORTS[] = {
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

const Export KERNEL_EXPORTS[] = {
    {"CreateToolhelp32Snapshot", Erase(CreateToolhelp32Snapshot)},
    {"Module32FirstW", Erase(Module32FirstW)},
    {"Module32NextW", Erase(Module32NextW)},
};

const Export RUNTIME_EXPORTS[] = {
    {"_set_invalid_parameter_handler", Erase(_set_invalid_parameter_handler)},
};

// A library's handle is its row's address.
struct Library {
    std::u16string_view name; // ".dll" may follow
    std::span<const Export> exports;
};

const Library KERNEL{u"Kernel32", KERNEL_EXPORTS};
const Library RUNTIME{u"msvcrt", RUNTIME_EXPORTS};
const Library DEBUG_HELP{u"DbgHelp", DEBUG_HELP_EXPORTS};

HMODULE HandleOf(const Library& library)
{
    return reinterpret_cast<HMODULE>(const_cast<Library*>(&library)); // the platform's own type for it
}

const Library* FindLibrary(HMODULE handle)
{
    for (const Library* const library : {&KERNEL, &RUNTIME, &DEBUG_HELP}) {
        if (HandleOf(*library) == handle) {
            return library;
        }
    }
    return nullptr;
}

bool IsNameOf(const Library& library, std::u16string_view name)
{
    return CompareNames(name, library.name) == 0 ||
           CompareNames(name, std::u16string(library.name) + u".dll") == 0;
}

// What is there without being loaded, by its file's name or whole path. Null with the last error set:
// nothing.
HMODULE FindByName(std::u16string_view name)
{
    for (const Library* const library : {&KERNEL, &RUNTIME}) {
        if (IsNameOf(*library, name)) {
            return HandleOf(*library);
        }
    }
    const std::vector<ListedModule> modules = ListModules();
    const auto module = std::find_if(modules.begin(), modules.end(), [name](const ListedModule& listed) {
        return CompareNames(name, FileNameOf(listed.path)) == 0 || CompareNames(name, listed.path) == 0;
    });
    if (module == modules.end()) {
        Fail(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    return module->handle;
}

ExportHook& ShownExports()
{
    static ExportHook hook;
    return hook;
}

FARPROC FindExport(const Library& library, std::string_view name)
{
    const auto found = std::find_if(library.exports.begin(), library.exports.end(),
                                    [name](const Export& row) { return row.name == name; });
    const FARPROC function = found != library.exports.end() ? found->function : nullptr;
    return ShownExports() ? ShownExports()(name, function) : function;
}

} // namespace

void SetExportHook(ExportHook hook)
{
    ShownExports() = std::move(hook);
}

} // namespace Platform::Host

using namespace Platform::Host;

HMODULE WINAPI GetModuleHandleW(LPCWSTR fileName)
{
    return Guarded("GetModuleHandleW", HMODULE{nullptr}, [&] {
        const std::optional<LoadedModule> program = DescribeModule(FirstModule());
        return fileName == nullptr && program.has_value() ? HandleOf(*program)
                                                          : FindByName(fileName != nullptr ? fileName : u"");
    });
}

HMODULE WINAPI LoadLibraryW(LPCWSTR fileName)
{
    return Guarded("LoadLibraryW", HMODULE{nullptr}, [&]() -> HMODULE {
        if (fileName == nullptr) {
            Fail(ERROR_INVALID_PARAMETER);
            return nullptr;
        }
        return IsNameOf(DEBUG_HELP, fileName) ? HandleOf(DEBUG_HELP) : FindByName(fileName);
    });
}

// Nothing is unloaded.
BOOL WINAPI FreeLibrary(HMODULE module)
{
    if (GateStops("FreeLibrary")) {
        return FALSE;
    }
    const bool isThere = FindLibrary(module) != nullptr || FindModule(module).has_value();
    return isThere ? TRUE : Fail(module == nullptr ? ERROR_INVALID_HANDLE : ERROR_MOD_NOT_FOUND);
}

FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name)
{
    return Guarded("GetProcAddress", FARPROC{nullptr}, [&]() -> FARPROC {
        const bool isNumber = reinterpret_cast<std::uintptr_t>(name) < 0x10000; // the platform's other form
        const Library* const library = FindLibrary(module);
        const FARPROC function = library != nullptr && !isNumber ? FindExport(*library, name) : nullptr;
        if (function == nullptr) {
            const bool isThere = library != nullptr || module == nullptr || FindModule(module).has_value();
            lastError = isThere ? ERROR_PROC_NOT_FOUND : ERROR_MOD_NOT_FOUND;
        }
        return function;
    });
}
