/// \class Plinth::CStringPool
/// One shared, immutable copy of each distinct text, with its hash, for the life of the pool; and the two
/// parts that the pool is made of, an arena for texts and a hash set of texts.
///
///     const char* const name = globalStringPool.Intern("Data")->text;   // the same pointer for the same
///     text
///
/// Nothing is ever removed. A pooled text never moves; a pair moves when the pool grows, so keep the text or
/// the values of the pair rather than the pointer to it. Texts are not null. Where memory runs out, the
/// failure is traced, null comes back and the object holds what it held before. None of this is safe for use
/// by two threads at once.
#pragma once

#include "Plinth/Text/CHashedTextSlots.h"

#include <cstddef>
#include <cstdint>

namespace Plinth {

/// Packs texts into blocks and frees them all at once.
class CStringArena {
public:
    explicit CStringArena(std::uint32_t blockSize); ///< in bytes, the block's link included
    ~CStringArena();
    CStringArena(const CStringArena&) = delete;
    CStringArena& operator=(const CStringArena&) = delete;

    /// The copy, which stays where it is; null when there is no memory. A text that does not fit into what is
    /// left of the current block begins a new one, of its own size where it is longer than a block.
    const char* StoreText(const char* text);

    void ReleaseAll(); ///< frees every block: the texts are gone

    struct Mark;
    [[nodiscard]] Mark GetMark() const; ///< a place to go back to
    void ReleaseTo(const Mark& mark);   ///< what was stored since the mark is forgotten

private:
    struct Layout;

    [[nodiscard]] bool StartBlock(std::uint64_t textSize);

    char* current_ = nullptr; // the next free byte of the current block
    char* end_ = nullptr;
    std::uint32_t blockSize_;
    void* chain_ = nullptr; // the current block; each begins with a pointer to the one before
};

/// How full an arena was.
struct CStringArena::Mark {
    char* current; ///< the next free byte
    char* end;     ///< of the current block
    void* chain;   ///< the current block
};

/// A hash set of texts. It holds pairs; their texts are kept alive by others. A slot is good until the next
/// insertion.
class CHashedTextSet : public CHashedTextSlots {
public:
    /// In slots; rounded up to a power of two.
    explicit CHashedTextSet(std::uint32_t capacity = 16) : CHashedTextSlots(capacity, 0) {}

    /// Null for an empty slot.
    [[nodiscard]] CHashedText* EntryAt(std::uint32_t slot) const
    {
        return IsUsed(slot) ? &keys_[slot] : nullptr;
    }

    /// Stores the key in the slot that FindSlot gave for it; an occupied slot stays as it is. The set may
    /// grow, and the pair then lies in another slot. Gives the pair in the set; null: no memory.
    CHashedText* InsertAt(std::uint32_t slot, const CHashedText& key);

    ///@{
    /// Both give the pair of an equal key where there is one.
    CHashedText* Insert(const CHashedText& key);
    CHashedText* FindOrInsert(const CHashedText& key);
    ///@}

    void Swap(CHashedTextSet& other) { CHashedTextSlots::Swap(other); } ///< exchanges the contents
};

class CStringPool {
public:
    CStringPool();

    ///@{
    /// The pair of the pooled copy.
    CHashedText* Intern(const CHashedText& key);
    CHashedText* Intern(const char* text);
    ///@}

    /// Pools the caller's own text, which must outlive the pool, where there is no equal one.
    CHashedText* FindOrInsert(const CHashedText& key);

private:
    CStringArena arena_; // outlives the set
    CHashedTextSet set_;
};

static_assert(sizeof(CStringArena) == (sizeof(void*) == 4 ? 16 : 32));
static_assert(sizeof(CHashedTextSet) == (sizeof(void*) == 4 ? 16 : 24));

/// The library's own pool: made before the entry point, destroyed when the process ends.
extern CStringPool globalStringPool;

} // namespace Plinth
