/// \class Plinth::CStringArray
/// A growable sequence of CString values. A string keeps its address for the life of the array, however often
/// the array grows and shrinks. Lack of memory is std::bad_alloc; the array then holds what it held before.
/// An array is used by one thread at a time.
#pragma once

#include "Plinth/Text/CPagedArray.h"
#include "Plinth/Text/CString.h"

#include <memory>

namespace Plinth {

class CStringArray {
public:
    CStringArray();
    ~CStringArray();
    CStringArray(const CStringArray&) = delete;
    CStringArray& operator=(const CStringArray&) = delete;

    /// New strings are empty.
    void Resize(std::uint32_t count);

    [[nodiscard]] std::uint32_t GetCount() const { return count_; } ///< how many strings there are

    /// The index is below the count.
    [[nodiscard]] CString* GetAt(std::uint32_t index) const { return items_[index]; }

    /// The first index from `start` on whose string contains the text; NOT_FOUND when there is none. An empty
    /// string contains nothing.
    [[nodiscard]] std::uint32_t FindContaining(const char* text, std::uint32_t start) const;

private:
    struct Layout;

    void GrowItems(std::uint32_t count);

    CString** items_ = nullptr;
    std::unique_ptr<CPagedArray> storage_;
    std::uint32_t count_ = 0;
    std::uint32_t capacity_ = 0;
};

static_assert(sizeof(CStringArray) == (sizeof(void*) == 4 ? 16 : 24));

} // namespace Plinth
