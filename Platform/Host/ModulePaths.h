// The program and the host's shared libraries as the platform's functions name them.
#pragma once

#include "Platform/Host/Api/Modules.h"
#include "Platform/Host/Drives.h"
#include "Platform/Host/LoadedModules.h"

#include <climits>
#include <string>
#include <string_view>
#include <vector>

namespace Platform::Host {

// The host has a module of its own in each process that is no file; no handle stands for it. One that was
// loaded by a relative path is taken for such: where it lies is not known.
bool IsFile(const LoadedModule& module);

// A module's handle is where it starts.
HMODULE HandleOf(const LoadedModule& module);
std::optional<LoadedModule> FindModule(HMODULE handle);

// Of a module's path: whoever reports a fault may have no heap.
struct PathRoom {
    char16_t units[DRIVE_ROOT_LENGTH + PATH_MAX];
};

// Lies in the room, or is the one that a test has set. Empty: it is the program, and the host does not tell.
// For what is a file.
std::u16string_view PathOf(const LoadedModule& module, PathRoom& room);

std::u16string_view FileNameOf(std::u16string_view path);

struct ListedModule {
    HMODULE handle;
    std::size_t size;
    std::u16string path;
};

// All that are files, the program first, as they are at one moment.
std::vector<ListedModule> ListModules();

} // namespace Platform::Host
