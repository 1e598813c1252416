#include "Platform/Host/Api/Files.h"

#include "Platform/Host/Drives.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Handles.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

class File : public KernelObject {
public:
    File() = default;
    ~File() override
    {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    BOOL Open(const std::string& native, int flags)
    {
        descriptor_ = open(native.c_str(), flags | O_CLOEXEC, 0666);
        return descriptor_ >= 0 ? TRUE : Fail(ErrorFromErrno(errno));
    }

    DWORD Wait(DWORD /*milliseconds*/) override { return WAIT_OBJECT_0; }

    BOOL Write(const char* bytes, std::size_t count, DWORD& written) const
    {
        while (written < count) {
            const ssize_t result = write(descriptor_, bytes + written, count - written);
            if (result < 0 && errno != EINTR) {
                return Fail(ErrorFromErrno(errno));
            }
            written += static_cast<DWORD>(std::max<ssize_t>(result, 0));
        }
        return TRUE;
    }

private:
    int descriptor_ = -1;
};

int AccessFlags(DWORD access)
{
    const bool reads = (access & GENERIC_READ) != 0;
    const bool writes = (access & GENERIC_WRITE) != 0;
    if (reads && writes) {
        return O_RDWR;
    }
    return writes ? O_WRONLY : O_RDONLY;
}

// -1 for a disposition that is none.
int DispositionFlags(DWORD disposition)
{
    switch (disposition) {
    case CREATE_NEW:
        return O_CREAT | O_EXCL;
    case CREATE_ALWAYS:
        return O_CREAT | O_TRUNC;
    case OPEN_EXISTING:
        return 0;
    case OPEN_ALWAYS:
        return O_CREAT;
    case TRUNCATE_EXISTING:
        return O_TRUNC;
    default:
        return -1;
    }
}

// What the platform says of a file that is there, or of a place where one could be.
DWORD CheckFound(const std::string& native, DWORD disposition)
{
    struct stat status {};
    if (stat(native.c_str(), &status) != 0) {
        return ErrorFromErrno(errno);
    }
    if (disposition == CREATE_NEW) {
        return ERROR_FILE_EXISTS;
    }
    return S_ISDIR(status.st_mode) ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

bool Creates(DWORD disposition)
{
    return (DispositionFlags(disposition) & O_CREAT) != 0;
}

// Finds the file or the place where it would be. ERROR_FILE_NOT_FOUND where there is only the place.
DWORD FindFile(LPCWSTR fileName, DWORD disposition, std::string& native)
{
    if (fileName == nullptr || *fileName == 0) {
        return ERROR_PATH_NOT_FOUND;
    }
    if (DispositionFlags(disposition) < 0) {
        return ERROR_INVALID_PARAMETER;
    }
    const DWORD found = ResolvePath(fileName, native);
    return found == ERROR_SUCCESS ? CheckFound(native, disposition) : found;
}

// All that can run out of memory comes before the file is touched.
HANDLE OpenFile(LPCWSTR fileName, DWORD access, DWORD disposition)
{
    std::string native;
    const DWORD found = FindFile(fileName, disposition, native);
    const bool isNew = found == ERROR_FILE_NOT_FOUND && Creates(disposition);
    if (found != ERROR_SUCCESS && !isNew) {
        Fail(found);
        return INVALID_HANDLE_VALUE;
    }
    const auto file = std::make_shared<File>();
    PendingHandle handle(file);
    if (!file->Open(native, AccessFlags(access) | DispositionFlags(disposition))) {
        return INVALID_HANDLE_VALUE;
    }
    lastError = Creates(disposition) && !isNew ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS;
    return handle.HandOut();
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

HANDLE WINAPI CreateFileW(LPCWSTR fileName, DWORD access, DWORD /*shareMode*/,
                          LPSECURITY_ATTRIBUTES /*securityAttributes*/, DWORD disposition,
                          DWORD /*flagsAndAttributes*/, HANDLE /*templateFile*/)
{
    return Guarded("CreateFileW", INVALID_HANDLE_VALUE,
                   [&] { return OpenFile(fileName, access, disposition); });
}

BOOL WINAPI WriteFile(HANDLE file, LPCVOID bytes, DWORD byteCount, LPDWORD written, LPOVERLAPPED overlapped)
{
    if (written != nullptr) {
        *written = 0;
    }
    return Guarded("WriteFile", FALSE, [&]() -> BOOL {
        if (written == nullptr || overlapped != nullptr) {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        if (bytes == nullptr && byteCount != 0) {
            return Fail(ERROR_INVALID_USER_BUFFER);
        }
        const std::shared_ptr<File> found = FindObjectOf<File>(file);
        return found != nullptr ? found->Write(static_cast<const char*>(bytes), byteCount, *written) : FALSE;
    });
}
