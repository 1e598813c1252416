#include "Platform/Host/LoadedModules.h"

#include <climits>
#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

// The loader has no name for the program. Read before main: at first use it would take a lock.
struct ProgramLink {
    char path[PATH_MAX]{};

    ProgramLink()
    {
        const ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
        path[length > 0 ? length : 0] = 0;
    }
};

const ProgramLink program;

} // namespace

std::optional<LoadedModule> FindModule(std::uintptr_t address)
{
    dl_find_object found{};
    if (_dl_find_object(reinterpret_cast<void*>(address), &found) != 0) {
        return std::nullopt;
    }
    const link_map* const map = found.dlfo_link_map;
    const bool isProgram = map->l_name == nullptr || *map->l_name == 0;
    return LoadedModule{.start = reinterpret_cast<std::uintptr_t>(found.dlfo_map_start),
                        .end = reinterpret_cast<std::uintptr_t>(found.dlfo_map_end),
                        .bias = map->l_addr,
                        .path = isProgram ? program.path : map->l_name};
}

// As debuggers find them: the loader's own list, whose lock a thread that stands still may hold.
const link_map* FirstModule()
{
    return _r_debug.r_map;
}

const link_map* NextModule(const link_map* module)
{
    return module->l_next;
}

std::optional<LoadedModule> DescribeModule(const link_map* module)
{
    return FindModule(reinterpret_cast<std::uintptr_t>(module->l_ld));
}

} // namespace Platform::Host
