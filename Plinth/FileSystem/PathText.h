// Paths on their way to the platform: composed on the stack, on the heap only where they are longer. A path
// is whole or "Out of memory!" is thrown: half of one would name another file.
#pragma once

#include "Plinth/Streams/Exceptions.h"
#include "Plinth/Text/CTextBuilder.h"

#include <cstddef>
#include <cstdint>

namespace Plinth {

// Makes room for `size` more characters, their terminator included.
template <typename Character>
void ReserveOrThrow(CBasicTextBuilder<Character>& builder, std::uint64_t size)
{
    // A builder keeps a character to spare.
    if (!builder.Reserve(SizeOrThrow(size + builder.GetLength() + 1))) {
        ThrowOutOfMemory();
    }
}

// The buffer of a builder has to be there before the builder.
template <typename Character, std::size_t SIZE>
struct CPathBuffer {
    Character characters[SIZE];
};

// A text of UTF-8.
class CPathText : private CPathBuffer<char, 512>, public CTextBuilder {
public:
    CPathText() : CTextBuilder(characters, sizeof(characters)) {}
};

// The same text as UTF-16.
class CWidePathText : private CPathBuffer<WCHAR, 256>, public CWideTextBuilder {
public:
    CWidePathText(const char* text, std::uint32_t length) : CWideTextBuilder(characters, sizeof(characters))
    {
        ReserveOrThrow(*this, std::uint64_t{length} + 1);
        AppendUtf8(text, length);
    }
    explicit CWidePathText(CTextBuilder& text) : CWidePathText(text.GetText(), text.GetLength()) {}
};

} // namespace Plinth
