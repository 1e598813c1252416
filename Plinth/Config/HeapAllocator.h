// Lets the standard containers take their memory from the library's heap entry points: "Out of memory!" is
// thrown where there is none.
#pragma once

#include "Plinth/Debug/Allocation.h"
#include "Plinth/Streams/Exceptions.h"

#include <cstddef>
#include <cstdint>

namespace Plinth {

template <typename T>
struct HeapAllocator {
    using value_type = T;

    HeapAllocator() = default;
    template <typename U>
    HeapAllocator(const HeapAllocator<U>& /*other*/)
    {
    }

    [[nodiscard]] T* allocate(std::size_t count)
    {
        return static_cast<T*>(AllocateMemoryOrThrow(SizeOrThrow(std::uint64_t{count} * sizeof(T))));
    }
    void deallocate(T* block, std::size_t /*count*/) { FreeMemory(block); }

    bool operator==(const HeapAllocator& /*other*/) const { return true; }
};

} // namespace Plinth
