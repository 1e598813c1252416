#include "Plinth/Text/CPagedArray.h"

#include <algorithm>

namespace Plinth {

struct CPagedArray::Layout {
    static_assert(offsetof(CPagedArray, elementSize_) == 0 && offsetof(CPagedArray, elementsPerPage_) == 4);
    static_assert(offsetof(CPagedArray, pages_) == 8);
    static_assert(offsetof(CPagedArray, pageCount_) == 8 + sizeof(void*));
};

CPagedArray::CPagedArray(std::uint32_t elementSize, std::uint32_t elementsPerPage)
    : elementSize_(elementSize), elementsPerPage_(elementsPerPage)
{
}

CPagedArray::~CPagedArray()
{
    std::for_each(pages_, pages_ + pageCount_, [](const std::byte* page) { delete[] page; });
    delete[] pages_;
}

void CPagedArray::EnsurePages(std::uint64_t slotCount)
{
    const std::uint64_t needed = (slotCount + elementsPerPage_ - 1) / elementsPerPage_;
    if (needed <= pageCount_) {
        return;
    }
    const std::uint64_t newCount = std::max(2 * std::uint64_t{pageCount_}, needed);
    auto* const newPages = new std::byte*[newCount];
    std::fill(std::copy(pages_, pages_ + pageCount_, newPages), newPages + newCount, nullptr);
    delete[] pages_;
    pages_ = newPages;
    pageCount_ = static_cast<std::uint32_t>(newCount);
}

void* CPagedArray::At(std::uint32_t index)
{
    EnsurePages(std::uint64_t{index} + 1);
    std::byte*& page = pages_[index / elementsPerPage_];
    if (page == nullptr) {
        page = new std::byte[std::size_t{elementSize_} * elementsPerPage_];
    }
    return page + std::size_t{index % elementsPerPage_} * elementSize_;
}

} // namespace Plinth
