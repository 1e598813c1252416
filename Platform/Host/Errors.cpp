// The last-error value and the error mode.
#include "Platform/Host/Api/Errors.h"
#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/LastError.h"
#include "Platform/Host/ProcessStart.h"

#include <atomic>
#include <cerrno>

namespace Platform::Host {

namespace {

std::atomic<UINT>& ErrorMode()
{
    static std::atomic<UINT> mode{OwnStart().errorMode};
    return mode;
}

} // namespace

DWORD ErrorFromErrno(int error)
{
    switch (error) {
    case ENOENT:
        return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
    case ELOOP:
    case ENAMETOOLONG:
        return ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE:
        return ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EBADF: // a descriptor of the layer's own, so one that does not let this happen
    case EPERM:
    case EROFS:
    case EISDIR:
    case ENXIO: // what no file can be, such as a socket
        return ERROR_ACCESS_DENIED;
    case ENOMEM:
    case EAGAIN:
        return ERROR_NOT_ENOUGH_MEMORY;
    case EBUSY:
    case ETXTBSY:
        return ERROR_SHARING_VIOLATION;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return ERROR_DISK_FULL;
    case EFAULT:
        return ERROR_NOACCESS;
    case ENOEXEC:
        return ERROR_BAD_EXE_FORMAT;
    case E2BIG:
        return ERROR_FILENAME_EXCED_RANGE;
    default:
        return ERROR_GEN_FAILURE;
    }
}

UINT CurrentErrorMode()
{
    return ErrorMode();
}

} // namespace Platform::Host

using namespace Platform::Host;

DWORD WINAPI GetLastError()
{
    GateSees("GetLastError");
    return lastError;
}

void WINAPI SetLastError(DWORD error)
{
    GateSees("SetLastError");
    lastError = error;
}

UINT WINAPI GetErrorMode()
{
    GateSees("GetErrorMode");
    return ErrorMode();
}

UINT WINAPI SetErrorMode(UINT mode)
{
    GateSees("SetErrorMode");
    return ErrorMode().exchange(mode);
}
