/// \file
/// The versions that program files carry in their version resources.
#pragma once

#include "Platform/Win32.h"
#include "Plinth/Text/CString.h"

#include <cstdint>

namespace Plinth {

/// Four numbers of at most 65,535 each; all 0 where the file has no version resource.
struct FileVersion {
    std::uint32_t major;       ///< the first number
    std::uint32_t minor;       ///< the second
    std::uint32_t build;       ///< the third
    std::uint32_t privatePart; ///< the fourth

    friend bool operator==(const FileVersion& a, const FileVersion& b) = default; ///< all four
};

///@{
/// All 0 for whatever cannot be read as well. Lack of memory is thrown: "Out of memory!" for the resource,
/// std::bad_alloc for a path that is not wide.
FileVersion GetFileVersion(LPCWSTR path);
FileVersion GetFileVersion(const CString& path);
FileVersion GetModuleFileVersion(HMODULE module); ///< of a loaded module's file; null: of the program's
///@}

} // namespace Plinth
