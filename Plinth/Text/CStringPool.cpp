#include "Plinth/Text/CStringPool.h"

#include "Plinth/Debug/Allocation.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace Plinth {

static_assert(offsetof(CHashedText, hash) == 0 && offsetof(CHashedText, text) == sizeof(char*));

struct CStringArena::Layout {
    static_assert(offsetof(CStringArena, current_) == 0 && offsetof(CStringArena, end_) == sizeof(char*));
    static_assert(offsetof(CStringArena, blockSize_) == 2 * sizeof(char*));
    static_assert(offsetof(CStringArena, chain_) == 3 * sizeof(char*));
};

struct CHashedTextSet::Layout {
    static_assert(offsetof(CHashedTextSet, budget_) == 0 && offsetof(CHashedTextSet, capacity_) == 4);
    static_assert(offsetof(CHashedTextSet, flags_) == 8);
    static_assert(offsetof(CHashedTextSet, entries_) == 8 + sizeof(void*));
};

namespace {

constexpr std::uint32_t POOL_BLOCK_SIZE = 4096;
constexpr std::uint32_t SMALLEST_CAPACITY = 16;
constexpr std::uint32_t LARGEST_CAPACITY = 0x80000000;

void* BlockBefore(const void* block)
{
    void* before;
    std::memcpy(&before, block, sizeof(before));
    return before;
}

} // namespace

bool CHashedText::operator==(const CHashedText& other) const
{
    return hash == other.hash && std::strcmp(text, other.text) == 0;
}

CStringArena::CStringArena(std::uint32_t blockSize) : blockSize_(blockSize) {}

CStringArena::~CStringArena()
{
    ReleaseAll();
}

bool CStringArena::StartBlock(std::uint64_t textSize)
{
    const std::uint64_t size = std::max<std::uint64_t>(textSize + sizeof(chain_), blockSize_);
    auto* const block = static_cast<char*>(AllocateSummed(size));
    if (block == nullptr) {
        return false;
    }
    std::memcpy(block, &chain_, sizeof(chain_));
    chain_ = block;
    current_ = block + sizeof(chain_);
    end_ = block + size;
    return true;
}

const char* CStringArena::StoreText(const char* text)
{
    const std::size_t size = std::strlen(text) + 1;
    if (size > static_cast<std::size_t>(end_ - current_) && !StartBlock(size)) {
        return nullptr;
    }
    const char* const copy = current_;
    std::memcpy(current_, text, size);
    current_ += size;
    return copy;
}

void CStringArena::ReleaseAll()
{
    ReleaseTo({});
}

CStringArena::Mark CStringArena::GetMark() const
{
    return {current_, end_, chain_};
}

void CStringArena::ReleaseTo(const Mark& mark)
{
    while (chain_ != mark.chain) {
        FreeMemory(std::exchange(chain_, BlockBefore(chain_)));
    }
    current_ = mark.current;
    end_ = mark.end;
}

CHashedTextSet::CHashedTextSet(std::uint32_t capacity)
{
    const std::uint32_t slots =
        std::bit_ceil(std::clamp<std::uint32_t>(capacity, SMALLEST_CAPACITY, LARGEST_CAPACITY));
    void* const block = AllocateSummed(std::uint64_t{slots} * (sizeof(CHashedText) + 1));
    if (block == nullptr) {
        return;
    }
    entries_ = static_cast<CHashedText*>(block);
    flags_ = reinterpret_cast<std::uint8_t*>(entries_ + slots);
    std::memset(flags_, 0, slots);
    capacity_ = slots;
    budget_ = static_cast<std::int32_t>(slots - slots / 4);
}

CHashedTextSet::~CHashedTextSet()
{
    FreeMemory(entries_);
}

// The first empty slot from here to the end of the table, or that end.
std::uint32_t CHashedTextSet::FindEmpty(std::uint32_t slot) const
{
    const void* const found = std::memchr(flags_ + slot, 0, capacity_ - slot);
    return found != nullptr ? static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(found) - flags_)
                            : capacity_;
}

// The first slot, up to the same, whose pair has the hash. Texts of one pattern share their first slots, so
// that many pairs of other hashes lie in the way.
std::uint32_t CHashedTextSet::SkipOthers(std::uint32_t slot, std::uint32_t hash) const
{
    const auto hasHash = [hash](const CHashedText& entry) { return entry.hash == hash; };
    const CHashedText* const found = std::find_if(entries_ + slot, entries_ + FindEmpty(slot), hasHash);
    return static_cast<std::uint32_t>(found - entries_);
}

std::uint32_t CHashedTextSet::FindSlot(const CHashedText& key) const
{
    if (entries_ == nullptr) {
        return 0;
    }
    std::uint32_t slot = SkipOthers(key.hash & (capacity_ - 1), key.hash);
    while (slot == capacity_ || (flags_[slot] != 0 && !(entries_[slot] == key))) {
        slot = SkipOthers(slot != capacity_ ? slot + 1 : 0, key.hash);
    }
    return slot;
}

CHashedText* CHashedTextSet::EntryAt(std::uint32_t slot) const
{
    return slot < capacity_ && flags_[slot] != 0 ? &entries_[slot] : nullptr;
}

// The pairs of a set differ, so each goes to the first empty slot of its probe sequence.
void CHashedTextSet::Take(const CHashedText& key)
{
    std::uint32_t slot = FindEmpty(key.hash & (capacity_ - 1));
    if (slot == capacity_) {
        slot = FindEmpty(0);
    }
    flags_[slot] = 1;
    entries_[slot] = key;
    --budget_;
}

bool CHashedTextSet::Grow()
{
    CHashedTextSet grown(2 * capacity_);
    if (grown.capacity_ == 0) {
        return false;
    }
    for (std::uint32_t slot = 0; slot < capacity_; ++slot) {
        if (flags_[slot] != 0) {
            grown.Take(entries_[slot]);
        }
    }
    Swap(grown);
    return true;
}

// The insertion that makes the set grow is not counted against the new budget.
CHashedText* CHashedTextSet::InsertAt(std::uint32_t slot, const CHashedText& key)
{
    if (CHashedText* const entry = EntryAt(slot); entry != nullptr) {
        return entry;
    }
    const std::uint32_t capacityBefore = capacity_;
    if (entries_ == nullptr && !Grow()) { // there was no memory when the set was made
        return nullptr;
    }
    if (budget_ > 1) {
        --budget_;
    } else if (!Grow()) {
        return nullptr;
    }
    if (capacity_ != capacityBefore) {
        slot = FindSlot(key);
    }
    flags_[slot] = 1;
    entries_[slot] = key;
    return &entries_[slot];
}

CHashedText* CHashedTextSet::Insert(const CHashedText& key)
{
    return InsertAt(FindSlot(key), key);
}

CHashedText* CHashedTextSet::FindOrInsert(const CHashedText& key)
{
    return Insert(key);
}

void CHashedTextSet::Swap(CHashedTextSet& other)
{
    std::swap(budget_, other.budget_);
    std::swap(capacity_, other.capacity_);
    std::swap(flags_, other.flags_);
    std::swap(entries_, other.entries_);
}

CStringPool::CStringPool() : arena_(POOL_BLOCK_SIZE), set_(SMALLEST_CAPACITY) {}

// A copy that finds no place in the set is taken back.
CHashedText* CStringPool::Intern(const CHashedText& key)
{
    const std::uint32_t slot = set_.FindSlot(key);
    if (CHashedText* const entry = set_.EntryAt(slot); entry != nullptr) {
        return entry;
    }
    const CStringArena::Mark mark = arena_.GetMark();
    const char* const copy = arena_.StoreText(key.text);
    if (copy == nullptr) {
        return nullptr;
    }
    CHashedText* const entry = set_.InsertAt(slot, {copy, key.hash});
    if (entry == nullptr) {
        arena_.ReleaseTo(mark);
    }
    return entry;
}

CHashedText* CStringPool::Intern(const char* text)
{
    return Intern(CHashedText(text));
}

CHashedText* CStringPool::FindOrInsert(const CHashedText& key)
{
    return set_.FindOrInsert(key);
}

CStringPool globalStringPool;

} // namespace Plinth
