/// \class Plinth::CPagedArray
/// Fixed-size slots by index, in pages that never move: a slot keeps its address for the life of the array.
/// Slots are raw memory; what lies in them is their user's business. Lack of memory is std::bad_alloc and
/// leaves the array as it was, but for a longer page table.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Plinth {

class CPagedArray {
public:
    /// The size is in bytes; both are at least 1.
    CPagedArray(std::uint32_t elementSize, std::uint32_t elementsPerPage);
    ~CPagedArray();
    CPagedArray(const CPagedArray&) = delete;
    CPagedArray& operator=(const CPagedArray&) = delete;

    /// Makes the page table long enough for so many slots; pages come with the first use of a slot in them.
    void EnsurePages(std::uint64_t slotCount);

    /// The slot's address, aligned for any type whose size the element size is a multiple of.
    void* At(std::uint32_t index);

private:
    struct Layout;

    std::uint32_t elementSize_;
    std::uint32_t elementsPerPage_;
    std::byte** pages_ = nullptr;
    std::uint32_t pageCount_ = 0;
};

static_assert(sizeof(CPagedArray) == (sizeof(void*) == 4 ? 16 : 24));

} // namespace Plinth
