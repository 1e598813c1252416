/// \file
/// Texts that are whole or are not: "Out of memory!" is thrown in their place. The library's strings say
/// nothing where they find no memory, and half a path names another file, half a key another value.
#pragma once

#include "Plinth/Streams/Exceptions.h"
#include "Plinth/Text/CString.h"
#include "Plinth/Text/CWideString.h"

#include <cstdint>
#include <string_view>

namespace Plinth {

/// Makes the text's block large enough for `size` bytes, terminator included.
inline void ReserveWhole(CString& text, std::uint64_t size)
{
    if (text.GetBuffer(SizeOrThrow(size)) == nullptr) {
        ThrowOutOfMemory();
    }
}

/// The bytes, of which there are less than 4 GiB. When it throws, the text is as it was.
inline void AssignWhole(CString& text, std::string_view bytes)
{
    const auto length = static_cast<std::uint32_t>(bytes.size());
    text.Assign(bytes.data(), length);
    if (text.GetLength() != length) {
        ThrowOutOfMemory();
    }
}

/// A copy of the bytes, of which there are less than 4 GiB.
inline CString CopyWhole(std::string_view bytes)
{
    CString copy;
    AssignWhole(copy, bytes);
    return copy;
}

/// A copy, embedded zeros included.
inline CString CopyWhole(const CString& text)
{
    return CopyWhole(std::string_view(text.CStr(), text.GetLength()));
}

/// See CString::Trim. The text has no zeros.
inline CString TrimWhole(const CString& text)
{
    CString trimmed = text.Trim();
    if (trimmed.IsEmpty() != text.IsEmpty()) {
        ThrowOutOfMemory();
    }
    return trimmed;
}

/// The text as UTF-8; it is not null.
inline CString NarrowWhole(LPCWSTR text)
{
    CString narrow(text);
    if (narrow.IsEmpty() != (*text == 0)) {
        ThrowOutOfMemory();
    }
    return narrow;
}

/// The text as UTF-16.
inline CWideString WidenWhole(const CString& text)
{
    CWideString wide(text);
    if (wide.empty() != text.IsEmpty()) {
        ThrowOutOfMemory();
    }
    return wide;
}

/// The text and, unless it is empty or has one, a separator; with room for `more` bytes behind.
inline CString WithTrailingSeparator(const CString& text, std::uint32_t more)
{
    CString separated;
    ReserveWhole(separated, std::uint64_t{text.GetLength()} + more + 2);
    separated = text;
    separated.AddTrailingSeparator();
    return separated;
}

} // namespace Plinth
