// Searches for files and folders. The names are read when a search begins, what else is told of an entry when
// its turn comes: entries that are gone by then, or whose links lead nowhere, are passed over.
#include "Platform/Host/Api/Files.h"

#include "Platform/Host/Drives.h"
#include "Platform/Host/FileTimes.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Handles.h"
#include "Platform/Host/Names.h"
#include "Platform/Host/Utf.h"
#include "Platform/Host/WholeFile.h"
#include "Platform/Host/Wildcards.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <iterator>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace Platform::Host {

namespace {

constexpr mode_t ANY_WRITING = 0222;
constexpr std::size_t LISTING_STEP = std::size_t{32} * 1024;

bool IsSeparator(char16_t unit)
{
    return unit == u'\\' || unit == u'/';
}

DWORD AttributesOf(const struct stat& status)
{
    if (S_ISDIR(status.st_mode)) {
        return FILE_ATTRIBUTE_DIRECTORY;
    }
    return (status.st_mode & ANY_WRITING) == 0 ? FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY
                                               : FILE_ATTRIBUTE_ARCHIVE;
}

void Describe(const struct stat& status, WIN32_FIND_DATAW& found)
{
    const std::uint64_t size = S_ISDIR(status.st_mode) ? 0 : static_cast<std::uint64_t>(status.st_size);
    found.dwFileAttributes = AttributesOf(status);
    found.ftCreationTime = ToFileTime(status.st_mtim);
    found.ftLastAccessTime = ToFileTime(status.st_atim);
    found.ftLastWriteTime = found.ftCreationTime;
    found.nFileSizeHigh = static_cast<DWORD>(size >> 32);
    found.nFileSizeLow = static_cast<DWORD>(size);
    found.dwReserved0 = 0;
    found.dwReserved1 = 0;
    found.cAlternateFileName[0] = 0;
}

// The host's names have at most 255 bytes.
static_assert(NAME_MAX < std::size(WIN32_FIND_DATAW().cFileName));

void Name(std::u16string_view name, WIN32_FIND_DATAW& found)
{
    found.cFileName[name.copy(found.cFileName, NAME_MAX)] = 0;
}

void Name(std::string_view name, WIN32_FIND_DATAW& found)
{
    if (IsAscii(name)) {
        *std::copy(name.begin(), name.end(), found.cFileName) = 0;
    } else {
        Name(FromHost(name), found);
    }
}

char CapitalAscii(char byte)
{
    return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
}

// Names of the host in the platform's order; those that it takes for the same lie in the host's.
int CompareHostNames(const char* left, const char* right)
{
    for (std::size_t i = 0;; ++i) {
        if (((left[i] | right[i]) & '\x80') != 0) {
            const int order = CompareNames(FromHost(left), FromHost(right));
            return order != 0 ? order : std::strcmp(left, right);
        }
        const int order = CapitalAscii(left[i]) - CapitalAscii(right[i]);
        if (order != 0 || left[i] == 0) {
            return order != 0 ? order : std::strcmp(left, right);
        }
    }
}

// The names of a folder that a pattern finds.
class Listing {
public:
    // ERROR_SUCCESS, or the host's reason.
    DWORD Read(int folder, bool isRoot, Pattern& pattern)
    {
        if (!isRoot) {
            Add(".", pattern);
            Add("..", pattern);
        }
        const std::size_t dots = places_.size();
        alignas(dirent64) char buffer[LISTING_STEP];
        ssize_t filled = 0;
        while ((filled = getdents64(folder, buffer, sizeof(buffer))) > 0) {
            AddAll(buffer, static_cast<std::size_t>(filled), pattern);
        }
        std::sort(places_.begin() + static_cast<std::ptrdiff_t>(dots), places_.end(),
                  [this](std::size_t left, std::size_t right) {
                      return CompareHostNames(&names_[left], &names_[right]) < 0;
                  });
        return filled == 0 ? ERROR_SUCCESS : ErrorFromErrno(errno);
    }

    // Null behind the last one.
    const char* Next() { return next_ < places_.size() ? &names_[places_[next_++]] : nullptr; }

private:
    void AddAll(const char* buffer, std::size_t filled, Pattern& pattern)
    {
        for (std::size_t offset = 0; offset < filled;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(buffer + offset);
            const std::string_view name(entry->d_name);
            if (name != "." && name != ".." && IsReachable(name)) {
                Add(name, pattern);
            }
            offset += entry->d_reclen;
        }
    }

    void Add(std::string_view name, Pattern& pattern)
    {
        if (pattern.MatchesAll() || pattern.Matches(FromHost(name))) {
            places_.push_back(names_.size());
            names_.append(name);
            names_ += '\0';
        }
    }

    std::string names_; // each with its terminator
    std::vector<std::size_t> places_;
    std::size_t next_ = 0;
};

class Search : public KernelObject {
public:
    Search() = default;
    Search(Descriptor folder, Listing names) : folder_(std::move(folder)), names_(std::move(names)) {}

    DWORD Wait(DWORD /*milliseconds*/) override
    {
        Fail(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    }

    // False when there is nothing more.
    bool Next(WIN32_FIND_DATAW& found)
    {
        const std::lock_guard lock(mutex_);
        while (const char* name = names_.Next()) {
            struct stat status {};
            if (fstatat(folder_.Number(), name, &status, 0) == 0) {
                Describe(status, found);
                Name(std::string_view(name), found);
                return true;
            }
        }
        return false;
    }

private:
    std::mutex mutex_;
    Descriptor folder_;
    Listing names_;
};

// The error where a folder is missing, or something else lies in its place.
DWORD FolderError(std::u16string_view folder)
{
    std::string native;
    const DWORD found = FindNative(folder, native);
    if (found == ERROR_INVALID_NAME || found == ERROR_SUCCESS) {
        return ERROR_DIRECTORY;
    }
    return found == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : found;
}

Descriptor OpenForListing(const std::string& native)
{
    return Descriptor(open(native.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

// Tries the exact name first.
DWORD OpenFolder(std::u16string_view full, Descriptor& folder)
{
    std::string native;
    const DWORD error = ToNativePath(full, native);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    folder = OpenForListing(native);
    if (!folder.IsOpen() && errno == ENOENT && FindNative(full, native) == ERROR_SUCCESS) {
        folder = OpenForListing(native);
    }
    if (folder.IsOpen()) {
        return ERROR_SUCCESS;
    }
    return errno == ENOENT || errno == ENOTDIR ? FolderError(full) : ErrorFromErrno(errno);
}

DWORD FindMatching(std::u16string_view folderPath, std::u16string_view text, WIN32_FIND_DATAW& found,
                   std::shared_ptr<Search>& search)
{
    std::u16string storage;
    std::u16string_view full;
    Descriptor folder;
    Listing names;
    DWORD error = CompletePath(folderPath.empty() ? u"." : folderPath, storage, full);
    if (error == ERROR_SUCCESS && text.find_first_of(u"<>\"|") != text.npos) {
        error = ERROR_INVALID_NAME;
    }
    if (error == ERROR_SUCCESS) {
        error = OpenFolder(full, folder);
    }
    if (error == ERROR_SUCCESS) {
        Pattern pattern(text);
        error = names.Read(folder.Number(), full.size() == DRIVE_ROOT_LENGTH, pattern);
    }
    if (error == ERROR_SUCCESS) {
        search = std::make_shared<Search>(std::move(folder), std::move(names));
        error = search->Next(found) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
    }
    return error;
}

// The name as it is on the disk: the path's own where that leads there.
DWORD StatPlain(std::u16string_view full, std::u16string& name, struct stat& status)
{
    std::string native;
    DWORD error = ToNativePath(full, native);
    if (error == ERROR_SUCCESS && stat(native.c_str(), &status) == 0) {
        name = full.substr(full.rfind(u'\\') + 1);
        return ERROR_SUCCESS;
    }
    if (error == ERROR_SUCCESS) {
        error = FindNative(full, native);
    }
    if (error == ERROR_SUCCESS) {
        name = FromHost(std::string_view(native).substr(native.rfind('/') + 1));
        error = stat(native.c_str(), &status) == 0 ? ERROR_SUCCESS : ErrorFromErrno(errno);
    }
    return error;
}

DWORD FindPlain(std::u16string_view path, WIN32_FIND_DATAW& found, std::shared_ptr<Search>& search)
{
    std::u16string storage;
    std::u16string_view full;
    std::u16string name;
    struct stat status {};
    DWORD error = CompletePath(path, storage, full);
    if (error != ERROR_SUCCESS || full.size() == DRIVE_ROOT_LENGTH) {
        return error != ERROR_SUCCESS ? error : ERROR_FILE_NOT_FOUND;
    }
    error = StatPlain(full, name, status);
    if (error == ERROR_PATH_NOT_FOUND) {
        return FolderError(full.substr(0, std::max(full.rfind(u'\\'), DRIVE_ROOT_LENGTH)));
    }
    if (error == ERROR_SUCCESS) {
        search = std::make_shared<Search>();
        Describe(status, found);
        Name(name, found);
    }
    return error;
}

DWORD Find(std::u16string_view path, WIN32_FIND_DATAW& found, std::shared_ptr<Search>& search)
{
    if (path.empty()) {
        return ERROR_PATH_NOT_FOUND;
    }
    const auto behindFolder = std::find_if(path.rbegin(), path.rend(), [](char16_t unit) {
        return IsSeparator(unit) || unit == u':';
    }).base();
    const auto length = static_cast<std::size_t>(behindFolder - path.begin());
    const std::u16string_view last = path.substr(length);
    if (last.empty()) {
        return ERROR_FILE_NOT_FOUND;
    }
    return Pattern::IsOne(last) ? FindMatching(path.substr(0, length), last, found, search)
                                : FindPlain(path, found, search);
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

HANDLE WINAPI FindFirstFileW(LPCWSTR fileName, LPWIN32_FIND_DATAW found)
{
    return Guarded("FindFirstFileW", INVALID_HANDLE_VALUE, [&]() -> HANDLE {
        std::shared_ptr<Search> search;
        const DWORD error = Find(fileName != nullptr ? fileName : u"", *found, search);
        if (error != ERROR_SUCCESS) {
            Fail(error);
            return INVALID_HANDLE_VALUE;
        }
        return OpenHandle(std::move(search));
    });
}

BOOL WINAPI FindNextFileW(HANDLE search, LPWIN32_FIND_DATAW found)
{
    return Guarded("FindNextFileW", FALSE, [&] {
        const std::shared_ptr<Search> open = FindObjectOf<Search>(search);
        if (open == nullptr) {
            return FALSE;
        }
        return open->Next(*found) ? TRUE : Fail(ERROR_NO_MORE_FILES);
    });
}

BOOL WINAPI FindClose(HANDLE search)
{
    if (GateStops("FindClose")) {
        return FALSE;
    }
    return FindObjectOf<Search>(search) != nullptr && ReleaseHandle(search) ? TRUE : FALSE;
}
