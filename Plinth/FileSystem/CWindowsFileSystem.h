/// \class Plinth::CWindowsFileSystem
/// The file system of the platform below one root directory, which may be none: paths are complete then.
///
///     CWindowsFileSystem files("C:\\Game\\Data", true);    // with an index of all files below
///     CFileInfo info;
///     files.GetFileInfo(info, "Maps\\First.map", 0);       // answered from the index
///
/// The index is made when the root is set. From then on it learns of the files that this file system opens
/// for writing, and of nothing else: not of EraseFile, MakeDirectory and EraseDirectory, nor of other
/// programs. An entry that is no longer on the disk still exists. GetFileInfo, LoadFile and what asks them go
/// by the index alone, which takes a path as it is written: either slash, ASCII letters in either case and
/// backslashes around it make no difference, but "a//b", "a/./b", "/a" with a slash and the empty path are
/// not found.
#pragma once

#include "Plinth/FileSystem/CFileIndex.h"
#include "Plinth/FileSystem/IFileSystem.h"
#include "Plinth/Text/CTextBuilder.h"

#include <cstdint>

namespace Plinth {

class CFileSearch;

class CWindowsFileSystem : public IFileSystem {
public:
    CWindowsFileSystem() = default;                         ///< no root, no index
    CWindowsFileSystem(const CString& root, bool useIndex); ///< as SetRoot

    /// Slashes become backslashes, and one at the end is dropped. Only another root makes the index anew: the
    /// same one with an index for the first time has an empty one, in which every file is missing. Throws
    /// where memory runs out; all is as before then.
    void SetRoot(const CString& root, bool useIndex);

    /// Gives `fullPath`, which may be the path itself.
    CString& GetFullPath(CString& fullPath, const CString& path) const;

    /// With `allLevels` each level that is missing, from the top down, without the blanks around its name. A
    /// failure is not told.
    void MakeDirectory(const CString& path, bool allLevels);
    bool EraseDirectory(const CString& path); ///< an empty one

    void ListDirectory(std::set<CString>& names, const CString& directory, std::uint32_t flags) override;
    bool MakeRelative(CString& path) override; ///< ASCII letters in either case; the separator behind stays
    void GetDirectoryRoot(CString& root, const CString& path, std::uint32_t unused) override;
    void GetFileInfo(CFileInfo& info, const CString& path, std::uint32_t unusedMode) override;
    IStream* OpenStream(const CString& path, std::uint32_t mode) override;
    bool OpenRawFile(HANDLE& file, std::uint32_t& size, const CString& path, std::uint32_t offset) override;
    bool CloseRawFile(HANDLE& file) override;
    bool LoadFile(CMemoryStream& stream, const CString& path, std::uint32_t mode) override;
    bool EraseFile(const CString& path) override;

private:
    struct Layout;

    void BuildFullPath(CTextBuilder& fullPath, const CString& path) const;
    void JoinRoot(CTextBuilder& joined, const CString& path) const;

    // --- The index

    static void BuildIndexKey(CTextBuilder& key, const CString& path);
    void RebuildIndex();
    void ScanDirectory(CTextBuilder& path);
    [[nodiscard]] CFileSearch SearchIn(CTextBuilder& path) const;
    void AddToIndex(CTextBuilder& path, const CFileSearch& found);
    void MarkStale(const CString& path);
    void RefreshEntry(CFileIndexEntry& entry, const CString& path) const;
    [[nodiscard]] CFileInfo FindInIndex(const CString& path);

    CString root_; // with backslashes and without one at the end
    bool useIndex_ = false;
    CFileIndex index_; // of the files below the root
};

} // namespace Plinth
