/// \file
/// The exceptions with which the library reports failure, and what throws them. They are thrown by value.
/// Where no memory is left for a message, the exception comes with what there is of it.
#pragma once

#include "Platform/Win32.h"
#include "Plinth/Text/CString.h"

#include <cstdint>

namespace Plinth {

/// What a person is told, and where it was thrown.
class CException {
public:
    ///@{
    /// The source is a text of static life, or null; a null message is the empty one.
    explicit CException(const char* newMessage, const char* newSource = nullptr, std::uint32_t newLine = 0);
    explicit CException(const CString& newMessage, const char* newSource = nullptr,
                        std::uint32_t newLine = 0);
    CException(const CException& other) = default;
    CException& operator=(const CException& other) = default;
    virtual ~CException() = default;
    ///@}

    CString message;    ///< what a person is shown
    const char* source; ///< where it was thrown; null: not told
    std::uint32_t line; ///< beside the source; 0: not told

private:
    struct Layout;
};

/// What kind of failure it is, for a caller who goes on in one case and not in another.
enum CFileError : std::uint32_t {
    FILE_ERROR_NONE = 0, ///< the platform failed without an error code
    FILE_ERROR_GENERIC = 1,
    FILE_ERROR_NOT_FOUND = 2, ///< the file or a folder of its path
    FILE_ERROR_END_OF_FILE = 3,
    FILE_ERROR_INVALID = 4, ///< for callers; the library throws none
    FILE_ERROR_MODE = 5,    ///< reading what was opened for writing, or the other way round
};

/// The message follows from kind and name.
class CFileException : public CException {
public:
    explicit CFileException(CFileError newKind);                      ///< without a name
    CFileException(CFileError newKind, const CString& newFileName);   ///< the name may be empty
    CFileException(CFileError newKind, const char* newFileName);      ///< a null name is the empty one
    CFileException(const CFileException& other) = default;            ///< the copy owns its texts
    CFileException& operator=(const CFileException& other) = default; ///< the copy owns its texts
    ~CFileException() override = default;

    CFileError kind;  ///< what a program asks
    CString fileName; ///< the path or the stream's name; may be empty

private:
    struct Layout;

    void BuildMessage();
};

[[nodiscard]] CFileError FileErrorFromWin32(DWORD error); ///< the kind that a last error of the platform is

/// A CFileException of the kind that the last error is.
[[noreturn]] void ThrowFileError(DWORD error, const CString& name);
[[noreturn]] void ThrowEndOfFile(const CString& name); ///< a CFileException of FILE_ERROR_END_OF_FILE

/// The message is formatted in the dialect of the runtime's _vsnprintf_s and cut at 4094 characters. A null
/// format gives an empty message.
[[noreturn]] [[gnu::format(printf, 1, 2)]] void ThrowException(const char* format, ...);

/// The exception of an exhausted heap: "Out of memory!". The failure has been traced by then.
[[noreturn]] void ThrowOutOfMemory();

/// A size that was summed in 64 bits, as the 32 bits that sizes have. One that is larger cannot be had: it is
/// reported as the largest, and "Out of memory!" is thrown.
[[nodiscard]] std::uint32_t SizeOrThrow(std::uint64_t size);

/// A block of at least `size` bytes, uninitialised, never null, to be given back with FreeMemory or free.
/// Where the heap has none, ReportAllocationFailure runs and "Out of memory!" is thrown.
[[nodiscard]] void* AllocateMemoryOrThrow(std::uint32_t size);

} // namespace Plinth
