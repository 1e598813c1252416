// Making and removing folders, and removing files.
#include "Platform/Host/Api/Files.h"

#include "Platform/Host/Drives.h"
#include "Platform/Host/FileModes.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/ShareModes.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

constexpr mode_t NEW_FOLDER = 0777;

bool IsEmpty(LPCWSTR path)
{
    return path == nullptr || *path == 0;
}

bool IsDriveRoot(std::u16string_view full)
{
    return full.size() == DRIVE_ROOT_LENGTH;
}

DWORD CreationError(int error, const std::string& native)
{
    if (error != EEXIST) {
        return ErrorFromErrno(error);
    }
    return IsLinkToNowhere(native) ? ERROR_ACCESS_DENIED : ERROR_ALREADY_EXISTS;
}

BOOL MakeFolder(LPCWSTR path)
{
    std::u16string full;
    std::string native;
    DWORD error = IsEmpty(path) ? ERROR_PATH_NOT_FOUND : CompletePath(path, full);
    if (error != ERROR_SUCCESS) {
        return Fail(error);
    }
    error = FindNative(full, native);
    if (error == ERROR_FILE_NOT_FOUND) {
        return mkdir(native.c_str(), NEW_FOLDER) == 0 ? TRUE : Fail(CreationError(errno, native));
    }
    const bool isTaken = error == ERROR_SUCCESS || error == ERROR_INVALID_NAME;
    if (error == ERROR_SUCCESS && IsDriveRoot(full)) {
        error = ERROR_ACCESS_DENIED;
    } else if (isTaken) { // by a file, where the path ends in a separator
        error = ERROR_ALREADY_EXISTS;
    }
    return Fail(error);
}

bool IsCurrentDirectory(const std::string& native)
{
    struct stat folder {};
    struct stat current {};
    return stat(native.c_str(), &folder) == 0 && stat(".", &current) == 0 &&
           folder.st_dev == current.st_dev && folder.st_ino == current.st_ino;
}

DWORD RemovalError(int error)
{
    switch (error) {
    case ENOTEMPTY:
    case EEXIST:
        return ERROR_DIR_NOT_EMPTY;
    case ENOTDIR:
        return ERROR_DIRECTORY;
    default:
        return ErrorFromErrno(error);
    }
}

BOOL RemoveFolder(LPCWSTR path)
{
    std::u16string full;
    std::string native;
    DWORD error = IsEmpty(path) ? ERROR_INVALID_NAME : CompletePath(path, full);
    if (error == ERROR_SUCCESS) {
        error = FindNative(full, native);
    }
    if (error == ERROR_SUCCESS && IsDriveRoot(full)) {
        error = ERROR_ACCESS_DENIED;
    } else if (error == ERROR_SUCCESS && IsCurrentDirectory(native)) {
        error = ERROR_SHARING_VIOLATION;
    }
    if (error != ERROR_SUCCESS) {
        return Fail(error);
    }
    return rmdir(native.c_str()) == 0 ? TRUE : Fail(RemovalError(errno));
}

// A running program may be read alone.
bool IsRefusal(int error)
{
    return error == EACCES || error == EPERM || error == EROFS || error == ETXTBSY;
}

// Has the file alone, unless another was quicker to delete it.
DWORD TakeAlone(const SharedFile& file)
{
    const Sharing sharing = file.TakeAlone();
    struct stat status {};
    if (fstat(file.Number(), &status) != 0) {
        return ErrorFromErrno(errno);
    }
    if (status.st_nlink == 0) {
        return ERROR_FILE_NOT_FOUND;
    }
    return sharing == Sharing::REFUSED ? ERROR_SHARING_VIOLATION : ERROR_SUCCESS;
}

// Keeps the file from being opened until it is gone. One that the process may not open tells nothing.
DWORD TakeForRemoval(const std::string& native, SharedFile& file)
{
    for (const int access : {O_RDWR, O_RDONLY, O_WRONLY}) {
        file = SharedFile(Descriptor(open(native.c_str(), access | O_NONBLOCK | O_CLOEXEC)));
        if (file.IsOpen()) {
            return TakeAlone(file);
        }
        if (!IsRefusal(errno)) {
            return ErrorFromErrno(errno);
        }
    }
    return ERROR_SUCCESS;
}

BOOL RemoveFile(LPCWSTR path)
{
    std::string native;
    SharedFile file;
    struct stat status {};
    DWORD error = IsEmpty(path) ? ERROR_PATH_NOT_FOUND : ResolvePath(path, native);
    if (error == ERROR_SUCCESS && stat(native.c_str(), &status) != 0) {
        error = ErrorFromErrno(errno);
    }
    if (error == ERROR_SUCCESS && (S_ISDIR(status.st_mode) || IsReadOnly(status))) {
        error = ERROR_ACCESS_DENIED;
    }
    if (error == ERROR_SUCCESS && S_ISREG(status.st_mode)) {
        error = TakeForRemoval(native, file);
    }
    if (error != ERROR_SUCCESS) {
        return Fail(error);
    }
    return unlink(native.c_str()) == 0 ? TRUE : Fail(ErrorFromErrno(errno));
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

BOOL WINAPI DeleteFileW(LPCWSTR fileName)
{
    return Guarded("DeleteFileW", FALSE, [&] { return RemoveFile(fileName); });
}

BOOL WINAPI CreateDirectoryW(LPCWSTR pathName, LPSECURITY_ATTRIBUTES /*securityAttributes*/)
{
    return Guarded("CreateDirectoryW", FALSE, [&] { return MakeFolder(pathName); });
}

BOOL WINAPI RemoveDirectoryW(LPCWSTR pathName)
{
    return Guarded("RemoveDirectoryW", FALSE, [&] { return RemoveFolder(pathName); });
}
