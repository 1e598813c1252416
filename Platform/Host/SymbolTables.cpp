#include "Platform/Host/SymbolTables.h"

#include "Platform/Host/Drives.h"
#include "Platform/Host/Utf.h"

#include <array>
#include <atomic>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

constexpr std::size_t MOST_MODULES = 256;

// Only grows, so that it is read without a lock.
struct Tables {
    std::array<SymbolModule, MOST_MODULES> modules;
    std::atomic<std::size_t> count;
    std::atomic_flag grows;
};

Tables tables{};

// For good: the symbols lie in it.
std::string_view MapFile(const char* path)
{
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return {};
    }
    struct stat status {};
    void* bytes = MAP_FAILED;
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0) {
        bytes = mmap(nullptr, static_cast<std::size_t>(status.st_size), PROT_READ, MAP_PRIVATE, file, 0);
    }
    close(file);
    if (bytes == MAP_FAILED) {
        return {};
    }
    return {static_cast<const char*>(bytes), static_cast<std::size_t>(status.st_size)};
}

// What has no absolute path is no file: the system's own code, which every process has.
std::string ImageName(const char* path)
{
    return *path == '/' ? ToHost(ToDrivePath(path)) : path;
}

const SymbolModule* FindKnown(const LoadedModule& module)
{
    for (std::size_t i = tables.count.load(std::memory_order_acquire); i-- > 0;) {
        const SymbolModule& known = tables.modules[i];
        if (known.module.start == module.start && known.module.end == module.end) {
            return &known;
        }
    }
    return nullptr;
}

const SymbolModule* Add(const LoadedModule& module)
{
    const std::size_t count = tables.count.load(std::memory_order_relaxed);
    if (count == MOST_MODULES) {
        return nullptr;
    }
    SymbolModule& added = tables.modules[count];
    const std::string name = ImageName(module.path);
    added = {.module = module, .imageName = {}, .symbols = ElfSymbols(MapFile(module.path))};
    name.copy(added.imageName, sizeof(added.imageName) - 1);
    tables.count.store(count + 1, std::memory_order_release);
    return &added;
}

// Frees the table for others also where there is no memory.
struct Growth {
    const bool isMine = !tables.grows.test_and_set(std::memory_order_acquire);

    Growth() = default;
    ~Growth()
    {
        if (isMine) {
            tables.grows.clear(std::memory_order_release);
        }
    }
    Growth(const Growth&) = delete;
    Growth& operator=(const Growth&) = delete;
};

const SymbolModule* FindOrAdd(const LoadedModule& module)
{
    if (const SymbolModule* known = FindKnown(module)) {
        return known;
    }
    const Growth growth; // nobody waits: who holds it may stand still
    if (!growth.isMine) {
        return nullptr;
    }
    const SymbolModule* const known = FindKnown(module);
    return known != nullptr ? known : Add(module);
}

} // namespace

void ReadSymbolTables()
{
    ForEachModule([](const LoadedModule& module) { FindOrAdd(module); });
}

const SymbolModule* FindSymbolModule(std::uintptr_t address)
{
    const std::optional<LoadedModule> module = FindModule(address);
    return module.has_value() ? FindOrAdd(*module) : nullptr;
}

} // namespace Platform::Host
