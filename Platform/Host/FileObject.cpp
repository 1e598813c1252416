#include "Platform/Host/FileObject.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

constexpr std::size_t LARGEST_STEP = 0x7FFFF000; // more the host reads or writes by no call

std::size_t NextStep(DWORD count, DWORD done, std::int64_t position)
{
    const std::size_t left = std::min<std::size_t>(count - done, LARGEST_STEP);
    return static_cast<std::size_t>(
        std::min<std::uint64_t>(left, static_cast<std::uint64_t>(LAST_POSITION - position)));
}

DWORD WritingError(int error)
{
    return error == EFAULT ? ERROR_INVALID_USER_BUFFER : ErrorFromErrno(error);
}

} // namespace

void File::Take(SharedFile file, DWORD access, bool seeks)
{
    file_ = std::move(file);
    access_ = access;
    seeks_ = seeks;
}

ssize_t File::ReadSome(char* bytes, std::size_t count) const
{
    const int file = file_.Number();
    return TEMP_FAILURE_RETRY(seeks_ ? pread(file, bytes, count, position_) : read(file, bytes, count));
}

ssize_t File::WriteSome(const char* bytes, std::size_t count) const
{
    const int file = file_.Number();
    return TEMP_FAILURE_RETRY(seeks_ ? pwrite(file, bytes, count, position_) : write(file, bytes, count));
}

// Less than was asked for is the end, or all that a device has now.
BOOL File::Read(char* bytes, DWORD count, DWORD& done)
{
    if (!MayRead()) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    if (bytes == nullptr && count != 0) {
        return Fail(ERROR_NOACCESS); // at the end the host would not look
    }
    const std::lock_guard lock(mutex_);
    while (done < count) {
        const std::size_t step = NextStep(count, done, position_);
        const ssize_t result = ReadSome(bytes + done, step);
        if (result < 0) {
            return Fail(ErrorFromErrno(errno));
        }
        done += static_cast<DWORD>(result);
        position_ += seeks_ ? result : 0;
        if (static_cast<std::size_t>(result) < step || step == 0 || !seeks_) {
            break;
        }
    }
    return TRUE;
}

BOOL File::Write(const char* bytes, DWORD count, DWORD& done)
{
    if (!MayWrite()) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    const std::lock_guard lock(mutex_);
    const std::int64_t start = position_;
    while (done < count) {
        const std::size_t step = NextStep(count, done, position_);
        const ssize_t result = WriteSome(bytes + done, step);
        if (result < 0 || step == 0) {
            position_ = start;
            done = 0;
            return Fail(step == 0 ? ERROR_INVALID_PARAMETER : WritingError(errno));
        }
        done += static_cast<DWORD>(result);
        position_ += seeks_ ? result : 0;
    }
    return TRUE;
}

std::int64_t File::Seek(std::int64_t distance, DWORD method, std::int64_t limit)
{
    const std::lock_guard lock(mutex_);
    std::int64_t start = method == FILE_CURRENT ? position_ : 0;
    if (method == FILE_END) {
        start = Size();
        if (start < 0) {
            return -1;
        }
    }
    const bool isTooFar = distance > LAST_POSITION - start || start + distance > limit;
    if (isTooFar || start + distance < 0) {
        Fail(isTooFar ? ERROR_INVALID_PARAMETER : ERROR_NEGATIVE_SEEK);
        return -1;
    }
    position_ = start + distance;
    return position_;
}

BOOL File::SetEnd()
{
    if (!MayWrite()) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    const std::lock_guard lock(mutex_);
    if (TEMP_FAILURE_RETRY(ftruncate(file_.Number(), position_)) == 0) {
        return TRUE;
    }
    return Fail(errno == EINVAL || errno == EFBIG ? ERROR_INVALID_PARAMETER : ErrorFromErrno(errno));
}

// The host's own position is nobody's, so it may move.
std::int64_t File::Size()
{
    if (seeks_) {
        if (const off_t end = lseek(file_.Number(), 0, SEEK_END); end >= 0) {
            return end;
        }
    }
    struct stat status {};
    return GetStatus(status) ? status.st_size : -1;
}

BOOL File::GetStatus(struct stat& status) const
{
    return fstat(file_.Number(), &status) == 0 ? TRUE : Fail(ErrorFromErrno(errno));
}

BOOL File::SetTimes(const timespec* times)
{
    if (!MayWrite()) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    return futimens(file_.Number(), times) == 0 ? TRUE : Fail(ErrorFromErrno(errno));
}

} // namespace Platform::Host
