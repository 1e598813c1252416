/// \class Plinth::CWideString
/// The library's wide string: the standard string of UTF-16 units with construction from UTF-8, printf-like
/// formatting and splitting. It adds no data and no virtual operation, so it stands wherever a standard wide
/// string does.
///
/// Positions are units; NOT_FOUND says that nothing was found. Bytes that are no UTF-8 become U+FFFD, as the
/// platform converts them. Lack of memory is the standard library's exception. A string is used by one thread
/// at a time.
#pragma once

#include "Platform/Win32.h"
#include "Plinth/Text/CString.h"

#include <cstdarg>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

namespace Plinth {

class CWideString : public std::basic_string<WCHAR> {
public:
    using Base = std::basic_string<WCHAR>; ///< what it is made of, and can be handed over as

    CWideString() = default;
    CWideString(LPCWSTR text);                ///< null gives the empty string
    CWideString(const Base& text);            ///< a copy
    explicit CWideString(std::uint32_t size); ///< empty, with room for `size` units
    CWideString(const char* utf8);            ///< null gives the empty string
    CWideString(const CString& utf8);         ///< up to its first zero

    ///@{
    /// A null wide pointer leaves the string unchanged, a null narrow one empties it.
    void Assign(LPCWSTR text, std::uint32_t count); ///< exactly `count` units, which must be readable
    CWideString& operator=(LPCWSTR text);
    CWideString& operator=(const Base& text);
    void AssignUtf8(const char* utf8, std::uint32_t byteCount); ///< 2 GiB and more give the empty string
    CWideString& operator=(const char* utf8);
    CWideString& operator=(const CString& utf8);
    ///@}

    ///@{
    /// Formatting in the dialect of the runtime's _vsnwprintf_s, within the string's capacity as it is: two
    /// of its units stay free, what does not fit is cut in silence, and with less than two to spare nothing
    /// is appended. Build the string with a size first. A null format, or one that the runtime refuses,
    /// appends nothing. The arguments may not point into the string.
    void AppendFormat(LPCWSTR format, ...);
    void AppendFormatV(LPCWSTR format, std::va_list arguments);
    void Format(LPCWSTR format, ...); ///< replaces the text
    void FormatV(LPCWSTR format, std::va_list arguments);
    ///@}

    /// Ends at the first zero. Throws std::out_of_range for a start behind the end.
    [[nodiscard]] CWideString Mid(std::uint32_t start, std::uint32_t count) const;

    /// A null needle is the empty text.
    [[nodiscard]] std::uint32_t Find(LPCWSTR needle, std::uint32_t start) const;

    ///@{
    /// Appends the pieces between the delimiters, empty ones included, each up to its first zero: always one
    /// more than there are delimiters. The string may not be one of the pieces'.
    void Split(WCHAR delimiter, std::list<CWideString>& pieces) const;
    void Split(WCHAR delimiter, std::vector<CWideString>& pieces) const;
    ///@}
};

static_assert(sizeof(CWideString) == sizeof(CWideString::Base));

} // namespace Plinth
