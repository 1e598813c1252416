#include "Plinth/FileSystem/CFileIndex.h"

#include <cstddef>
#include <cstring>
#include <utility>

namespace Plinth {

static_assert(offsetof(CFileIndexEntry, flags) == 0 && offsetof(CFileIndexEntry, size) == 4);
static_assert(offsetof(CFileIndexEntry, time) == 8 && offsetof(CFileIndexEntry, reserved) == 16);
static_assert(sizeof(CFileIndexEntry) == 24);

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
struct CFileIndex::Layout {
    static_assert(offsetof(CFileIndex, entries_) == sizeof(CHashedTextSlots));
    static_assert(sizeof(CFileIndex) == sizeof(CHashedTextSlots) + sizeof(void*));
};
#pragma GCC diagnostic pop

namespace {

constexpr std::uint32_t FIRST_CAPACITY = 16;

} // namespace

CFileIndex::CFileIndex()
    : CHashedTextSlots(FIRST_CAPACITY, sizeof(CFileIndexEntry)),
      entries_(static_cast<CFileIndexEntry*>(Values()))
{
}

CFileIndexEntry* CFileIndex::Find(const CHashedText& key) const
{
    const std::uint32_t slot = FindSlot(key);
    return IsUsed(slot) ? &entries_[slot] : nullptr;
}

CFileIndexEntry* CFileIndex::InsertOrAssign(const CHashedText& key, const CFileIndexEntry& entry)
{
    std::uint32_t slot = FindSlot(key);
    if (!IsUsed(slot)) {
        slot = InsertAt(slot, key, sizeof(CFileIndexEntry));
        if (slot == NOT_FOUND) {
            return nullptr;
        }
        entries_ = static_cast<CFileIndexEntry*>(Values());
    }
    entries_[slot] = entry;
    return &entries_[slot];
}

void CFileIndex::ClearAll()
{
    if (capacity_ != 0) {
        std::memset(flags_, 0, capacity_);
    }
}

bool CFileIndex::Grow()
{
    const bool grown = CHashedTextSlots::Grow(sizeof(CFileIndexEntry));
    entries_ = static_cast<CFileIndexEntry*>(Values());
    return grown;
}

void CFileIndex::Swap(CFileIndex& other)
{
    CHashedTextSlots::Swap(other);
    std::swap(entries_, other.entries_);
}

} // namespace Plinth
