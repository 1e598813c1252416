#include "Plinth/Text/CHashedTextSlots.h"

#include "Plinth/Debug/Allocation.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace Plinth {

static_assert(offsetof(CHashedText, hash) == 0 && offsetof(CHashedText, text) == sizeof(char*));

struct CHashedTextSlots::Layout {
    static_assert(offsetof(CHashedTextSlots, budget_) == 0 && offsetof(CHashedTextSlots, capacity_) == 4);
    static_assert(offsetof(CHashedTextSlots, flags_) == 8);
    static_assert(offsetof(CHashedTextSlots, keys_) == 8 + sizeof(void*));
};

namespace {

constexpr std::uint32_t SMALLEST_CAPACITY = 16;
constexpr std::uint32_t LARGEST_CAPACITY = 0x80000000;

void* ValueAt(void* values, std::uint32_t slot, std::size_t size)
{
    return static_cast<std::uint8_t*>(values) + slot * size;
}

} // namespace

bool CHashedText::operator==(const CHashedText& other) const
{
    return hash == other.hash && std::strcmp(text, other.text) == 0;
}

CHashedTextSlots::CHashedTextSlots(std::uint32_t capacity, std::size_t valueSize)
{
    const std::uint32_t slots =
        std::bit_ceil(std::clamp<std::uint32_t>(capacity, SMALLEST_CAPACITY, LARGEST_CAPACITY));
    const std::size_t valuesOffset = sizeof(CHashedText) * std::size_t{slots};
    void* const block = AllocateSummed(std::uint64_t{slots} * (sizeof(CHashedText) + valueSize + 1));
    if (block == nullptr) {
        return;
    }
    keys_ = static_cast<CHashedText*>(block);
    flags_ = static_cast<std::uint8_t*>(block) + valuesOffset + slots * valueSize;
    std::memset(flags_, 0, slots);
    capacity_ = slots;
    budget_ = static_cast<std::int32_t>(slots - slots / 4);
}

CHashedTextSlots::~CHashedTextSlots()
{
    FreeMemory(keys_);
}

// The first empty slot from here to the end of the table, or that end.
std::uint32_t CHashedTextSlots::FindEmpty(std::uint32_t slot) const
{
    const void* const found = std::memchr(flags_ + slot, 0, capacity_ - slot);
    return found != nullptr ? static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(found) - flags_)
                            : capacity_;
}

// The first slot from here on whose key has the hash, else the first empty one or the table's end. Texts of
// one pattern share their first slots, so that many keys of other hashes lie in the way.
std::uint32_t CHashedTextSlots::SkipOthers(std::uint32_t slot, std::uint32_t hash) const
{
    const auto hasHash = [hash](const CHashedText& key) { return key.hash == hash; };
    const CHashedText* const found = std::find_if(keys_ + slot, keys_ + FindEmpty(slot), hasHash);
    return static_cast<std::uint32_t>(found - keys_);
}

std::uint32_t CHashedTextSlots::FindSlot(const CHashedText& key) const
{
    if (keys_ == nullptr) {
        return 0;
    }
    std::uint32_t slot = SkipOthers(key.hash & (capacity_ - 1), key.hash);
    while (slot == capacity_ || (flags_[slot] != 0 && !(keys_[slot] == key))) {
        slot = SkipOthers(slot != capacity_ ? slot + 1 : 0, key.hash);
    }
    return slot;
}

// The keys of a table differ, so each goes to the first empty slot of its probe sequence.
std::uint32_t CHashedTextSlots::Take(const CHashedText& key)
{
    std::uint32_t slot = FindEmpty(key.hash & (capacity_ - 1));
    if (slot == capacity_) {
        slot = FindEmpty(0);
    }
    flags_[slot] = 1;
    keys_[slot] = key;
    --budget_;
    return slot;
}

bool CHashedTextSlots::Grow(std::size_t valueSize)
{
    CHashedTextSlots grown(2 * capacity_, valueSize);
    if (grown.capacity_ == 0) {
        return false;
    }
    for (std::uint32_t slot = 0; slot < capacity_; ++slot) {
        if (flags_[slot] != 0) {
            const std::uint32_t place = grown.Take(keys_[slot]);
            std::memcpy(ValueAt(grown.Values(), place, valueSize), ValueAt(Values(), slot, valueSize),
                        valueSize);
        }
    }
    Swap(grown);
    return true;
}

// The insertion that makes the table grow is not counted against the new budget.
std::uint32_t CHashedTextSlots::InsertAt(std::uint32_t slot, const CHashedText& key, std::size_t valueSize)
{
    const std::uint32_t capacityBefore = capacity_;
    if (keys_ == nullptr && !Grow(valueSize)) { // there was no memory when the table was made
        return NOT_FOUND;
    }
    if (budget_ > 1) {
        --budget_;
    } else if (!Grow(valueSize)) {
        return NOT_FOUND;
    }
    if (capacity_ != capacityBefore) {
        slot = FindSlot(key);
    }
    flags_[slot] = 1;
    keys_[slot] = key;
    return slot;
}

void CHashedTextSlots::Swap(CHashedTextSlots& other)
{
    std::swap(budget_, other.budget_);
    std::swap(capacity_, other.capacity_);
    std::swap(flags_, other.flags_);
    std::swap(keys_, other.keys_);
}

} // namespace Plinth
