/// \class Plinth::CFileSearch
/// A search of the platform for files, as an object.
///
///     for (CFileSearch search(pattern); search.IsFound(); search.Next()) {
///         Use(search.Name());
///     }
#pragma once

#include "Platform/Win32.h"

#include <cstdint>
#include <string_view>

namespace Plinth {

class CFileSearch {
public:
    /// Looks for the first match; the last part of the pattern may have wildcards.
    explicit CFileSearch(LPCWSTR pattern) : handle_(FindFirstFileW(pattern, &found_)) {}
    ~CFileSearch()
    {
        if (handle_ != INVALID_HANDLE_VALUE) {
            FindClose(handle_);
        }
    }
    CFileSearch(const CFileSearch&) = delete;
    CFileSearch& operator=(const CFileSearch&) = delete;

    [[nodiscard]] bool IsFound() const { return isFound_; } ///< false: there is no further match
    /// Goes to the next match; there must be one now.
    void Next() { isFound_ = FindNextFileW(handle_, &found_) != FALSE; }

    // --- What was found

    [[nodiscard]] LPCWSTR Name() const { return found_.cFileName; } ///< without its folder; good until Next
    /// By the same units, letter case included.
    [[nodiscard]] bool IsNamed(std::basic_string_view<WCHAR> name) const { return name == found_.cFileName; }
    /// Whether it is a folder.
    [[nodiscard]] bool IsDirectory() const
    {
        return (found_.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    }
    [[nodiscard]] std::uint32_t Size() const { return found_.nFileSizeLow; } ///< the low 32 bits
    [[nodiscard]] std::uint64_t Time() const ///< of the last write, as IStream::GetTime
    {
        return std::uint64_t{found_.ftLastWriteTime.dwHighDateTime} << 32 |
               found_.ftLastWriteTime.dwLowDateTime;
    }

private:
    WIN32_FIND_DATAW found_; // before the handle, whose making fills it
    HANDLE handle_;
    bool isFound_ = handle_ != INVALID_HANDLE_VALUE;
};

} // namespace Plinth
