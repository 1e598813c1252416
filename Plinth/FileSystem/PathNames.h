/// \file
/// The parts of a path as texts of their own: "C:\a\b.tar.gz" is in the directory "C:\a\" and has the file
/// name "b.tar.gz", the extension ".gz" and the title "b.tar". The file name starts behind the last '\', '/'
/// or ':', the extension at its last '.'.
///
/// Each function gives back what it fills. A null path gives the empty text. A buffer has room for `size`
/// bytes, terminator included, and what does not fit is cut; a null one, or one of size 0, is left alone. A
/// string may be the path's own; where memory runs out it stays as it was.
#pragma once

#include "Plinth/Text/CString.h"

#include <cstdint>

namespace Plinth {

/// Up to the last separator, which it keeps.
char* GetPathDirectory(char* buffer, std::uint32_t size, const char* path);
CString& GetPathDirectory(CString& directory, const CString& path); ///< the same as a string

/// What is behind the last separator.
char* GetPathFileName(char* buffer, std::uint32_t size, const char* path);

char* GetPathExtension(char* buffer, std::uint32_t size, const char* path); ///< with its dot

char* GetPathTitle(char* buffer, std::uint32_t size,
                   const char* path);                       ///< the file name without the extension
CString& GetPathTitle(CString& title, const CString& path); ///< the same as a string

} // namespace Plinth
