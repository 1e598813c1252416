// One shared, immutable copy of each distinct text, with its hash, for the life of the pool; and the two
// parts that the pool is made of, an arena for texts and a hash set of texts.
//
//     const char* const name = globalStringPool.Intern("Data")->text;   // the same pointer for the same text
//
// Nothing is ever removed. A pooled text never moves; a pair moves when the pool grows, so keep the text or
// the values of the pair rather than the pointer to it. Texts are not null. Where memory runs out, the
// failure is traced, null comes back and the object holds what it held before. None of this is safe for use
// by two threads at once.
#pragma once

#include "Plinth/Text/ZeroTerminatedText.h"

#include <cstddef>
#include <cstdint>

namespace Plinth {

// A text and its HashText. The text belongs to somebody else.
struct CHashedText {
    explicit CHashedText(const char* newText) : hash(HashText(newText)), text(newText) {}
    CHashedText(const char* newText, std::uint32_t newHash) : hash(newHash), text(newText) {}

    bool operator==(const CHashedText& other) const;

    std::uint32_t hash;
    const char* text;
};

// Packs texts into blocks and frees them all at once.
class CStringArena {
public:
    explicit CStringArena(std::uint32_t blockSize); // in bytes, the block's link included
    ~CStringArena();
    CStringArena(const CStringArena&) = delete;
    CStringArena& operator=(const CStringArena&) = delete;

    // The copy, which stays where it is; null when there is no memory. A text that does not fit into what is
    // left of the current block begins a new one, of its own size where it is longer than a block.
    const char* StoreText(const char* text);

    void ReleaseAll();

    // A place to go back to: what was stored since is forgotten.
    struct Mark;
    [[nodiscard]] Mark GetMark() const;
    void ReleaseTo(const Mark& mark);

private:
    struct Layout;

    [[nodiscard]] bool StartBlock(std::uint64_t textSize);

    char* current_ = nullptr; // the next free byte of the current block
    char* end_ = nullptr;
    std::uint32_t blockSize_;
    void* chain_ = nullptr; // the current block; each begins with a pointer to the one before
};

struct CStringArena::Mark {
    char* current;
    char* end;
    void* chain;
};

// A hash set of texts with open addressing and linear probing. It holds pairs; their texts are kept alive by
// others. A slot is good until the next insertion.
class CHashedTextSet {
public:
    explicit CHashedTextSet(std::uint32_t capacity = 16); // rounded up to a power of two, at least 16
    ~CHashedTextSet();
    CHashedTextSet(const CHashedTextSet&) = delete;
    CHashedTextSet& operator=(const CHashedTextSet&) = delete;

    // The slot of an equal key, or the empty one where the key would go.
    [[nodiscard]] std::uint32_t FindSlot(const CHashedText& key) const;

    // Null for an empty slot.
    [[nodiscard]] CHashedText* EntryAt(std::uint32_t slot) const;

    // Stores the key in the slot that FindSlot gave for it; an occupied slot stays as it is. The set may
    // grow, and the pair then lies in another slot. Gives the pair in the set; null: no memory.
    CHashedText* InsertAt(std::uint32_t slot, const CHashedText& key);

    // Both give the pair of an equal key where there is one.
    CHashedText* Insert(const CHashedText& key);
    CHashedText* FindOrInsert(const CHashedText& key);

    void Swap(CHashedTextSet& other);
    [[nodiscard]] std::uint32_t GetCapacity() const { return capacity_; } // 0 when there was no memory for it

private:
    struct Layout;

    [[nodiscard]] std::uint32_t FindEmpty(std::uint32_t slot) const;
    [[nodiscard]] std::uint32_t SkipOthers(std::uint32_t slot, std::uint32_t hash) const;
    [[nodiscard]] bool Grow();
    void Take(const CHashedText& key);

    std::int32_t budget_ = 0;       // how many more insertions until the set grows
    std::uint32_t capacity_ = 0;    // slots
    std::uint8_t* flags_ = nullptr; // a byte a slot: 0 empty, 1 occupied; in one block behind the entries
    CHashedText* entries_ = nullptr;
};

class CStringPool {
public:
    CStringPool();

    // The pair of the pooled copy.
    CHashedText* Intern(const CHashedText& key);
    CHashedText* Intern(const char* text);

    // Pools the caller's own text, which must outlive the pool, where there is no equal one.
    CHashedText* FindOrInsert(const CHashedText& key);

private:
    CStringArena arena_; // outlives the set
    CHashedTextSet set_;
};

static_assert(sizeof(CHashedText) == (sizeof(void*) == 4 ? 8 : 16));
static_assert(sizeof(CStringArena) == (sizeof(void*) == 4 ? 16 : 32));
static_assert(sizeof(CHashedTextSet) == (sizeof(void*) == 4 ? 16 : 24));

// The library's own pool: made before the entry point, destroyed when the process ends.
extern CStringPool globalStringPool;

} // namespace Plinth
