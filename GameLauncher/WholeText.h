// Conversions and joins that give the whole text or throw: half of a path names another file, and half of a
// key's name another game. Where memory runs out the library's strings would be short without a word.
#pragma once

#include "Plinth/Streams/Exceptions.h"
#include "Plinth/Text/CWideString.h"

inline Plinth::CString Narrow(LPCWSTR text)
{
    Plinth::CString narrow(text);
    if (narrow.IsEmpty() && *text != 0) {
        Plinth::ThrowOutOfMemory();
    }
    return narrow;
}

inline Plinth::CWideString Widen(const Plinth::CString& text)
{
    Plinth::CWideString wide(text);
    if (wide.empty() && !text.IsEmpty()) {
        Plinth::ThrowOutOfMemory();
    }
    return wide;
}

// The text and, unless it is empty or has one, a separator, with room for `more` bytes behind.
inline Plinth::CString WithTrailingSeparator(const Plinth::CString& text, std::uint32_t more)
{
    Plinth::CString separated;
    const std::uint64_t size = std::uint64_t{text.GetLength()} + more + 2;
    if (separated.GetBuffer(Plinth::SizeOrThrow(size)) == nullptr) {
        Plinth::ThrowOutOfMemory();
    }
    separated = text;
    separated.AddTrailingSeparator();
    return separated;
}
