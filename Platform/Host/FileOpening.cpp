#include "Platform/Host/FileOpening.h"

#include "Platform/Host/Drives.h"
#include "Platform/Host/FileObject.h"
#include "Platform/Host/ShareModes.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

constexpr mode_t NEW_FILE = 0666;
constexpr mode_t ANY_WRITING = 0222;

bool IsDisposition(DWORD disposition)
{
    return disposition >= CREATE_NEW && disposition <= TRUNCATE_EXISTING;
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
    void HandOver(File& file) { file.Take(std::move(descriptor_), request_.access, seeks_); }

    [[nodiscard]] bool IsNew() const { return isNew_; }

private:
    [[nodiscard]] int Flags() const;
    [[nodiscard]] DWORD ErrorOfFolderPath(std::u16string_view full) const;
    [[nodiscard]] Descriptor OpenNative(const std::string& native) const;
    DWORD OpenFound(const std::string& native);
    DWORD Create(const std::string& native);
    DWORD TakeOver();
    [[nodiscard]] bool Share() const;

    OpenRequest request_;
    Descriptor descriptor_;
    bool seeks_ = false;
    bool isNew_ = false;
};

int Opening::Flags() const
{
    const int common =
        O_CLOEXEC | O_NOCTTY | ((request_.flagsAndAttributes & FILE_FLAG_WRITE_THROUGH) != 0 ? O_DSYNC : 0);
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

// What is there is tried under its exact name first.
DWORD Opening::Open(std::u16string_view full)
{
    if (full.ends_with(u'\\')) {
        return ErrorOfFolderPath(full);
    }
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
    if (error == ERROR_SUCCESS) {
        error = request_.disposition == CREATE_NEW ? ERROR_FILE_EXISTS : OpenFound(native);
    }
    return error;
}

DWORD Opening::OpenFound(const std::string& native)
{
    descriptor_ = OpenNative(native);
    if (!descriptor_.IsOpen()) {
        return ErrorFromErrno(errno);
    }
    return TakeOver();
}

// False where another opening does not allow it.
bool Opening::Share() const
{
    return TakeShare(descriptor_.Number(), request_.access, request_.shareMode) != Sharing::REFUSED;
}

DWORD Opening::TakeOver()
{
    struct stat status {};
    if (fstat(descriptor_.Number(), &status) != 0) {
        return ErrorFromErrno(errno);
    }
    const bool isReadOnly = (status.st_mode & ANY_WRITING) == 0;
    if (S_ISDIR(status.st_mode) || (isReadOnly && Changes())) {
        return ERROR_ACCESS_DENIED;
    }
    seeks_ = S_ISREG(status.st_mode);
    if (seeks_ && !Share()) {
        return ERROR_SHARING_VIOLATION;
    }
    if (seeks_ && Truncates() && ftruncate(descriptor_.Number(), 0) != 0) {
        return ErrorFromErrno(errno);
    }
    return ERROR_SUCCESS;
}

// Another process may be quicker, which is as if the file had been there.
DWORD Opening::Create(const std::string& native)
{
    const bool isReadOnly = (request_.flagsAndAttributes & FILE_ATTRIBUTE_READONLY) != 0;
    const int flags = (Flags() & ~O_PATH) | O_CREAT | O_EXCL;
    descriptor_ = Descriptor(open(native.c_str(), flags, isReadOnly ? NEW_FILE & ~ANY_WRITING : NEW_FILE));
    if (descriptor_.IsOpen()) {
        isNew_ = true;
        seeks_ = true;
        return Share() ? ERROR_SUCCESS : ERROR_SHARING_VIOLATION;
    }
    if (errno == EEXIST) {
        return request_.disposition == CREATE_NEW ? ERROR_FILE_EXISTS : OpenFound(native);
    }
    return ErrorFromErrno(errno);
}

} // namespace

// All that can run out of memory comes before the file is touched.
HANDLE OpenFile(LPCWSTR fileName, const OpenRequest& request)
{
    std::u16string storage;
    std::u16string_view full;
    DWORD error = ERROR_PATH_NOT_FOUND;
    if (fileName != nullptr && *fileName != 0) {
        error = IsDisposition(request.disposition) ? CompletePath(fileName, storage, full)
                                                   : ERROR_INVALID_PARAMETER;
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
