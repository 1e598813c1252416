// The process's memory as the host maps it. Takes no heap memory and no lock: who asks may report a fault.
#pragma once

#include <cstdint>
#include <optional>

namespace Platform::Host {

// Behind the user's half of the address space of a 64-bit process.
constexpr std::uintptr_t ADDRESS_SPACE =
    sizeof(void*) > 4 ? std::uintptr_t{1} << 47 : std::uintptr_t{3} << 30;

struct MemoryRegion {
    std::uintptr_t start;
    std::uintptr_t end;
    bool isFree; // nothing is mapped up to `end`
    bool isRead;
    bool isWritten;
    bool isExecuted;
};

// The one that holds the address. Nothing: no region can, or the host does not tell.
std::optional<MemoryRegion> FindRegion(std::uintptr_t address);

} // namespace Platform::Host
