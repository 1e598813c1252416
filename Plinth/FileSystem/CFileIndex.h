/// \class Plinth::CFileIndex
/// What a file system knows of the files below its root without asking the disk: a hash table from their
/// lower-case relative paths, such as "data\game.ini", to size, time and kind.
///
/// The texts of stored keys belong to the global string pool or somebody else who keeps them for longer than
/// the index. Pointers to entries are good until the next insertion.
#pragma once

#include "Plinth/Text/CHashedTextSlots.h"

#include <cstdint>

namespace Plinth {

constexpr std::uint32_t ENTRY_DIRECTORY = 1; ///< it is a folder
constexpr std::uint32_t ENTRY_STALE = 2;     ///< size and time have to be read again

/// What is known of a file.
struct CFileIndexEntry {
    std::uint32_t flags;       ///< ENTRY_DIRECTORY, ENTRY_STALE
    std::uint32_t size;        ///< the low 32 bits
    std::uint64_t time;        ///< of the last write, as IStream::GetTime
    std::uint32_t reserved[2]; ///< nobody reads it
};

class CFileIndex : public CHashedTextSlots {
public:
    CFileIndex(); ///< with room for 16 slots, or for none where there is no memory

    /// Null: not there.
    [[nodiscard]] CFileIndexEntry* Find(const CHashedText& key) const;

    /// The stored entry. Null: no memory, and the index is as it was.
    CFileIndexEntry* InsertOrAssign(const CHashedText& key, const CFileIndexEntry& entry);

    void ClearAll(); ///< keeps the slots, and grows as early as if they were still used

    bool Grow(); ///< to twice the slots; false: no memory, and the index is as it was

    void Swap(CFileIndex& other); ///< exchanges the contents

private:
    struct Layout;

    CFileIndexEntry* entries_; // one a slot
};

} // namespace Plinth
