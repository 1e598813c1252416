// This process's memory, read without a fault where there is none.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Platform::Host {

// The bytes that could be read, from the first on.
std::size_t ReadMemory(std::uintptr_t address, void* bytes, std::size_t size);

} // namespace Platform::Host
