/// \class Plinth::CTextBuilder
/// Scratch buffers for composing texts quickly: CTextBuilder of bytes, CWideTextBuilder of UTF-16 units.
///
///     char buffer[512];
///     CTextBuilder path(buffer, sizeof(buffer));
///     path.Append("Data");
///     path.AppendChar('\\');
///     path.AppendFolded(name, FoldPath);
///
/// A builder begins in its owner's buffer and moves to the heap when that is outgrown. It frees nothing
/// before its end, so texts and pointers handed out earlier stay readable. Within its memory it keeps a stack
/// of frames: texts that were put aside while another one is built behind them.
///
/// Sizes, positions and counts are characters of the builder's width unless they are called bytes; NOT_FOUND
/// says that nothing was found. The current text is terminated after every operation. A null text appends
/// nothing. Texts to append may lie in the builder; arguments to format may not. A fold takes the bytes 0x00
/// to 0x7F of a narrow text and the units 0x00 to 0xFF of a wide one, and null means FoldNone.
///
/// Where memory runs out, the failure is traced and the texts stay as they were. A builder belongs to one
/// thread.
#pragma once

#include "Platform/Win32.h"
#include "Plinth/Text/ZeroTerminatedText.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>

namespace Plinth {

/// What the new text begins with.
enum PushMode : std::uint32_t {
    PUSH_EMPTY = 0, ///< the new text is empty
    PUSH_COPY = 1,  ///< it begins as a copy of the one put aside
};

/// What becomes of the text that is left.
enum PopMode : std::uint32_t {
    POP_DISCARD = 0,
    POP_REPLACE = 1, ///< it replaces the one below
    POP_APPEND = 2,  ///< it is appended to the one below
};

/// What both builders have; see there. Characters are bytes or UTF-16 units.
template <typename Character>
class CBasicTextBuilder {
public:
    CBasicTextBuilder(const CBasicTextBuilder&) = delete;
    CBasicTextBuilder& operator=(const CBasicTextBuilder&) = delete;

    /// Makes room for a text of `size` characters, terminator included. False: no memory.
    bool Reserve(std::uint32_t size);

    /// The current text; where there is memory, with room for one more character behind it.
    Character* GetText();

    /// Of the current text, without its terminator.
    [[nodiscard]] std::uint32_t GetLength() const { return length_; }
    /// From the current text to the end of its storage.
    [[nodiscard]] std::uint32_t GetCapacity() const { return capacity_; }

    ///@{
    /// All appends give the current text, which may have moved. One that finds no memory leaves the length as
    /// it was; reserve first where a text must be whole.
    Character* Append(const Character* text);
    Character* Append(const Character* text, std::uint32_t count); ///< exactly `count` characters
    Character* AppendChar(Character character);                    ///< a zero too
    ///@}

    /// A fold that gives zero for a character ends the append there.
    Character* AppendFolded(const Character* text, CharacterFold fold);

    /// Cuts the text, or fills it up with 'X'. A length with its top bit set is ignored.
    void SetLength(std::uint32_t length);

    void ApplyFold(CharacterFold fold); ///< to each character of the current text
    void MakeLower();                   ///< ASCII letters

    /// Puts the current text aside and gives a pointer to it; null, and nothing is put aside, where memory
    /// runs out.
    Character* PushFrame(PushMode mode);

    /// Goes back to the text put aside last, of which there must be one. Gives the new length.
    std::uint32_t PopFrame(PopMode mode);

    /// The first match in the current text. A null or empty pattern is found at 0 in an empty text and
    /// nowhere else.
    [[nodiscard]] std::uint32_t Find(const Character* pattern, CharacterFold fold) const;

    /// The last match, and else as Find.
    [[nodiscard]] std::uint32_t ReverseFind(const Character* pattern, CharacterFold fold) const;

    /// Copies the current text into a buffer of `byteSize` bytes, cut at its size and terminated. Gives the
    /// buffer; null, and nothing is written, where it is null or has no room for the terminator.
    Character* CopyOut(Character* buffer, std::uint32_t byteSize) const;

    /// The same for at most `count` characters from `start` on.
    Character* CopyOut(Character* buffer, std::uint32_t byteSize, std::uint32_t start,
                       std::uint32_t count) const;

    /// Frees every heap block. A builder that had moved to the heap is empty then, without frames, and its
    /// text is null until something is appended.
    void ReleaseBlocks();

protected:
    struct Layout;

    CBasicTextBuilder(Character* buffer, std::uint32_t size); ///< for the classes of either width
    ~CBasicTextBuilder();

    /// Moves to a block with room for so many characters; false: no memory.
    [[nodiscard]] bool Grow(std::uint64_t needed);
    [[nodiscard]] bool MakeRoom(std::uint64_t needed); ///< for so many characters in all; false: no memory
    [[nodiscard]] Character* End() { return text_ + length_; } ///< where the next character goes
    [[nodiscard]] std::uint32_t Spare() const { return capacity_ - length_; } ///< the room from there on
    /// As much of it as the platform's counts can say.
    [[nodiscard]] int SpareForPlatform() const
    {
        return Spare() < INT32_MAX ? static_cast<int>(Spare()) : INT32_MAX;
    }
    Character* TakeAppended(std::uint32_t count);        ///< so many characters have been written at the end
    Character* FinishAppend(std::uint32_t lengthBefore); ///< ends an append that began at this length
    Character* CutTo(std::uint32_t length);              ///< goes back to this length

    /// Appends by a copy function, which may find the text in the builder itself.
    template <typename Copy>
    Character* AppendParts(const Character* text, std::size_t count, Copy copy);

    void* chain_ = nullptr;    ///< the newest heap block; each begins with a pointer to the one before
    Character* text_;          ///< the current text
    Character* base_;          ///< the first frame in the current storage
    std::uint32_t length_ = 0; ///< see GetLength
    std::uint32_t capacity_;   ///< see GetCapacity
};

extern template class CBasicTextBuilder<char>;
extern template class CBasicTextBuilder<WCHAR>;

class CTextBuilder : public CBasicTextBuilder<char> {
public:
    /// The buffer stays the caller's and must outlive the builder; it has room for at least one character.
    CTextBuilder(char* buffer, std::uint32_t size);

    ///@{
    /// In the dialect of the runtime's formatting functions; a null format appends nothing.
    [[gnu::format(printf, 2, 3)]] char* AppendFormat(const char* format, ...);
    [[gnu::format(printf, 2, 0)]] char* AppendFormatV(const char* format, std::va_list arguments);
    ///@}

    ///@{
    /// UTF-16 as UTF-8.
    char* AppendWide(LPCWSTR text, std::uint32_t count);
    char* AppendWide(LPCWSTR text);
    ///@}
};

/// The builder of UTF-16 units.
class CWideTextBuilder : public CBasicTextBuilder<WCHAR> {
public:
    /// As above; the size is in bytes.
    CWideTextBuilder(LPWSTR buffer, std::uint32_t byteSize);

    ///@{
    /// UTF-8 as UTF-16.
    LPWSTR AppendUtf8(const char* text, std::uint32_t byteCount);
    LPWSTR AppendUtf8(const char* text);
    ///@}
};

static_assert(sizeof(CTextBuilder) == (sizeof(void*) == 4 ? 20 : 32));
static_assert(sizeof(CWideTextBuilder) == sizeof(CTextBuilder));

///@{
/// Whether the text begins with the pattern. Neither may be null.
bool MatchesAt(const char* text, const char* pattern, CharacterFold fold);
bool MatchesAt(LPCWSTR text, LPCWSTR pattern, CharacterFold fold);
///@}

} // namespace Plinth
