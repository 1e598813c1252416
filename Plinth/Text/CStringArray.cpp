#include "Plinth/Text/CStringArray.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace Plinth {

struct CStringArray::Layout {
    static_assert(offsetof(CStringArray, items_) == 0 && offsetof(CStringArray, storage_) == sizeof(void*));
    static_assert(offsetof(CStringArray, count_) == 2 * sizeof(void*));
    static_assert(offsetof(CStringArray, capacity_) == 2 * sizeof(void*) + 4);
};

namespace {

constexpr std::uint32_t STRINGS_PER_PAGE = 32;

} // namespace

CStringArray::CStringArray() : storage_(std::make_unique<CPagedArray>(sizeof(CString), STRINGS_PER_PAGE)) {}

CStringArray::~CStringArray()
{
    Resize(0);
    delete[] items_;
}

void CStringArray::GrowItems(std::uint32_t count)
{
    if (capacity_ >= count) {
        return;
    }
    const auto newCapacity = static_cast<std::uint32_t>(
        std::clamp<std::uint64_t>(2 * std::uint64_t{capacity_}, count, UINT32_MAX));
    auto* const newItems = new CString*[newCapacity];
    std::copy(items_, items_ + count_, newItems);
    delete[] items_;
    items_ = newItems;
    capacity_ = newCapacity;
    storage_->EnsurePages(newCapacity);
}

void CStringArray::Resize(std::uint32_t count)
{
    GrowItems(count);
    for (std::uint32_t i = count_; i < count; ++i) {
        items_[i] = new (storage_->At(i)) CString;
    }
    for (std::uint32_t i = count; i < count_; ++i) {
        items_[i]->~CString();
    }
    count_ = count;
}

std::uint32_t CStringArray::FindContaining(const char* text, std::uint32_t start) const
{
    for (std::uint32_t i = start; i < count_; ++i) {
        if (items_[i]->Find(text, 0) != NOT_FOUND) {
            return i;
        }
    }
    return NOT_FOUND;
}

std::uint32_t CString::Split(const char* delimiters, CStringArray* pieces, std::uint32_t start) const
{
    if (pieces != nullptr) {
        pieces->Resize(0);
    }
    bool delimits[256] = {};
    for (const char* at = delimiters; !IsNullOrEmpty(at); ++at) {
        delimits[static_cast<unsigned char>(*at)] = true;
    }
    std::uint32_t count = 0;
    for (std::uint64_t i = start; i <= length_; ++i) {
        if (i != length_ && !delimits[static_cast<unsigned char>(text_[i])]) {
            continue;
        }
        if (start < i) {
            if (pieces != nullptr) {
                pieces->Resize(count + 1);
                const char* const piece = text_ + start;
                const std::uint32_t length = BoundedLength(piece, static_cast<std::uint32_t>(i - start));
                if (!pieces->GetAt(count)->AssignTrimmed(piece, length)) {
                    throw std::bad_alloc();
                }
            }
            ++count;
        }
        start = static_cast<std::uint32_t>(i + 1);
    }
    return count;
}

} // namespace Plinth
