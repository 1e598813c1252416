#include "Platform/Host/Api/Files.h"

#include "Platform/Host/Drives.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Handles.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

class File : public KernelObject {
public:
    explicit File(int descriptor) : descriptor_(descriptor) {}
    ~File() override { close(descriptor_); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

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
    int descriptor_;
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
    return disposition == CREATE_NEW || disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
}

HANDLE OpenFile(LPCWSTR fileName, DWORD access, DWORD disposition)
{
    const int dispositionFlags = DispositionFlags(disposition);
    if (fileName == nullptr || dispositionFlags < 0) {
        Fail(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    std::string native;
    DWORD found = *fileName != 0 ? ResolvePath(fileName, native) : ERROR_PATH_NOT_FOUND;
    if (found == ERROR_SUCCESS) {
        found = CheckFound(native, disposition);
    }
    const bool isNew = found == ERROR_FILE_NOT_FOUND && Creates(disposition);
    if (found != ERROR_SUCCESS && !isNew) {
        Fail(found);
        return INVALID_HANDLE_VALUE;
    }
    const int file = open(native.c_str(), AccessFlags(access) | dispositionFlags | O_CLOEXEC, 0666);
    if (file < 0) {
        Fail(ErrorFromErrno(errno));
        return INVALID_HANDLE_VALUE;
    }
    lastError = Creates(disposition) && !isNew ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS;
    return OpenHandle(std::make_shared<File>(file));
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

BOOL WINAPI WriteFile(HANDLE handle, LPCVOID bytes, DWORD byteCount, LPDWORD written, LPOVERLAPPED overlapped)
{
    return Guarded("WriteFile", FALSE, [&]() -> BOOL {
        if (written == nullptr || overlapped != nullptr) {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        *written = 0;
        const std::shared_ptr<File> file = FindObjectOf<File>(handle);
        return file != nullptr ? file->Write(static_cast<const char*>(bytes), byteCount, *written) : FALSE;
    });
}
