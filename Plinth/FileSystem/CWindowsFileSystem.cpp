#include "Plinth/FileSystem/CWindowsFileSystem.h"

#include "Plinth/FileSystem/CFileSearch.h"
#include "Plinth/FileSystem/PathText.h"
#include "Plinth/Streams/CBufferedStream.h"
#include "Plinth/Streams/CWindowsFileStream.h"
#include "Plinth/Streams/WholeText.h"
#include "Plinth/Text/CStringArray.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <utility>

namespace Plinth {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
struct CWindowsFileSystem::Layout {
    static_assert(offsetof(CWindowsFileSystem, root_) == sizeof(void*));
    static_assert(offsetof(CWindowsFileSystem, useIndex_) == sizeof(void*) + sizeof(CString));
    static_assert(offsetof(CWindowsFileSystem, index_) == 2 * sizeof(void*) + sizeof(CString));
    static_assert(sizeof(CWindowsFileSystem) == 2 * sizeof(void*) + sizeof(CString) + sizeof(CFileIndex));
};
#pragma GCC diagnostic pop

namespace {

constexpr std::uint32_t STREAM_BUFFER_SIZE = 1024 * 1024;
constexpr std::uint32_t READ_EXISTING = MODE_OPEN_EXISTING | MODE_READ | MODE_SHARE_READ;

bool IsSeparatorOrColon(char character)
{
    return character == '\\' || character == '/' || character == ':';
}

char LastOf(CTextBuilder& text)
{
    return text.GetLength() != 0 ? text.GetText()[text.GetLength() - 1] : 0;
}

void AddTrailingSeparator(CTextBuilder& text)
{
    if (text.GetLength() != 0 && !IsSeparatorOrColon(LastOf(text))) {
        text.AppendChar('\\');
    }
}

std::uint32_t UsableMode(const CString& path, std::uint32_t mode)
{
    if (mode == MODE_DEFAULT) {
        return READ_EXISTING;
    }
    if ((mode & MODE_CREATION_MASK) == 0) {
        throw CFileException(FILE_ERROR_GENERIC, path);
    }
    return mode;
}

bool IsBuffered(std::uint32_t mode)
{
    const bool reads = (mode & MODE_READ) != 0;
    return !(reads && (mode & (MODE_WRITE | MODE_UNBUFFERED_READ)) != 0);
}

// Nothing is there, unless the search finds something.
CFileInfo InfoOf(const CFileSearch& search)
{
    if (!search.IsFound()) {
        return {};
    }
    return {true, search.IsDirectory(), search.Size(), search.Time()};
}

CString NameOf(const CFileSearch& search)
{
    CString name(search.Name());
    if (name.IsEmpty()) {
        ThrowOutOfMemory();
    }
    return name;
}

void CreateDirectoryBelow(const CString& base, const CString& relative)
{
    CPathText path;
    ReserveOrThrow(path, std::uint64_t{base.GetLength()} + relative.GetLength() + 1);
    path.Append(base.CStr(), base.GetLength());
    path.AppendFolded(relative.CStr(), FoldSlash);
    CreateDirectoryW(CWidePathText(path).GetText(), nullptr);
}

// False when the offset lies behind the end, or the platform fails.
bool GoTo(HANDLE file, std::uint32_t offset, std::uint32_t& size)
{
    size = GetFileSize(file, nullptr);
    if (size == INVALID_FILE_SIZE || offset > size) {
        return false;
    }
    return offset == 0 ||
           SetFilePointer(file, static_cast<LONG>(offset), nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER;
}

} // namespace

CWindowsFileSystem::CWindowsFileSystem(const CString& root, bool useIndex)
{
    SetRoot(root, useIndex);
}

// Half an index would take files for missing, so a whole one is made first.
void CWindowsFileSystem::SetRoot(const CString& root, bool useIndex)
{
    CString newRoot = CopyWhole(root);
    newRoot.Replace('/', '\\');
    newRoot.RemoveTrailingSeparator();
    if (!(newRoot == root_)) {
        CWindowsFileSystem made;
        made.root_.Swap(newRoot);
        made.useIndex_ = useIndex;
        made.RebuildIndex();
        root_.Swap(made.root_);
        index_.Swap(made.index_);
    }
    useIndex_ = useIndex;
}

CString& CWindowsFileSystem::GetFullPath(CString& fullPath, const CString& path) const
{
    CString joined = WithTrailingSeparator(root_, path.GetLength());
    joined.Append(path);
    joined.Replace('/', '\\');
    joined.RemoveTrailingSeparator();
    fullPath.Swap(joined);
    return fullPath;
}

// For what is opened or looked for.
void CWindowsFileSystem::BuildFullPath(CTextBuilder& fullPath, const CString& path) const
{
    ReserveOrThrow(fullPath, std::uint64_t{root_.GetLength()} + path.GetLength() + 2);
    if (!root_.IsEmpty()) {
        fullPath.Append(root_.CStr(), root_.GetLength());
        fullPath.AppendChar('\\');
    }
    fullPath.AppendFolded(path.CStr(), FoldSlash);
    if (LastOf(fullPath) == '\\') {
        fullPath.SetLength(fullPath.GetLength() - 1);
    }
}

// For what is erased.
void CWindowsFileSystem::JoinRoot(CTextBuilder& joined, const CString& path) const
{
    ReserveOrThrow(joined, std::uint64_t{root_.GetLength()} + path.GetLength() + 3);
    if (!root_.IsEmpty()) {
        joined.Append(root_.CStr(), root_.GetLength());
        AddTrailingSeparator(joined);
        if (LastOf(joined) != '\\' && *path.CStr() != '\\') {
            joined.AppendChar('\\');
        }
    }
    joined.AppendFolded(path.CStr(), FoldSlash);
}

void CWindowsFileSystem::MakeDirectory(const CString& path, bool allLevels)
{
    if (path.IsEmpty()) {
        return;
    }
    const CString base = WithTrailingSeparator(root_, 0);
    if (!allLevels) {
        CreateDirectoryBelow(base, path);
        return;
    }
    CStringArray pieces;
    path.Split("\\/", &pieces, 0);
    CString level;
    ReserveWhole(level, std::uint64_t{path.GetLength()} + 2);
    for (std::uint32_t i = 0; i < pieces.GetCount(); ++i) {
        level.Append(*pieces.GetAt(i));
        level.Append("\\");
        if (!IsDirectory(level, 0)) {
            CreateDirectoryBelow(base, level);
        }
    }
}

bool CWindowsFileSystem::EraseDirectory(const CString& path)
{
    if (path.IsEmpty()) {
        return false;
    }
    CPathText joined;
    JoinRoot(joined, path);
    return RemoveDirectoryW(CWidePathText(joined).GetText()) != FALSE;
}

void CWindowsFileSystem::ListDirectory(std::set<CString>& names, const CString& directory,
                                       std::uint32_t flags)
{
    if (directory.IsEmpty()) {
        return;
    }
    CPathText pattern;
    BuildFullPath(pattern, directory);
    ReserveOrThrow(pattern, 3);
    AddTrailingSeparator(pattern);
    pattern.AppendChar('*');
    for (CFileSearch search(CWidePathText(pattern).GetText()); search.IsFound(); search.Next()) {
        const std::uint32_t leftOut = search.IsDirectory() ? LIST_NO_DIRECTORIES : LIST_NO_FILES;
        if ((flags & leftOut) == 0 && !search.IsNamed(WIDE(".")) && !search.IsNamed(WIDE(".."))) {
            names.insert(NameOf(search));
        }
    }
}

bool CWindowsFileSystem::MakeRelative(CString& path)
{
    if (!path.StartsWithNoCase(root_)) {
        return false;
    }
    path.Assign(path.CStr() + root_.GetLength(), path.GetLength() - root_.GetLength());
    return true;
}

void CWindowsFileSystem::GetDirectoryRoot(CString& root, const CString& path, std::uint32_t /*unused*/)
{
    CString found = IsDirectory(path, 0) ? CopyWhole(root_) : CString();
    root.Swap(found);
}

void CWindowsFileSystem::GetFileInfo(CFileInfo& info, const CString& path, std::uint32_t /*unusedMode*/)
{
    if (useIndex_) {
        info = FindInIndex(path);
        return;
    }
    CPathText fullPath;
    BuildFullPath(fullPath, path);
    info = InfoOf(CFileSearch(CWidePathText(fullPath).GetText()));
}

IStream* CWindowsFileSystem::OpenStream(const CString& path, std::uint32_t mode)
{
    mode = UsableMode(path, mode);
    CPathText fullPath;
    BuildFullPath(fullPath, path);
    auto stream = std::make_unique<CWindowsFileStream>();
    if (!stream->Open(fullPath.GetText(), mode)) {
        stream.reset();
    }
    if ((mode & MODE_WRITE) != 0) {
        MarkStale(path);
    }
    if (stream == nullptr) {
        return nullptr;
    }
    if ((mode & MODE_CREATION_MASK) == MODE_APPEND) {
        stream->Seek(0, ORIGIN_END);
    }
    if (!IsBuffered(mode)) {
        return stream.release();
    }
    IStream* const buffered =
        CreateBufferedStream(stream.get(), (mode & MODE_READ) != 0, true, STREAM_BUFFER_SIZE, false);
    static_cast<void>(stream.release()); // the buffered stream's own now
    return buffered;
}

bool CWindowsFileSystem::OpenRawFile(HANDLE& file, std::uint32_t& size, const CString& path,
                                     std::uint32_t offset)
{
    file = INVALID_HANDLE_VALUE;
    size = 0;
    if (path.IsEmpty()) {
        return false;
    }
    CPathText fullPath;
    BuildFullPath(fullPath, path);
    auto* const opened =
        CreateFileW(CWidePathText(fullPath).GetText(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                    FILE_FLAG_SEQUENTIAL_SCAN | FILE_ATTRIBUTE_NORMAL, nullptr);
    if (opened == INVALID_HANDLE_VALUE) {
        return false;
    }
    std::uint32_t wholeSize = 0;
    if (!GoTo(opened, offset, wholeSize)) {
        CloseHandle(opened);
        return false;
    }
    file = opened;
    size = wholeSize;
    return true;
}

bool CWindowsFileSystem::CloseRawFile(HANDLE& file)
{
    return CloseHandle(file) != FALSE;
}

bool CWindowsFileSystem::LoadFile(CMemoryStream& stream, const CString& path, std::uint32_t mode)
{
    mode = UsableMode(path, mode);
    if (useIndex_ && !FindInIndex(path).Exists()) {
        return false;
    }
    stream.Resize(0, false);
    CPathText fullPath;
    BuildFullPath(fullPath, path);
    CWindowsFileStream file;
    if (!file.Open(fullPath.GetText(), READ_EXISTING | (mode & MODE_MISSING_OK))) {
        return false;
    }
    stream.CopyFrom(file, 0, true);
    return true;
}

bool CWindowsFileSystem::EraseFile(const CString& path)
{
    if (path.IsEmpty()) {
        return false;
    }
    CPathText joined;
    JoinRoot(joined, path);
    return DeleteFileW(CWidePathText(joined).GetText()) != FALSE;
}

} // namespace Plinth
