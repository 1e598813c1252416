// Searches for files and folders. The names are read when a search begins, what else is told of an entry when
// its turn comes: entries that are gone by then, or whose links lead nowhere, are passed over.
#include "Platform/Host/Api/Files.h"

#include "Platform/Host/Drives.h"
#include "Platform/Host/FileModes.h"
#include "Platform/Host/FileTimes.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Handles.h"
#include "Platform/Host/Names.h"
#include "Platform/Host/Utf.h"
#include "Platform/Host/WholeFile.h"
#include "Platform/Host/Wildcards.h"

#include <algorithm>
#include <cerrno>
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

constexpr std::size_t LISTING_STEP = std::size_t{32} * 1024;
constexpr std::size_t LONGEST_PATH = 32767;
constexpr std::size_t LONGEST_NAME = 255;
static_assert(LONGEST_NAME < std::size(WIN32_FIND_DATAW().cFileName));

DWORD AttributesOf(const struct stat& status)
{
    if (S_ISDIR(status.st_mode)) {
        return FILE_ATTRIBUTE_DIRECTORY;
    }
    return IsReadOnly(status) ? FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_ARCHIVE;
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

// Some of the host's file systems have names that are longer.
bool Fits(std::string_view name)
{
    return name.size() <= LONGEST_NAME || FromHost(name).size() <= LONGEST_NAME;
}

// The name has to fit.
void Name(std::string_view name, WIN32_FIND_DATAW& found)
{
    const auto put = [&](const auto& text) { *std::copy(text.begin(), text.end(), found.cFileName) = 0; };
    if (IsAscii(name)) {
        put(name);
    } else {
        put(FromHost(name));
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
        const DWORD error = filled == 0 ? ERROR_SUCCESS : ErrorFromErrno(errno);
        std::sort(places_.begin() + static_cast<std::ptrdiff_t>(dots), places_.end(),
                  [this](std::size_t left, std::size_t right) {
                      return CompareHostNames(&names_[left], &names_[right]) < 0;
                  });
        return error;
    }

    // Null behind the last one.
    [[nodiscard]] const char* Current() const
    {
        return next_ < places_.size() ? &names_[places_[next_]] : nullptr;
    }
    void GoOn() { ++next_; }

private:
    void AddAll(const char* buffer, std::size_t filled, Pattern& pattern)
    {
        for (std::size_t offset = 0; offset < filled;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(buffer + offset);
            const std::string_view name(entry->d_name);
            if (name != "." && name != ".." && IsReachable(name) && Fits(name)) {
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
    void Begin(Descriptor folder, Listing names)
    {
        folder_ = std::move(folder);
        names_ = std::move(names);
    }

    DWORD Wait(DWORD /*milliseconds*/) override
    {
        Fail(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    }

    // False when there is nothing more. What cannot be told for lack of memory has its turn again.
    bool Next(WIN32_FIND_DATAW& found)
    {
        const std::lock_guard lock(mutex_);
        bool isThere = false;
        for (const char* name = nullptr; !isThere && (name = names_.Current()) != nullptr; names_.GoOn()) {
            struct stat status {};
            isThere = fstatat(folder_.Number(), name, &status, 0) == 0;
            if (isThere) {
                Name(name, found);
                Describe(status, found);
            }
        }
        return isThere;
    }

private:
    std::mutex mutex_;
    Descriptor folder_;
    Listing names_;
};

// What FindNative says of a folder's path, as searches in the folder say it.
DWORD ErrorOfFolder(DWORD error)
{
    switch (error) {
    case ERROR_INVALID_NAME:
        return ERROR_DIRECTORY;
    case ERROR_FILE_NOT_FOUND:
        return ERROR_PATH_NOT_FOUND;
    default:
        return error;
    }
}

DWORD OpenForListing(const std::string& native, Descriptor& folder)
{
    folder = Descriptor(open(native.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.IsOpen()) {
        return ERROR_SUCCESS;
    }
    return errno == ENOTDIR ? ERROR_DIRECTORY : ErrorFromErrno(errno);
}

// Tries the exact name first.
DWORD OpenFolder(std::u16string_view full, Descriptor& folder)
{
    std::string native;
    DWORD error = ToNativePath(full, native);
    if (error == ERROR_SUCCESS) {
        error = OpenForListing(native, folder);
    }
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_DIRECTORY) {
        error = FindNative(full, native);
        if (error == ERROR_SUCCESS) {
            error = OpenForListing(native, folder);
        }
    }
    return ErrorOfFolder(error);
}

DWORD FindMatching(std::u16string_view folderPath, std::u16string_view text, WIN32_FIND_DATAW& found,
                   Search& search)
{
    std::u16string storage;
    std::u16string_view full;
    Descriptor folder;
    Listing names;
    DWORD error = CompletePath(folderPath.empty() ? u"." : folderPath, storage, full);
    if (error == ERROR_SUCCESS && text.find_first_of(u"<>\"|") != std::u16string_view::npos) {
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
        search.Begin(std::move(folder), std::move(names));
        error = search.Next(found) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
    }
    return error;
}

// The native path is the path's own where that leads there.
DWORD StatPlain(std::u16string_view full, std::string& native, struct stat& status)
{
    DWORD error = ToNativePath(full, native);
    if (error == ERROR_SUCCESS && stat(native.c_str(), &status) == 0) {
        return ERROR_SUCCESS;
    }
    if (error == ERROR_SUCCESS) {
        error = FindNative(full, native);
    }
    if (error == ERROR_SUCCESS && stat(native.c_str(), &status) != 0) {
        error = ErrorFromErrno(errno);
    }
    return error;
}

// The error of a path that leads nowhere because of its folder's.
DWORD ErrorOfFolderOf(std::u16string_view full)
{
    std::string native;
    const DWORD error = FindNative(full.substr(0, full.rfind(u'\\') + 1), native);
    return error == ERROR_SUCCESS ? ERROR_PATH_NOT_FOUND : ErrorOfFolder(error);
}

DWORD FindPlain(std::u16string_view path, WIN32_FIND_DATAW& found)
{
    std::u16string storage;
    std::u16string_view full;
    std::string native;
    struct stat status {};
    DWORD error = CompletePath(path, storage, full);
    if (error != ERROR_SUCCESS || full.size() == DRIVE_ROOT_LENGTH) {
        return error != ERROR_SUCCESS ? error : ERROR_FILE_NOT_FOUND;
    }
    error = StatPlain(full, native, status);
    if (error != ERROR_SUCCESS) {
        return error == ERROR_PATH_NOT_FOUND ? ErrorOfFolderOf(full) : error;
    }
    const std::string_view name = std::string_view(native).substr(native.rfind('/') + 1);
    if (!Fits(name)) {
        return ERROR_FILE_NOT_FOUND;
    }
    Name(name, found);
    Describe(status, found);
    return ERROR_SUCCESS;
}

// How much of a path is the folder's.
std::size_t FolderLength(std::u16string_view path)
{
    const std::size_t separator = path.find_last_of(u"\\/");
    if (separator != std::u16string_view::npos) {
        return separator + 1;
    }
    return HasDrive(path) ? 2 : 0;
}

DWORD Find(std::u16string_view path, WIN32_FIND_DATAW& found, Search& search)
{
    if (path.empty() || path.size() > LONGEST_PATH) {
        return ERROR_PATH_NOT_FOUND;
    }
    const std::size_t length = FolderLength(path);
    const std::u16string_view last = path.substr(length);
    if (last.empty()) {
        return ERROR_FILE_NOT_FOUND;
    }
    return Pattern::IsOne(last) ? FindMatching(path.substr(0, length), last, found, search)
                                : FindPlain(path, found);
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

HANDLE WINAPI FindFirstFileW(LPCWSTR fileName, LPWIN32_FIND_DATAW found)
{
    return Guarded("FindFirstFileW", INVALID_HANDLE_VALUE, [&]() -> HANDLE {
        const auto search = std::make_shared<Search>();
        PendingHandle handle(search);
        const DWORD error = Find(fileName != nullptr ? fileName : u"", *found, *search);
        if (error != ERROR_SUCCESS) {
            Fail(error);
            return INVALID_HANDLE_VALUE;
        }
        return handle.HandOut();
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
