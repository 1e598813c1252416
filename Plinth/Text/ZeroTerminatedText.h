/// \file
/// Functions over zero-terminated byte texts, caller-owned buffers and raw blocks: the bottom of the
/// library's text handling.
///
/// A buffer is a pointer and its size in bytes, terminator included; whatever is written into one is cut at
/// its size and terminated. Texts are shorter than 4 GiB. Bytes compare and fold as unsigned values. Nothing
/// here reports an error, keeps state or, but for the groups that say so, uses the heap; all functions may be
/// called from any thread. Where a text may be null it says so.
///
/// "ASCII folding" turns 'A' to 'Z' into 'a' to 'z' and leaves every other byte; "path folding" turns slashes
/// into backslashes as well.
#pragma once

#include "Platform/Win32.h"

#include <cstdarg>
#include <cstdint>
#include <cstring>

namespace Plinth {

///@{
/// The position that says that nothing was found, and the count that sets no limit.
inline constexpr std::uint32_t NOT_FOUND = 0xFFFFFFFF;
inline constexpr std::uint32_t NO_LIMIT = 0xFFFFFFFF;
///@}

// --- Memory probing

/// The largest size below 2 GiB that malloc can satisfy now, to within 1024 bytes; 0 when nothing can be had.
/// The heap is left as it was.
std::uint32_t LargestAllocatableBlock();

/// Writes that size and the message, which must not be null, as one line to standard output.
void PrintLargestAllocatableBlock(const char* message);

// --- Blocks. Both work on whole 8-byte words: a rest of fewer than 8 bytes stays as it is. They give the
// destination back. No alignment is needed; the blocks of OrBlock are the same or do not overlap.

/// ORs the source into the destination.
void* OrBlock(void* destination, const void* source, std::uint32_t byteCount);
void* ClearBlock(void* destination, std::uint32_t byteCount); ///< zeroes the destination

// --- Texts on the heap. The caller owns the block and gives it back with FreeText. Both throw
// std::bad_alloc.

/// A block of `size` bytes whose first and last byte are zero, the others undefined.
char* AllocateTextBuffer(std::uint32_t size);

/// A copy of at most `maximumLength` bytes of the text; null for a null text.
char* DuplicateText(const char* text, std::uint32_t maximumLength = NO_LIMIT);

void FreeText(char* block); ///< may be null

// --- Bounded copy and append. A null destination or a size of 0 is left alone.

/// Copies up to the source's end, at most `maximumCount` bytes. A null source is the empty text. The source
/// may lie in the destination.
void CopyText(char* destination, std::uint32_t size, const char* source,
              std::uint32_t maximumCount = NO_LIMIT);

/// The same behind the text in the buffer; nothing happens where that has no end within the size.
char* AppendText(char* destination, std::uint32_t size, const char* source,
                 std::uint32_t maximumCount = NO_LIMIT);

// --- Formatting into buffers, in the dialect of the runtime's _vsnprintf_s. One byte before the terminator
// is never used: at most size - 2 characters fit. What does not fit is cut in silence. The arguments may not
// point into the buffer. A null buffer or a size of 0 is left alone.

///@{
/// A null format gives the empty text.
[[gnu::format(printf, 3, 4)]] void FormatText(char* buffer, std::uint32_t size, const char* format, ...);
[[gnu::format(printf, 3, 0)]] void FormatTextV(char* buffer, std::uint32_t size, const char* format,
                                               std::va_list arguments);
///@}

///@{
/// Behind the text in the buffer. A null format, or a text that has no end within the size, is left alone.
[[gnu::format(printf, 3, 4)]] void AppendFormatText(char* buffer, std::uint32_t size, const char* format,
                                                    ...);
[[gnu::format(printf, 3, 0)]] void AppendFormatTextV(char* buffer, std::uint32_t size, const char* format,
                                                     std::va_list arguments);
///@}

// --- Edits in place; a null text is left alone.

char* ToLowerAscii(char* text);                           ///< ASCII folding; gives the text back
void ReplaceChar(char* text, char oldByte, char newByte); ///< every such byte

// --- Tests and searches

/// The text's length, at most `maximum`; 0 for a null text. No byte behind either is read.
inline std::uint32_t BoundedLength(const char* text, std::uint32_t maximum)
{
    if (text == nullptr) {
        return 0;
    }
    const void* const end = std::memchr(text, 0, maximum);
    return end != nullptr ? static_cast<std::uint32_t>(static_cast<const char*>(end) - text) : maximum;
}

bool StartsWith(const char* text, const char* prefix); ///< false when either is null
bool EndsWith(const char* text, const char* suffix);   ///< false when either is null

/// The byte's first position in the text, which must not be null. The terminator is never found.
std::uint32_t FindCharIndex(const char* text, char byte);

/// Counted texts, zeros included. They are read only when the lengths are equal and not 0.
inline bool EqualBytes(const char* a, std::uint32_t lengthA, const char* b, std::uint32_t lengthB)
{
    return lengthA == lengthB && (lengthA == 0 || std::memcmp(a, b, lengthA) == 0);
}

bool EqualBytesNoCase(const char* a, std::uint32_t lengthA, const char* b, std::uint32_t lengthB); ///< ASCII

// --- Path parts: positions inside the path itself; null for a null path.

///@{
/// The file name starts behind the last '\', '/' or ':'; the extension at the last '.' in the file name, or
/// at the terminator where that has none. Either result may be omitted by a null pointer.
void SplitPath(const char* path, const char** fileName, const char** extension);
void SplitPath(LPCWSTR path, LPCWSTR* fileName, LPCWSTR* extension);
const char* GetFileNamePart(const char* path);
LPCWSTR GetFileNamePart(LPCWSTR path);
const char* GetExtensionPart(const char* path);
///@}

/// Whether there is no text or none of length.
constexpr bool IsNullOrEmpty(const char* text)
{
    return text == nullptr || *text == 0;
}

/// "<NULL>" for a null text.
constexpr const char* TextOrNull(const char* text)
{
    return text != nullptr ? text : "<NULL>";
}

// --- Hashes: the ELF symbol hash with its bytes added as signed values, its 28 bits then spread over 32.
// They take at most `maximumCount` bytes. 0 means a null or empty text and nothing else; the first byte is
// read to tell, and nothing of a text that has one gives 1.

std::uint32_t HashText(const char* text, std::uint32_t maximumCount = NO_LIMIT); ///< of the bytes as they are
std::uint32_t HashTextNoCase(const char* text, std::uint32_t maximumCount = NO_LIMIT); ///< ASCII folding
std::uint32_t HashTextPath(const char* text, std::uint32_t maximumCount = NO_LIMIT);   ///< path folding

// --- Character folds, for operations that take one as a callback. A fold maps one byte to one byte.

using CharacterFold = char (*)(char); ///< gives the byte that takes the place of another

/// No fold.
constexpr char FoldNone(char byte)
{
    return byte;
}

/// ASCII letters to lower case.
constexpr char FoldLower(char byte)
{
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte;
}

/// '/' to '\\'.
constexpr char FoldSlash(char byte)
{
    return byte == '/' ? '\\' : byte;
}

/// Both.
constexpr char FoldPath(char byte)
{
    return FoldLower(FoldSlash(byte));
}

} // namespace Plinth
