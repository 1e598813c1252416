// Making and removing folders, and removing files.
#include "Platform/Host/Api/Files.h"

#include "Platform/Host/Drives.h"
#include "Platform/Host/Gate.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

bool IsEmpty(LPCWSTR path)
{
    return path == nullptr || *path == 0;
}

bool IsDriveRoot(std::u16string_view full)
{
    return full.size() == DRIVE_ROOT_LENGTH;
}

BOOL MakeFolder(LPCWSTR path)
{
    std::string native;
    const DWORD found = IsEmpty(path) ? ERROR_PATH_NOT_FOUND : ResolvePath(path, native);
    if (found != ERROR_FILE_NOT_FOUND) {
        return Fail(found == ERROR_SUCCESS ? ERROR_ALREADY_EXISTS : found);
    }
    if (mkdir(native.c_str(), 0777) == 0) {
        return TRUE;
    }
    return Fail(errno == EEXIST ? ERROR_ALREADY_EXISTS : ErrorFromErrno(errno));
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
    }
    if (error != ERROR_SUCCESS) {
        return Fail(error);
    }
    return rmdir(native.c_str()) == 0 ? TRUE : Fail(RemovalError(errno));
}

DWORD CheckRemovable(const std::string& native)
{
    struct stat status {};
    if (stat(native.c_str(), &status) != 0) {
        return ErrorFromErrno(errno);
    }
    const bool isLocked = S_ISDIR(status.st_mode) || (status.st_mode & 0222) == 0;
    return isLocked ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

BOOL RemoveFile(LPCWSTR path)
{
    std::string native;
    DWORD error = IsEmpty(path) ? ERROR_PATH_NOT_FOUND : ResolvePath(path, native);
    if (error == ERROR_SUCCESS) {
        error = CheckRemovable(native);
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
