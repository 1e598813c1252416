// The program and the shared libraries in memory. Takes no heap and no lock, so that it may be asked while
// other threads stand still, and by a signal handler. While others run, and may load and unload libraries,
// the list is not to be walked here: ListModules (ModulePaths.h) is for that.
#pragma once

#include <cstdint>
#include <optional>

struct link_map;

namespace Platform::Host {

struct LoadedModule {
    std::uintptr_t start;
    std::uintptr_t end;
    std::uintptr_t bias; // what the file's own addresses lack
    const char* path;    // the host's
};

std::optional<LoadedModule> FindModule(std::uintptr_t address);

// The first module is the program.
const link_map* FirstModule();
const link_map* NextModule(const link_map* module);
std::optional<LoadedModule> DescribeModule(const link_map* module);

template <typename Callable>
void ForEachModule(const Callable& callable)
{
    for (const link_map* map = FirstModule(); map != nullptr; map = NextModule(map)) {
        if (const std::optional<LoadedModule> module = DescribeModule(map)) {
            callable(*module);
        }
    }
}

} // namespace Platform::Host
