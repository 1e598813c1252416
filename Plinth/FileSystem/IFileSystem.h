/// \file
/// The door to files by name.
///
/// Paths are UTF-8, relative to the file system's root; '/' and '\' both separate. Open modes are words of
/// Plinth/Streams/OpenMode.h. But for OpenStream and LoadFile, a failure of the platform is told by the
/// result or not at all. Lack of memory throws everywhere, "Out of memory!" or std::bad_alloc; only the name
/// of a stream may quietly stay empty for it. A file system is used by one thread at a time.
#pragma once

#include "Platform/Win32.h"
#include "Plinth/Streams/CMemoryStream.h"
#include "Plinth/Streams/OpenMode.h"
#include "Plinth/Text/CString.h"

#include <cstdint>
#include <set>

namespace Plinth {

/// What is known of a path.
struct CFileInfo {
    CFileInfo() = default; ///< nothing is there
    /// Something is there.
    CFileInfo(bool newExists, bool newIsDirectory, std::uint32_t newSize, std::uint64_t newTime)
        : time(newTime), size(newSize), exists(newExists), isDirectory(newIsDirectory)
    {
    }

    [[nodiscard]] bool Exists() const { return exists; }           ///< whether anything is there
    [[nodiscard]] bool IsDirectory() const { return isDirectory; } ///< whether that is a folder

    std::uint64_t time = 0;   ///< of the last write, as IStream::GetTime
    std::uint32_t size = 0;   ///< the low 32 bits
    bool exists = false;      ///< see Exists
    bool isDirectory = false; ///< see IsDirectory
};

///@{
/// Flags of ListDirectory.
constexpr std::uint32_t LIST_NO_DIRECTORIES = 1;
constexpr std::uint32_t LIST_NO_FILES = 2;
///@}

/// The order of the operations is fixed: programs built apart from the library call through it.
class IFileSystem {
public:
    IFileSystem() = default;
    IFileSystem(const IFileSystem&) = delete;
    IFileSystem& operator=(const IFileSystem&) = delete;
    virtual ~IFileSystem() = default;

    /// Adds the names of the directory's entries, without "." and "..". A directory that cannot be listed
    /// adds nothing, nor does an empty path: the root is "/".
    virtual void ListDirectory(std::set<CString>& names, const CString& directory, std::uint32_t flags) = 0;

    /// Cuts the root's text off the front of the path. False: the path begins otherwise and stays as it is.
    /// The cut need not be at a separator: with the root "C:\Data", "C:\Database\x" becomes "base\x".
    virtual bool MakeRelative(CString& path) = 0;

    /// The root of the directory with this path; empty when there is no such directory.
    virtual void GetDirectoryRoot(CString& root, const CString& path, std::uint32_t unused) = 0;

    /// All is 0 where nothing is there. A pattern with wildcards gets the first that it finds.
    virtual void GetFileInfo(CFileInfo& info, const CString& path, std::uint32_t unusedMode) = 0;

    /// A stream for the caller to delete; its name is the full path. Null: the file is missing and the mode
    /// has MODE_MISSING_OK. Throws CFileException: FILE_ERROR_GENERIC with the path as given for a mode
    /// without a creation kind, else what opening gave, with the full path.
    ///
    /// With MODE_READ and MODE_WRITE the stream does both, without a buffer; else it is a CBufferedStream of
    /// 1 MiB for the one direction, unless MODE_UNBUFFERED_READ says otherwise. One that appends counts its
    /// position from 0 at the old end, while SetPosition and Seek take positions in the file.
    virtual IStream* OpenStream(const CString& path, std::uint32_t mode) = 0;

    /// Opens a file for reading at the offset, which is at most its size and below 2 GiB, and gives the whole
    /// size. The handle goes back to CloseRawFile. False: INVALID_HANDLE_VALUE and 0.
    virtual bool OpenRawFile(HANDLE& file, std::uint32_t& size, const CString& path,
                             std::uint32_t offset) = 0;
    virtual bool CloseRawFile(HANDLE& file) = 0; ///< the variable stays as it is

    /// Fills the stream with the whole file and goes to its beginning; its name becomes the full path. Of the
    /// mode only MODE_MISSING_OK counts: with it a missing file gives false. Throws as OpenStream does, and
    /// what reading throws. In both cases the stream is then empty, but where the mode was unusable as it
    /// was. What a file system can tell to be missing without opening it gives false, and leaves the stream.
    virtual bool LoadFile(CMemoryStream& stream, const CString& path, std::uint32_t mode) = 0;

    virtual bool EraseFile(const CString& path) = 0; ///< false where it stays

    /// Whether GetFileInfo finds a folder.
    [[nodiscard]] bool IsDirectory(const CString& path, std::uint32_t mode);
};

} // namespace Plinth
