/// \class Plinth::CHashedTextSlots
/// The slots of hash tables whose keys are texts: open addressing with linear probing, and growth by a budget
/// of insertions that leaves at least a quarter of the slots free. CHashedTextSet and CFileIndex are made of
/// it; what a table keeps beside its keys lies in the same block.
///
/// Where memory runs out, the failure is traced and the table holds what it held before.
#pragma once

#include "Plinth/Text/ZeroTerminatedText.h"

#include <cstddef>
#include <cstdint>

namespace Plinth {

/// A text and its HashText. The text belongs to somebody else.
struct CHashedText {
    /// Computes the hash; the text is not null.
    explicit CHashedText(const char* newText) : hash(HashText(newText)), text(newText) {}
    /// For a hash that is known.
    CHashedText(const char* newText, std::uint32_t newHash) : hash(newHash), text(newText) {}

    bool operator==(const CHashedText& other) const; ///< equal hashes and bytes

    std::uint32_t hash; ///< HashText of the text
    const char* text;   ///< zero-terminated
};

static_assert(sizeof(CHashedText) == (sizeof(void*) == 4 ? 8 : 16));

class CHashedTextSlots {
public:
    CHashedTextSlots(const CHashedTextSlots&) = delete;
    CHashedTextSlots& operator=(const CHashedTextSlots&) = delete;

    /// The slot of an equal key, or the empty one where the key would go.
    [[nodiscard]] std::uint32_t FindSlot(const CHashedText& key) const;

    [[nodiscard]] std::uint32_t GetCapacity() const
    {
        return capacity_;
    } ///< 0 when there was no memory for it

protected:
    struct Layout;

    /// The capacity is rounded up to a power of two, at least 16; a value of `valueSize` bytes belongs to
    /// each slot. The size is the same in all calls for a table.
    CHashedTextSlots(std::uint32_t capacity, std::size_t valueSize);
    ~CHashedTextSlots();

    /// Whether a key lies there.
    [[nodiscard]] bool IsUsed(std::uint32_t slot) const { return slot < capacity_ && flags_[slot] != 0; }

    /// Stores the key in the empty slot that FindSlot gave for it, or in another one where that makes the
    /// table grow, and gives the slot; NOT_FOUND: no memory. The values move along with their keys.
    [[nodiscard]] std::uint32_t InsertAt(std::uint32_t slot, const CHashedText& key, std::size_t valueSize);

    [[nodiscard]] bool Grow(std::size_t valueSize); ///< to twice the slots
    void Swap(CHashedTextSlots& other);             ///< exchanges the contents

    /// The values lie between the keys and the flags.
    [[nodiscard]] void* Values() const { return keys_ + capacity_; }

    std::int32_t budget_ = 0;       ///< how many more insertions until the table grows
    std::uint32_t capacity_ = 0;    ///< slots
    std::uint8_t* flags_ = nullptr; ///< a byte a slot: 0 empty, 1 used
    CHashedText* keys_ = nullptr;   ///< the block

private:
    [[nodiscard]] std::uint32_t FindEmpty(std::uint32_t slot) const;
    [[nodiscard]] std::uint32_t SkipOthers(std::uint32_t slot, std::uint32_t hash) const;
    std::uint32_t Take(const CHashedText& key);
};

} // namespace Plinth
