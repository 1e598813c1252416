#include "Platform/Host/FileOpening.h"

#include "Platform/Host/Drives.h"
#include "Platform/Host/FileModes.h"
#include "Platform/Host/FileObject.h"
#include "Platform/Host/ShareModes.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

constexpr mode_t NEW_FILE = 0666;
constexpr int MOST_TRIES = 100; // of opening what others delete all the time

bool IsPossible(const OpenRequest& request)
{
    const bool isDisposition = request.disposition >= CREATE_NEW && request.disposition <= TRUNCATE_EXISTING;
    return isDisposition &&
           (request.disposition != TRUNCATE_EXISTING || (request.access & GENERIC_WRITE) != 0);
}

// Files are opened without waiting: what cannot be had at once is in another's hands.
DWORD OpeningError(int error)
{
    return error == EAGAIN ? ERROR_SHARING_VIOLATION : ErrorFromErrno(error);
}

// From now on a device may let its reader wait.
bool LetWait(int file)
{
    const int flags = fcntl(file, F_GETFL);
    return (flags & O_NONBLOCK) == 0 || fcntl(file, F_SETFL, flags & ~O_NONBLOCK) == 0;
}

class Opening {
public:
    explicit Opening(const OpenRequest& request) : request_(request) {}

    [[nodiscard]] bool Reads() const { return (request_.access & GENERIC_READ) != 0; }
    [[nodiscard]] bool Writes() const { return (request_.access & GENERIC_WRITE) != 0; }
    [[nodiscard]] bool Creates() const
    {
        return request_.disposition != OPEN_EXISTING && request_.disposition != TRUNCATE_EXISTING;
    }
    [[nodiscard]] bool Truncates() const
    {
        return request_.disposition == CREATE_ALWAYS || request_.disposition == TRUNCATE_EXISTING;
    }

    // Whether the file has to be one that may be written.
    [[nodiscard]] bool Changes() const { return Writes() || Truncates(); }

    DWORD Open(std::u16string_view full);
    void HandOver(File& file) { file.Take(std::move(file_), request_.access, seeks_); }

    [[nodiscard]] bool IsNew() const { return isNew_; }

private:
    [[nodiscard]] int Flags() const;
    [[nodiscard]] DWORD ErrorOfFolderPath(std::u16string_view full) const;
    [[nodiscard]] Descriptor OpenNative(const std::string& native) const;
    DWORD TryOpen(std::u16string_view full);
    DWORD OpenFound(const std::string& native);
    DWORD Create(const std::string& native);
    DWORD TakeOver(DWORD sharedAccess);
    DWORD Truncate();

    OpenRequest request_;
    SharedFile file_;
    bool seeks_ = false;
    bool isNew_ = false;
};

int Opening::Flags() const
{
    const int common = O_CLOEXEC | O_NOCTTY | O_NONBLOCK |
                       ((request_.flagsAndAttributes & FILE_FLAG_WRITE_THROUGH) != 0 ? O_DSYNC : 0);
    if (Changes()) {
        return common | (Reads() ? O_RDWR : O_WRONLY);
    }
    return common | (Reads() ? O_RDONLY : O_PATH);
}

Descriptor Opening::OpenNative(const std::string& native) const
{
    if (!Changes() && NeedsWriting(request_.access, request_.shareMode)) {
        if (Descriptor writable(open(native.c_str(), Flags() | O_RDWR)); writable.IsOpen()) {
            return writable;
        }
    }
    return Descriptor(open(native.c_str(), Flags()));
}

// A path that ends in a separator leads to no file.
DWORD Opening::ErrorOfFolderPath(std::u16string_view full) const
{
    std::string native;
    const DWORD found = FindNative(full, native);
    switch (found) {
    case ERROR_SUCCESS:
        return request_.disposition == CREATE_NEW ? ERROR_FILE_EXISTS : ERROR_ACCESS_DENIED;
    case ERROR_INVALID_NAME:
        return request_.disposition == CREATE_NEW ? ERROR_FILE_EXISTS : ERROR_INVALID_NAME;
    case ERROR_FILE_NOT_FOUND:
        return Creates() ? ERROR_INVALID_NAME : ERROR_FILE_NOT_FOUND;
    default:
        return found;
    }
}

// Begins again where another was quicker to delete or create the file.
DWORD Opening::Open(std::u16string_view full)
{
    if (full.ends_with(u'\\')) {
        return ErrorOfFolderPath(full);
    }
    for (int i = 0; i < MOST_TRIES; ++i) {
        file_ = SharedFile(); // ends before errno tells of the next one
        if (const DWORD error = TryOpen(full); error != ERROR_DELETE_PENDING) {
            return error;
        }
    }
    return ERROR_ACCESS_DENIED;
}

// What is there is tried under its exact name first.
DWORD Opening::TryOpen(std::u16string_view full)
{
    std::string native;
    DWORD error = ToNativePath(full, native);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    error = request_.disposition == CREATE_NEW ? ERROR_FILE_NOT_FOUND : OpenFound(native);
    if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) {
        return error;
    }
    error = FindNative(full, native);
    if (error == ERROR_FILE_NOT_FOUND && Creates()) {
        return Create(native);
    }
    if (error != ERROR_SUCCESS) {
        return error;
    }
    if (request_.disposition == CREATE_NEW) {
        return ERROR_FILE_EXISTS;
    }
    error = OpenFound(native);
    return error == ERROR_FILE_NOT_FOUND && Creates() ? ERROR_DELETE_PENDING : error;
}

DWORD Opening::OpenFound(const std::string& native)
{
    isNew_ = false;
    file_ = SharedFile(OpenNative(native));
    if (!file_.IsOpen()) {
        return OpeningError(errno);
    }
    const DWORD error = TakeOver(request_.access | (Truncates() ? DWORD{GENERIC_WRITE} : 0));
    return error == ERROR_SUCCESS && Truncates() ? Truncate() : error;
}

// Who deletes a file has it alone until it is gone: one that is there after the share was taken stays.
DWORD Opening::TakeOver(DWORD sharedAccess)
{
    const Sharing sharing = file_.Take(sharedAccess, request_.shareMode);
    struct stat status {};
    if (fstat(file_.Number(), &status) != 0) {
        return ErrorFromErrno(errno);
    }
    seeks_ = S_ISREG(status.st_mode);
    if (S_ISCHR(status.st_mode)) {
        return LetWait(file_.Number()) ? ERROR_SUCCESS : ErrorFromErrno(errno);
    }
    if (!seeks_ || (IsReadOnly(status) && Changes() && !isNew_)) {
        return ERROR_ACCESS_DENIED;
    }
    if (status.st_nlink == 0) {
        return ERROR_DELETE_PENDING;
    }
    return sharing == Sharing::REFUSED ? ERROR_SHARING_VIOLATION : ERROR_SUCCESS;
}

DWORD Opening::Truncate()
{
    if (seeks_ && TEMP_FAILURE_RETRY(ftruncate(file_.Number(), 0)) != 0) {
        return ErrorFromErrno(errno);
    }
    if (!Writes()) {
        file_.StopWriting(request_.access, request_.shareMode);
    }
    return ERROR_SUCCESS;
}

DWORD Opening::Create(const std::string& native)
{
    const bool isReadOnly = (request_.flagsAndAttributes & FILE_ATTRIBUTE_READONLY) != 0;
    const int flags = (Flags() & ~O_PATH) | O_CREAT | O_EXCL |
                      (!Changes() && NeedsWriting(request_.access, request_.shareMode) ? O_RDWR : 0);
    file_ =
        SharedFile(Descriptor(open(native.c_str(), flags, isReadOnly ? NEW_FILE & ~ANY_WRITING : NEW_FILE)));
    isNew_ = file_.IsOpen();
    if (isNew_) {
        return TakeOver(request_.access);
    }
    if (errno != EEXIST) {
        return OpeningError(errno);
    }
    if (IsLinkToNowhere(native)) {
        return ERROR_ACCESS_DENIED;
    }
    return request_.disposition == CREATE_NEW ? ERROR_FILE_EXISTS : ERROR_DELETE_PENDING;
}

} // namespace

// All that can run out of memory comes before the file is touched.
HANDLE OpenFile(LPCWSTR fileName, const OpenRequest& request)
{
    std::u16string storage;
    std::u16string_view full;
    DWORD error = ERROR_PATH_NOT_FOUND;
    if (fileName != nullptr && *fileName != 0) {
        error = IsPossible(request) ? CompletePath(fileName, storage, full) : ERROR_INVALID_PARAMETER;
    }
    if (error != ERROR_SUCCESS) {
        Fail(error);
        return INVALID_HANDLE_VALUE;
    }
    const auto file = std::make_shared<File>();
    PendingHandle handle(file);
    Opening opening(request);
    error = opening.Open(full);
    if (error != ERROR_SUCCESS) {
        Fail(error);
        return INVALID_HANDLE_VALUE;
    }
    opening.HandOver(*file);
    const bool tellsOfOld = request.disposition == CREATE_ALWAYS || request.disposition == OPEN_ALWAYS;
    lastError = tellsOfOld && !opening.IsNew() ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS;
    return handle.HandOut();
}

} // namespace Platform::Host
