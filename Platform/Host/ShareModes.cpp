#include "Platform/Host/ShareModes.h"

#include "Platform/Host/Api/Files.h"
#include "Platform/Host/LastError.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

constexpr off_t REGION_LENGTH = off_t{1} << 40;
constexpr off_t WRITING = off_t{1} << 62; // the region's place
constexpr off_t READING = WRITING + REGION_LENGTH;
constexpr int MOST_TRIES = 3; // of a byte that another may have chosen too

bool TryLock(int file, short type, off_t start, off_t length)
{
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = start;
    lock.l_len = length;
    return fcntl(file, F_OFD_SETLK, &lock) == 0;
}

bool IsConflict(int error)
{
    return error == EAGAIN || error == EACCES;
}

DWORD TakeAll(int file, short type, off_t start, off_t length)
{
    return TryLock(file, type, start, length) || !IsConflict(errno) ? ERROR_SUCCESS : ERROR_SHARING_VIOLATION;
}

// Spread over the region, for this process and all others.
off_t RandomByte()
{
    static std::atomic<std::uint64_t> calls{0};
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    std::uint64_t bits = static_cast<std::uint64_t>(now.tv_nsec) ^ static_cast<std::uint64_t>(getpid()) << 32;
    bits = (bits + ++calls * 0x9E3779B97F4A7C15U) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ bits >> 31) * 0x94D049BB133111EBU;
    return static_cast<off_t>((bits ^ bits >> 29) % REGION_LENGTH);
}

DWORD TakeOneByte(int file, off_t region)
{
    for (int i = 0; i < MOST_TRIES; ++i) {
        if (TakeAll(file, F_WRLCK, region + RandomByte(), 1) == ERROR_SUCCESS) {
            return ERROR_SUCCESS;
        }
    }
    return ERROR_SHARING_VIOLATION;
}

// Whether somebody holds a lock that this one would meet. Needs no right to write.
bool IsHeld(int file, off_t start, off_t length)
{
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = start;
    lock.l_len = length;
    return fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// Alone where the file is open for writing. Where it cannot be, a look has to do, and a reader's lock.
DWORD TakeRegionsAlone(int file, off_t start, off_t length)
{
    if (TryLock(file, F_WRLCK, start, length)) {
        return ERROR_SUCCESS;
    }
    if (errno != EBADF) {
        return IsConflict(errno) ? ERROR_SHARING_VIOLATION : ERROR_SUCCESS;
    }
    return IsHeld(file, start, length) ? ERROR_SHARING_VIOLATION : TakeAll(file, F_RDLCK, start, length);
}

DWORD TakeWriting(int file, bool writes, bool denies)
{
    if (writes) {
        return denies ? TakeAll(file, F_WRLCK, WRITING, REGION_LENGTH) : TakeOneByte(file, WRITING);
    }
    return denies ? TakeAll(file, F_RDLCK, WRITING, REGION_LENGTH) : ERROR_SUCCESS;
}

DWORD TakeReading(int file, bool reads, bool denies)
{
    if (reads) {
        return denies ? TakeRegionsAlone(file, READING, REGION_LENGTH)
                      : TakeAll(file, F_RDLCK, READING, REGION_LENGTH);
    }
    return denies ? TakeOneByte(file, READING) : ERROR_SUCCESS;
}

} // namespace

bool NeedsWriting(DWORD access, DWORD shareMode)
{
    return (access & GENERIC_READ) != 0 && (shareMode & FILE_SHARE_READ) == 0;
}

DWORD TakeShare(int file, DWORD access, DWORD shareMode)
{
    const bool reads = (access & GENERIC_READ) != 0;
    const bool writes = (access & GENERIC_WRITE) != 0;
    const bool deniesReading = (shareMode & FILE_SHARE_READ) == 0;
    const bool deniesWriting = (shareMode & FILE_SHARE_WRITE) == 0;
    if (reads && !writes && !deniesReading && deniesWriting) {
        return TakeAll(file, F_RDLCK, WRITING, 2 * REGION_LENGTH);
    }
    if (!reads && !writes) {
        return ERROR_SUCCESS;
    }
    const DWORD error = TakeWriting(file, writes, deniesWriting);
    return error == ERROR_SUCCESS ? TakeReading(file, reads, deniesReading) : error;
}

DWORD TakeAlone(int file)
{
    return TakeRegionsAlone(file, WRITING, 2 * REGION_LENGTH);
}

} // namespace Platform::Host
