// How the file system makes its index and keeps it.
#include "Plinth/FileSystem/CFileSearch.h"
#include "Plinth/FileSystem/CWindowsFileSystem.h"
#include "Plinth/FileSystem/PathText.h"
#include "Plinth/Text/CStringPool.h"

namespace Plinth {

namespace {

CHashedText Pooled(const char* text)
{
    const CHashedText* const pooled = globalStringPool.Intern(text);
    if (pooled == nullptr) {
        ThrowOutOfMemory();
    }
    return *pooled;
}

CFileIndexEntry& Insert(CFileIndex& index, const char* key, const CFileIndexEntry& entry)
{
    CFileIndexEntry* const inserted = index.InsertOrAssign(Pooled(key), entry);
    if (inserted == nullptr) {
        ThrowOutOfMemory();
    }
    return *inserted;
}

void AppendSeparator(CTextBuilder& text)
{
    if (text.GetLength() != 0) {
        text.AppendChar('\\');
    }
}

// A name that were missing at the end would make the path that of its directory.
void AppendName(CTextBuilder& path, LPCWSTR name)
{
    if (*name == 0) {
        return;
    }
    AppendSeparator(path);
    const std::uint32_t length = path.GetLength();
    path.AppendWide(name);
    if (path.GetLength() == length) {
        ThrowOutOfMemory();
    }
}

} // namespace

// The lower-case path without the backslashes around it. A slash at its front is a part of it.
void CWindowsFileSystem::BuildIndexKey(CTextBuilder& key, const CString& path)
{
    const char* relative = path.CStr();
    while (*relative == '\\') {
        ++relative;
    }
    ReserveOrThrow(key, std::uint64_t{path.GetLength()} + 1);
    key.AppendFolded(relative, FoldPath);
    std::uint32_t length = key.GetLength();
    while (length != 0 && key.GetText()[length - 1] == '\\') {
        --length;
    }
    key.SetLength(length);
}

void CWindowsFileSystem::RebuildIndex()
{
    index_.ClearAll();
    if (useIndex_) {
        CPathText path;
        ScanDirectory(path);
    }
}

// The path is that of a directory, relative to the root, and is so again in the end.
void CWindowsFileSystem::ScanDirectory(CTextBuilder& path)
{
    const std::uint32_t length = path.GetLength();
    for (CFileSearch search = SearchIn(path); search.IsFound(); search.Next()) {
        if (search.IsDirectory() && search.IsNamed(WIDE(".."))) {
            continue;
        }
        AppendName(path, search.Name());
        AddToIndex(path, search);
        if (search.IsDirectory() && !search.IsNamed(WIDE("."))) {
            ScanDirectory(path);
        }
        path.SetLength(length);
    }
}

// Searches for all that is in the directory. Two separators come before the wildcard, which the platform
// takes for one.
CFileSearch CWindowsFileSystem::SearchIn(CTextBuilder& path) const
{
    CPathText pattern;
    ReserveOrThrow(pattern, std::uint64_t{root_.GetLength()} + path.GetLength() + 5);
    pattern.Append(root_.CStr(), root_.GetLength());
    if (path.GetLength() != 0) {
        AppendSeparator(pattern);
        pattern.Append(path.GetText(), path.GetLength());
    }
    AppendSeparator(pattern);
    pattern.Append("\\*");
    return CFileSearch(CWidePathText(pattern).GetText());
}

void CWindowsFileSystem::AddToIndex(CTextBuilder& path, const CFileSearch& found)
{
    const std::uint32_t flags = found.IsDirectory() ? ENTRY_DIRECTORY : 0;
    if (path.PushFrame(PUSH_COPY) == nullptr) {
        ThrowOutOfMemory();
    }
    path.MakeLower();
    Insert(index_, path.GetText(), {flags, found.Size(), found.Time(), {}});
    path.PopFrame(POP_DISCARD);
}

void CWindowsFileSystem::MarkStale(const CString& path)
{
    if (!useIndex_) {
        return;
    }
    CPathText key;
    BuildIndexKey(key, path);
    CFileIndexEntry* entry = index_.Find(CHashedText(key.GetText()));
    if (entry == nullptr) {
        entry = &Insert(index_, key.GetText(), {});
    }
    entry->flags |= ENTRY_STALE;
}

// What is not there stays as it was, and stale.
void CWindowsFileSystem::RefreshEntry(CFileIndexEntry& entry, const CString& path) const
{
    CPathText fullPath;
    BuildFullPath(fullPath, path);
    const CFileSearch search(CWidePathText(fullPath).GetText());
    if (!search.IsFound()) {
        return;
    }
    entry.flags &= ~ENTRY_STALE;
    entry.flags |= search.IsDirectory() ? ENTRY_DIRECTORY : 0;
    entry.size = search.Size();
    entry.time = search.Time();
}

CFileInfo CWindowsFileSystem::FindInIndex(const CString& path)
{
    CPathText key;
    BuildIndexKey(key, path);
    CFileIndexEntry* const entry = index_.Find(CHashedText(key.GetText()));
    if (entry == nullptr) {
        return {};
    }
    if ((entry->flags & ENTRY_STALE) != 0) {
        RefreshEntry(*entry, path);
    }
    return {true, (entry->flags & ENTRY_DIRECTORY) != 0, entry->size, entry->time};
}

} // namespace Plinth
