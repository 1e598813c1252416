#include "Platform/Host/WholeFile.h"

#include "Platform/Host/LastError.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace Platform::Host {

namespace {

constexpr mode_t OWNERS_FILE = 0600;
constexpr mode_t OWNERS_FOLDER = 0700;
constexpr mode_t PERMISSIONS = 0777;
constexpr int HOLDS_UP_NEVER = O_NONBLOCK; // not even where a pipe lies in the file's place
constexpr std::size_t READ_STEP = std::size_t{64} * 1024;
constexpr int MOST_LINKS = 40; // as the host follows
constexpr std::chrono::milliseconds LOCK_STEP(1);

bool IsNothing(int error)
{
    return error == ENOENT || error == ENOTDIR;
}

bool IsSameTime(const timespec& left, const timespec& right)
{
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

DWORD ReadAll(int file, std::size_t limit, std::string& bytes)
{
    std::size_t filled = 0;
    while (filled <= limit) {
        bytes.resize(std::min(filled + READ_STEP, limit + 1));
        const ssize_t count = read(file, bytes.data() + filled, bytes.size() - filled);
        if (count < 0 && errno != EINTR) {
            return ErrorFromErrno(errno);
        }
        filled += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        if (count == 0) {
            break;
        }
    }
    bytes.resize(filled);
    return ERROR_SUCCESS;
}

DWORD WriteAll(int file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = write(file, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return ErrorFromErrno(errno);
        }
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return fsync(file) == 0 ? ERROR_SUCCESS : ErrorFromErrno(errno);
}

std::string FolderOf(const std::string& path)
{
    return path.substr(0, path.rfind('/') + 1);
}

// So that the file is found at its new name after a failure of the machine. Some file systems cannot.
void SyncFolder(const std::string& folder)
{
    const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.IsOpen()) {
        fsync(opened.Number());
    }
}

// What cannot be made shows when something is put there.
void MakeFolders(std::string path)
{
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        path[slash] = 0;
        mkdir(path.c_str(), OWNERS_FOLDER);
        path[slash] = '/';
    }
}

std::string FollowLinks(std::string path)
{
    char target[PATH_MAX];
    for (int links = 0; links < MOST_LINKS; ++links) {
        const ssize_t length = readlink(path.c_str(), target, sizeof(target));
        if (length < 0) {
            break;
        }
        const std::string_view next(target, static_cast<std::size_t>(length));
        path = (next.starts_with('/') ? "" : FolderOf(path)).append(next);
    }
    return path;
}

// The mode of what lies there, where the process may write it; unchanged where there is nothing.
DWORD FindMode(const std::string& path, mode_t& mode)
{
    struct stat found {};
    if (stat(path.c_str(), &found) != 0) {
        return IsNothing(errno) ? ERROR_SUCCESS : ErrorFromErrno(errno);
    }
    mode = found.st_mode & PERMISSIONS;
    const bool isWritable = faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
    return isWritable ? ERROR_SUCCESS : ErrorFromErrno(errno);
}

// The host has no lock that waits for some time.
DWORD TakeLock(int file, std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (flock(file, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return ErrorFromErrno(errno);
        }
        if (std::chrono::steady_clock::now() >= end) {
            return ERROR_SHARING_VIOLATION;
        }
        std::this_thread::sleep_for(LOCK_STEP);
    }
    return ERROR_SUCCESS;
}

} // namespace

Descriptor::~Descriptor()
{
    if (number_ >= 0) {
        close(number_);
    }
}

FileVersion::FileVersion(Descriptor file, DWORD& error) : file_(std::move(file))
{
    error = fstat(file_.Number(), &status_) == 0 ? ERROR_SUCCESS : ErrorFromErrno(errno);
    if (error == ERROR_SUCCESS && !S_ISREG(status_.st_mode)) {
        error = ERROR_ACCESS_DENIED;
    }
}

bool FileVersion::IsStillAt(const std::string& path) const
{
    struct stat now {};
    if (stat(path.c_str(), &now) != 0) {
        return IsNothing(errno) && !IsFile();
    }
    return IsFile() && now.st_dev == status_.st_dev && now.st_ino == status_.st_ino &&
           now.st_size == status_.st_size && IsSameTime(now.st_mtim, status_.st_mtim);
}

DWORD LoadFile(const std::string& path, std::size_t limit, std::string& bytes, FileVersion& version)
{
    bytes.clear();
    Descriptor file(open(path.c_str(), O_RDONLY | HOLDS_UP_NEVER | O_CLOEXEC));
    if (!file.IsOpen()) {
        const int reason = errno;
        version = FileVersion();
        return IsNothing(reason) ? ERROR_SUCCESS : ErrorFromErrno(reason);
    }
    DWORD error = ERROR_SUCCESS;
    FileVersion opened(std::move(file), error);
    if (error == ERROR_SUCCESS) {
        error = ReadAll(opened.File(), limit, bytes);
    }
    if (error == ERROR_SUCCESS) {
        version = std::move(opened);
    }
    return error;
}

DWORD ReplaceFile(const std::string& path, std::string_view bytes, FileVersion& version)
{
    const std::string written = path + ".new";
    const std::string folder = FolderOf(path);
    mode_t mode = OWNERS_FILE;
    DWORD error = FindMode(path, mode);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    Descriptor file(open(written.c_str(),
                         O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | HOLDS_UP_NEVER | O_CLOEXEC,
                         OWNERS_FILE));
    if (!file.IsOpen()) {
        return ErrorFromErrno(errno);
    }
    fchmod(file.Number(), mode); // where the file system has modes
    error = WriteAll(file.Number(), bytes);
    FileVersion replaced;
    if (error == ERROR_SUCCESS) {
        replaced = FileVersion(std::move(file), error);
    }
    if (error == ERROR_SUCCESS && std::rename(written.c_str(), path.c_str()) != 0) {
        error = ErrorFromErrno(errno);
    }
    if (error != ERROR_SUCCESS) {
        unlink(written.c_str());
        return error;
    }
    SyncFolder(folder);
    version = std::move(replaced);
    return ERROR_SUCCESS;
}

FileLock::FileLock(const std::string& path, std::chrono::milliseconds patience)
    : path_(FollowLinks(path)), error_(ERROR_ACCESS_DENIED)
{
    if (path_.ends_with('/')) {
        return;
    }
    MakeFolders(path_);
    file_ = Descriptor(open((path_ + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, OWNERS_FILE));
    error_ = file_.IsOpen() ? TakeLock(file_.Number(), patience) : ErrorFromErrno(errno);
}

} // namespace Platform::Host
