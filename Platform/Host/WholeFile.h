// Files that are read and replaced as a whole, by several processes at once.
#pragma once

#include "Platform/Host/Api/Types.h"

#include <chrono>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <utility>

namespace Platform::Host {

class Descriptor {
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor();

    [[nodiscard]] int Number() const { return number_; }
    [[nodiscard]] bool IsOpen() const { return number_ >= 0; }

private:
    int number_;
};

// What lay at a path at one time, be it nothing. The file is kept open: as long as it is, the host gives its
// number to no other file, so that one put in its place is always told apart.
class FileVersion {
public:
    FileVersion() = default; // nothing
    // `error` becomes ERROR_SUCCESS, ERROR_ACCESS_DENIED for what is no ordinary file, or the host's own
    // reason.
    FileVersion(Descriptor file, DWORD& error);

    [[nodiscard]] bool IsFile() const { return file_.IsOpen(); }
    [[nodiscard]] int File() const { return file_.Number(); }
    [[nodiscard]] bool IsStillAt(const std::string& path) const;

private:
    Descriptor file_;
    struct stat status_ {};
};

// Reads what lies at the path, nothing where there is nothing. What is no ordinary file is
// ERROR_ACCESS_DENIED. At most `limit` bytes and one more are read.
DWORD LoadFile(const std::string& path, std::size_t limit, std::string& bytes, FileVersion& version);

// Puts a new file in the place of the old one, which is whole until then and whatever fails. The new one is
// written beside it, as `path` with ".new" behind, and gets the old one's mode; it is the owner's alone where
// there was none. ERROR_ACCESS_DENIED for an old one that the process may not write.
DWORD ReplaceFile(const std::string& path, std::string_view bytes, FileVersion& version);

// Keeps all others that ask for it out, from construction to end. It is taken on the file's path with ".lock"
// behind, a file of its own that stays; folders that are missing are made. ERROR_SHARING_VIOLATION when
// another has it for longer than `patience`, ERROR_ACCESS_DENIED for the path of a folder.
class FileLock {
public:
    FileLock(const std::string& path, std::chrono::milliseconds patience);

    [[nodiscard]] DWORD Error() const { return error_; }

    // Where the symbolic links in the file's place lead to, so that all who use the file meet beside it.
    [[nodiscard]] const std::string& Path() const { return path_; }

private:
    std::string path_;
    Descriptor file_;
    DWORD error_;
};

} // namespace Platform::Host
