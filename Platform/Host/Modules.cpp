#include "Platform/Host/Api/Modules.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/ModulePaths.h"
#include "Platform/Host/Utf.h"

#include <algorithm>
#include <link.h>
#include <new>
#include <unistd.h>

namespace Platform::Host {

namespace {

std::optional<std::u16string>& ModulePathOverride()
{
    static std::optional<std::u16string> path;
    return path;
}

std::u16string_view PathIn(PathRoom& room, std::string_view native)
{
    return {room.units, ToDrivePath(native, room.units, std::size(room.units))};
}

std::u16string_view ProgramPath(PathRoom& room)
{
    if (ModulePathOverride().has_value()) {
        return *ModulePathOverride();
    }
    char program[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof(program));
    return length > 0 ? PathIn(room, {program, static_cast<std::size_t>(length)}) : std::u16string_view();
}

// Empty: not known, the last error says why.
std::u16string_view PathOf(HMODULE handle, PathRoom& room)
{
    const std::optional<LoadedModule> module =
        handle != nullptr ? FindModule(handle) : DescribeModule(FirstModule());
    const std::u16string_view path = module.has_value() ? PathOf(*module, room) : std::u16string_view();
    if (path.empty()) {
        lastError = module.has_value() ? ERROR_GEN_FAILURE : ERROR_MOD_NOT_FOUND;
    }
    return path;
}

bool IsProgram(const LoadedModule& module)
{
    const std::optional<LoadedModule> program = DescribeModule(FirstModule());
    return program.has_value() && program->start == module.start;
}

struct ModuleCopy {
    LoadedModule module;
    std::string path;
};

struct ModuleCopies {
    std::vector<ModuleCopy> modules;
    bool isWhole = true; // false: for lack of memory
};

// With the loader's lock held, and its frames around: nothing is thrown through them.
int CopyModule(dl_phdr_info* information, std::size_t /*size*/, void* argument)
{
    auto& copies = *static_cast<ModuleCopies*>(argument);
    const auto* const end = information->dlpi_phdr + information->dlpi_phnum;
    const auto* const loaded = std::find_if(
        information->dlpi_phdr, end, [](const ElfW(Phdr) & header) { return header.p_type == PT_LOAD; });
    const std::optional<LoadedModule> module =
        loaded != end ? FindModule(information->dlpi_addr + loaded->p_vaddr) : std::nullopt;
    try {
        if (module.has_value() && IsFile(*module)) {
            copies.modules.push_back({*module, module->path});
        }
    } catch (const std::bad_alloc&) {
        copies.isWhole = false;
    }
    return copies.isWhole ? 0 : 1;
}

// What GetModuleFileNameW gives for a path that is not empty.
template <typename Character>
DWORD CopyPath(std::basic_string_view<Character> path, Character* fileName, DWORD size)
{
    const bool fits = path.size() < size;
    if (size != 0) {
        const std::size_t copied = std::min<std::size_t>(path.size(), size - 1);
        std::copy_n(path.data(), copied, fileName);
        fileName[copied] = 0;
    }
    lastError = fits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER;
    return fits ? static_cast<DWORD>(path.size()) : size;
}

} // namespace

bool IsFile(const LoadedModule& module)
{
    return *module.path == '/';
}

HMODULE HandleOf(const LoadedModule& module)
{
    return reinterpret_cast<HMODULE>(module.start);
}

std::optional<LoadedModule> FindModule(HMODULE handle)
{
    const std::optional<LoadedModule> module = FindModule(reinterpret_cast<std::uintptr_t>(handle));
    return module.has_value() && HandleOf(*module) == handle && IsFile(*module) ? module : std::nullopt;
}

std::u16string_view PathOf(const LoadedModule& module, PathRoom& room)
{
    return IsProgram(module) ? ProgramPath(room) : PathIn(room, module.path);
}

std::u16string_view FileNameOf(std::u16string_view path)
{
    return path.substr(path.rfind(u'\\') + 1); // npos + 1 is 0
}

std::vector<ListedModule> ListModules()
{
    ModuleCopies copies;
    dl_iterate_phdr(CopyModule, &copies);
    if (!copies.isWhole) {
        throw std::bad_alloc();
    }
    PathRoom room;
    std::vector<ListedModule> modules;
    for (ModuleCopy& copy : copies.modules) {
        copy.module.path = copy.path.c_str(); // the loader's own may be gone by now
        modules.push_back({HandleOf(copy.module), copy.module.end - copy.module.start,
                           std::u16string(PathOf(copy.module, room))});
    }
    return modules;
}

void SetModulePath(std::optional<std::u16string> path)
{
    ModulePathOverride() = std::move(path);
}

} // namespace Platform::Host

using namespace Platform::Host;

DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size)
{
    return Guarded("GetModuleFileNameW", DWORD{0}, [&]() -> DWORD {
        PathRoom room;
        const std::u16string_view path = PathOf(module, room);
        return path.empty() ? 0 : CopyPath(path, fileName, size);
    });
}

DWORD WINAPI GetModuleFileNameA(HMODULE module, LPSTR fileName, DWORD size)
{
    return Guarded("GetModuleFileNameA", DWORD{0}, [&]() -> DWORD {
        PathRoom room;
        const std::string path = ToHost(PathOf(module, room));
        return path.empty() ? 0 : CopyPath(std::string_view(path), fileName, size);
    });
}
