#include "Plinth/Text/CStringPool.h"

#include "Plinth/Debug/Allocation.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Plinth {

struct CStringArena::Layout {
    static_assert(offsetof(CStringArena, current_) == 0 && offsetof(CStringArena, end_) == sizeof(char*));
    static_assert(offsetof(CStringArena, blockSize_) == 2 * sizeof(char*));
    static_assert(offsetof(CStringArena, chain_) == 3 * sizeof(char*));
};

namespace {

constexpr std::uint32_t POOL_BLOCK_SIZE = 4096;

void* BlockBefore(const void* block)
{
    void* before;
    std::memcpy(&before, block, sizeof(before));
    return before;
}

} // namespace

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

CHashedText* CHashedTextSet::InsertAt(std::uint32_t slot, const CHashedText& key)
{
    return EntryAt(IsUsed(slot) ? slot : CHashedTextSlots::InsertAt(slot, key, 0));
}

CHashedText* CHashedTextSet::Insert(const CHashedText& key)
{
    return InsertAt(FindSlot(key), key);
}

CHashedText* CHashedTextSet::FindOrInsert(const CHashedText& key)
{
    return Insert(key);
}

CStringPool::CStringPool() : arena_(POOL_BLOCK_SIZE) {}

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
