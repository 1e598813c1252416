/// \class Plinth::CString
/// The library's own string of 8-bit characters: one owned, zero-terminated block with its length and a
/// cached hash beside it. Text is bytes; where it meets wide text it is UTF-8.
///
/// Positions and counts are bytes below 4 GiB; NOT_FOUND says that nothing was found. Counted operations
/// carry embedded zeros along; the others stop at the first one. A null text reads as the empty text unless
/// it says otherwise. Case-insensitive operations fold ASCII letters only.
///
/// A string grows to exactly what is asked for, rounded up to a multiple of 8, and never shrinks. Who builds
/// a text from many pieces reserves first. Where memory runs out, the failure is traced and the string stays
/// as it was. A string is used by one thread at a time.
#pragma once

#include "Platform/Win32.h"
#include "Plinth/Debug/Allocation.h"
#include "Plinth/Text/ZeroTerminatedText.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>

namespace Plinth {

class CStringArray;

class CString {
public:
    CString() = default;
    CString(const char* text);                         ///< null gives the empty string
    CString(const char* text, std::uint32_t count);    ///< the smaller of the text's length and the count
    CString(const CString& other);                     ///< a copy, embedded zeros included
    CString(CString&& other) noexcept { Swap(other); } ///< takes the block
    explicit CString(std::uint32_t size);              ///< empty, with Reserve(size) done
    explicit CString(char) = delete;                   ///< a character is no size
    CString(LPCWSTR text); ///< UTF-16 up to its first zero; null gives the empty string
    CString(const std::basic_string<WCHAR>& text); ///< up to its first zero
    ~CString()
    {
        if (text_ != nullptr) {
            FreeMemory(text_);
        }
    }

    // --- The block

    /// Makes room for `size` bytes, terminator included.
    void Reserve(std::uint32_t size);

    void Clear(); ///< keeps the block
    void Free();  ///< gives it back

    ///@{
    /// The block, with room for `size` bytes, for the caller to write a text into; ReleaseBuffer then sets
    /// its length, which must be below the room. Null where memory ran out, or for a size of 0 without a
    /// block.
    [[nodiscard]] char* GetBuffer(std::uint32_t size);
    void ReleaseBuffer(std::uint32_t newLength);
    ///@}

    [[nodiscard]] std::uint32_t GetLength() const { return length_; } ///< in bytes, without the terminator
    [[nodiscard]] bool IsEmpty() const { return length_ == 0; }       ///< whether the length is 0
    [[nodiscard]] const char* CStr() const { return text_ != nullptr ? text_ : ""; } ///< never null
    /// Exchanges the contents, hashes included.
    void Swap(CString& other) noexcept
    {
        std::swap(text_, other.text_);
        std::swap(capacity_, other.capacity_);
        std::swap(length_, other.length_);
        std::swap(hash_, other.hash_);
    }
    friend void swap(CString& a, CString& b) noexcept { a.Swap(b); } ///< the same for algorithms

    // --- Assignment. The source may lie in the string's own block.

    ///@{
    /// Exactly `count` bytes, which must be readable; a prefix of the own text must lie within its length, or
    /// nothing happens. A count of 0 clears.
    void Assign(const char* text, std::uint32_t count);
    void Assign(const CString& other, std::uint32_t count);
    CString& operator=(const char* text); ///< null clears
    CString& operator=(const CString& other);
    ///@}

    ///@{
    /// UTF-16 up to the first zero. Null, or a text that cannot be converted, leaves the string empty.
    void AssignWide(LPCWSTR text);
    CString& operator=(LPCWSTR text);
    CString& operator=(const std::basic_string<WCHAR>& text);
    ///@}

    // --- Append and prepend. The source may lie in the string's own block. Prepending, even nothing, leaves
    // a block of just the size that the result needs.

    void Append(const char* text, std::uint32_t count);     ///< exactly `count` bytes, which must be readable
    void Append(const char* text);                          ///< up to its first zero
    void Append(const CString& other);                      ///< embedded zeros included
    void Append(const CString& other, std::uint32_t count); ///< at most the other's length
    CString& operator+=(const CString& other);              ///< as Append

    void Prepend(const char* text, std::uint32_t count); ///< the smaller of the text's length and the count
    void Prepend(const char* text);                      ///< up to its first zero
    void Prepend(const CString& other);                  ///< embedded zeros included
    void Prepend(const CString& other, std::uint32_t count); ///< at most the other's length

    // --- Formatting, in the dialect of the runtime's _vsnprintf_s, within the block as it is: reserve first.
    // What does not fit is cut in silence; a format that the runtime refuses appends nothing; without a block
    // nothing happens. The arguments may not point into the string's own text.

    [[gnu::format(printf, 2, 3)]] void AppendFormat(const char* format, ...); ///< behind the text
    /// Behind the text.
    [[gnu::format(printf, 2, 0)]] void AppendFormatV(const char* format, std::va_list arguments);
    [[gnu::format(printf, 2, 3)]] void Format(const char* format, ...); ///< replaces the text
    /// Replaces the text.
    [[gnu::format(printf, 2, 0)]] void FormatV(const char* format, std::va_list arguments);

    // --- Search

    ///@{
    /// The first match that begins at or after `start`. An empty needle is found there. A start that is not
    /// below the length finds nothing.
    [[nodiscard]] std::uint32_t Find(const char* needle, std::uint32_t start) const;
    [[nodiscard]] std::uint32_t Find(const CString& needle, std::uint32_t start) const;
    ///@}

    [[nodiscard]] std::uint32_t FindChar(char byte) const;        ///< a zero is found at the text's end
    [[nodiscard]] std::uint32_t ReverseFindChar(char byte) const; ///< the last one
    [[nodiscard]] std::uint32_t FindFirstNotOf(char byte) const;  ///< embedded zeros are bytes like others
    [[nodiscard]] std::uint32_t FindLastNotOf(char byte) const;   ///< the last one

    [[nodiscard]] bool Contains(const CString& needle) const; ///< false without a block
    ///@{
    /// Whether `count` bytes of the other text, or all of it, stand at this end, in whatever letter case.
    [[nodiscard]] bool StartsWithNoCase(const char* prefix, std::uint32_t count) const;
    [[nodiscard]] bool StartsWithNoCase(const CString& prefix) const;
    [[nodiscard]] bool EndsWithNoCase(const char* suffix, std::uint32_t count) const;
    [[nodiscard]] bool EndsWithNoCase(const CString& suffix) const;
    ///@}

    // --- Edits in place, up to the first zero. They leave the cached hash as it is.

    void Remove(char byte);                   ///< every such byte
    void Replace(char oldByte, char newByte); ///< every such byte
    void MakeLower();                         ///< ASCII letters

    /// Replaces the first occurrence. An embedded zero ends what is kept of the parts around it and what is
    /// put in place.
    void ReplaceFirst(const CString& from, const CString& to);

    // --- Derived strings

    /// At most `count` bytes from `start` on.
    [[nodiscard]] CString Mid(std::uint32_t start, std::uint32_t count) const;

    /// Without the blanks (0x20) at both ends. A text of nothing but blanks comes back unchanged.
    [[nodiscard]] CString Trim() const;

    /// Cuts the text from `start` on at every byte of the delimiters; gives the number of pieces that are not
    /// empty and, with an array, replaces its content by them, trimmed. The end of the text always delimits.
    /// The string may not be one of the array's. Throws std::bad_alloc where memory runs out; the array then
    /// holds the pieces so far.
    std::uint32_t Split(const char* delimiters, CStringArray* pieces, std::uint32_t start) const;

    // --- Paths

    /// Appends a backslash unless the text is empty or ends in '\', '/' or ':'.
    CString& AddTrailingSeparator();
    CString& RemoveTrailingSeparator(); ///< drops one '\' or '/'

    // --- Hash

    void ComputeHash();                                           ///< HashTextPath of the text
    [[nodiscard]] std::uint32_t GetHash() const { return hash_; } ///< 0: none computed since the last change

    /// The same bytes, whatever the hashes.
    friend bool operator==(const CString& a, const CString& b)
    {
        return EqualBytes(a.text_, a.length_, b.text_, b.length_);
    }

private:
    struct Layout;

    [[nodiscard]] bool MakeRoom(std::uint64_t size);
    [[nodiscard]] bool Owns(const char* text) const;
    void SetLength(std::uint32_t length);
    [[nodiscard]] bool AssignTrimmed(const char* text, std::uint32_t count);

    char* text_ = nullptr;
    std::uint32_t capacity_ = 0; // of the block, in bytes: 0 or a multiple of 8
    std::uint32_t length_ = 0;
    std::uint32_t hash_ = 0;
};

static_assert(sizeof(CString) == (sizeof(char*) == 4 ? 16 : 24));

bool operator<(const CString& a, const CString& b); ///< plain byte order
bool EqualsNoCase(const CString& a, const CString& b);
int Compare(const CString& a, const CString& b); ///< below 0, 0 or above 0
inline int CompareNoCase(const CString& a, const CString& b)
{
    return _stricmp(a.CStr(), b.CStr());
}

/// Reads words while the stream is good, and assigns them, joined by single blanks. White space at the end of
/// the stream leaves a blank at the end.
std::istream& operator>>(std::istream& stream, CString& string);

///@{
/// Appends a backslash to the text in a buffer of `size` bytes, unless the text is empty, ends in '\', '/' or
/// ':', or has no room left. Both give their buffer back and leave a null one alone.
char* AddTrailingBackslash(char* buffer, std::uint32_t size);
char* ToBackslashes(char* text);
///@}

} // namespace Plinth
