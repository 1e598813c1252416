// What code addresses are called.
#include "Platform/Host/Api/DebugHelp.h"

#include "Platform/Host/Gate.h"
#include "Platform/Host/SymbolTables.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>

namespace Platform::Host {

namespace {

constexpr std::size_t MOST_SESSIONS = 64;

std::atomic<DWORD> options{SYMOPT_UNDNAME};

// The handles that symbols were initialised for. They are not looked into: any number but 0 does.
std::array<std::atomic<HANDLE>, MOST_SESSIONS> sessions{};

bool IsInitialised(HANDLE process)
{
    return process != nullptr && std::find(sessions.begin(), sessions.end(), process) != sessions.end();
}

bool AddSession(HANDLE process)
{
    return std::any_of(sessions.begin(), sessions.end(), [process](std::atomic<HANDLE>& session) {
        HANDLE none = nullptr;
        return session.compare_exchange_strong(none, process);
    });
}

BOOL Initialise(HANDLE process, BOOL invadeProcess)
{
    if (process == nullptr) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    if (!IsInitialised(process) && !AddSession(process)) {
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    }
    if (invadeProcess != FALSE) {
        ReadSymbolTables();
    }
    return TRUE;
}

// Null, with the last error set: no session, or no module there.
const SymbolModule* FindFor(HANDLE process, DWORD_PTR address)
{
    const bool isInitialised = IsInitialised(process);
    const SymbolModule* const module = isInitialised ? FindSymbolModule(address) : nullptr;
    if (module == nullptr) {
        lastError = isInitialised ? ERROR_MOD_NOT_FOUND : ERROR_INVALID_HANDLE;
    }
    return module;
}

void CopyCut(std::string_view text, char* target, std::size_t size)
{
    if (size != 0) {
        target[text.copy(target, size - 1)] = 0;
    }
}

BOOL DescribeSymbol(HANDLE process, DWORD_PTR address, DWORD_PTR* displacement, IMAGEHLP_SYMBOL& symbol)
{
    if (symbol.SizeOfStruct != sizeof(symbol)) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const SymbolModule* const module = FindFor(process, address);
    if (module == nullptr) {
        return FALSE;
    }
    const std::optional<FunctionSymbol> found = module->symbols.Find(address - module->module.bias);
    if (!found.has_value()) {
        return Fail(ERROR_INVALID_ADDRESS);
    }
    symbol.Address = found->start + module->module.bias;
    symbol.Size = static_cast<DWORD>(found->size);
    symbol.Flags = 0;
    CopyCut(found->name, symbol.Name, symbol.MaxNameLength);
    if (displacement != nullptr) {
        *displacement = address - symbol.Address;
    }
    return TRUE;
}

// Without folder and last extension.
std::string_view ModuleName(std::string_view imageName)
{
    const std::size_t separator = imageName.find_last_of("\\/");
    const std::string_view file = imageName.substr(separator + 1); // npos + 1 is 0
    return file.substr(0, file.rfind('.'));
}

BOOL DescribeModuleOf(HANDLE process, DWORD_PTR address, IMAGEHLP_MODULE& target)
{
    if (target.SizeOfStruct != sizeof(target)) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const SymbolModule* const found = FindFor(process, address);
    if (found == nullptr) {
        return FALSE;
    }
    target = {.SizeOfStruct = sizeof(target),
              .BaseOfImage = found->module.start,
              .ImageSize = static_cast<DWORD>(found->module.end - found->module.start),
              .NumSyms = static_cast<DWORD>(found->symbols.Count())};
    CopyCut(ModuleName(found->imageName), target.ModuleName, sizeof(target.ModuleName));
    CopyCut(found->imageName, target.ImageName, sizeof(target.ImageName));
    CopyCut(found->imageName, target.LoadedImageName, sizeof(target.LoadedImageName));
    return TRUE;
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

LPAPI_VERSION IMAGEAPI ImagehlpApiVersion()
{
    static API_VERSION version{.MajorVersion = 4, .MinorVersion = 0, .Revision = 5, .Reserved = 0};
    GateSees("ImagehlpApiVersion");
    return &version;
}

DWORD IMAGEAPI SymGetOptions()
{
    GateSees("SymGetOptions");
    return options;
}

DWORD IMAGEAPI SymSetOptions(DWORD newOptions)
{
    GateSees("SymSetOptions");
    options = newOptions;
    return newOptions;
}

BOOL IMAGEAPI SymInitialize(HANDLE process, const char* /*searchPath*/, BOOL invadeProcess)
{
    return Guarded("SymInitialize", FALSE, [&] { return Initialise(process, invadeProcess); });
}

BOOL IMAGEAPI SymInitializeW(HANDLE process, LPCWSTR /*searchPath*/, BOOL invadeProcess)
{
    return Guarded("SymInitializeW", FALSE, [&] { return Initialise(process, invadeProcess); });
}

BOOL IMAGEAPI SymGetSymFromAddr(HANDLE process, DWORD_PTR address, DWORD_PTR* displacement,
                                PIMAGEHLP_SYMBOL symbol)
{
    return Guarded("SymGetSymFromAddr", FALSE,
                   [&] { return DescribeSymbol(process, address, displacement, *symbol); });
}

// The host keeps its lines compressed beside its programs, or nowhere.
BOOL IMAGEAPI SymGetLineFromAddr(HANDLE process, DWORD_PTR address, LPDWORD /*displacement*/,
                                 PIMAGEHLP_LINE line)
{
    return Guarded("SymGetLineFromAddr", FALSE, [&] {
        if (line->SizeOfStruct != sizeof(*line)) {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        return FindFor(process, address) != nullptr ? Fail(ERROR_INVALID_ADDRESS) : FALSE;
    });
}

BOOL IMAGEAPI SymGetModuleInfo(HANDLE process, DWORD_PTR address, PIMAGEHLP_MODULE module)
{
    return Guarded("SymGetModuleInfo", FALSE, [&] { return DescribeModuleOf(process, address, *module); });
}

DWORD_PTR IMAGEAPI SymGetModuleBase(HANDLE process, DWORD_PTR address)
{
    return Guarded("SymGetModuleBase", DWORD_PTR{0}, [&]() -> DWORD_PTR {
        const SymbolModule* const found = FindFor(process, address);
        return found != nullptr ? found->module.start : 0;
    });
}

// The walk finds its own tables.
LPVOID IMAGEAPI SymFunctionTableAccess(HANDLE /*process*/, DWORD_PTR /*address*/)
{
    GateSees("SymFunctionTableAccess");
    return nullptr;
}

// Modules are known by being there.
DWORD_PTR IMAGEAPI SymLoadModule(HANDLE /*process*/, HANDLE /*file*/, const char* /*imageName*/,
                                 const char* /*moduleName*/, DWORD_PTR /*base*/, DWORD /*size*/)
{
    if (!GateStops("SymLoadModule")) {
        Fail(ERROR_INVALID_PARAMETER);
    }
    return 0;
}
