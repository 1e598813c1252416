#include "Platform/Host/ShareModes.h"

#include "Platform/Host/Api/Files.h"

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

Sharing FromErrno(int error)
{
    return error == EAGAIN || error == EACCES ? Sharing::REFUSED : Sharing::UNKNOWN;
}

Sharing TakeAll(int file, short type, off_t start, off_t length)
{
    return TryLock(file, type, start, length) ? Sharing::TAKEN : FromErrno(errno);
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

Sharing TakeOneByte(int file, off_t region)
{
    Sharing sharing = Sharing::REFUSED;
    for (int i = 0; i < MOST_TRIES && sharing == Sharing::REFUSED; ++i) {
        sharing = TakeAll(file, F_WRLCK, region + RandomByte(), 1);
    }
    return sharing;
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
Sharing TakeRegionsAlone(int file, off_t start, off_t length)
{
    const Sharing sharing = TakeAll(file, F_WRLCK, start, length);
    if (sharing != Sharing::UNKNOWN || errno != EBADF) {
        return sharing;
    }
    return IsHeld(file, start, length) ? Sharing::REFUSED : TakeAll(file, F_RDLCK, start, length);
}

Sharing TakeWriting(int file, bool writes, bool denies)
{
    if (writes) {
        return denies ? TakeAll(file, F_WRLCK, WRITING, REGION_LENGTH) : TakeOneByte(file, WRITING);
    }
    return denies ? TakeAll(file, F_RDLCK, WRITING, REGION_LENGTH) : Sharing::TAKEN;
}

Sharing TakeReading(int file, bool reads, bool denies)
{
    if (reads) {
        return denies ? TakeRegionsAlone(file, READING, REGION_LENGTH)
                      : TakeAll(file, F_RDLCK, READING, REGION_LENGTH);
    }
    return denies ? TakeOneByte(file, READING) : Sharing::TAKEN;
}

// To read and let others read but not write.
bool IsUsual(DWORD access, DWORD shareMode)
{
    const DWORD both = FILE_SHARE_READ | FILE_SHARE_WRITE;
    return (access & (GENERIC_READ | GENERIC_WRITE)) == GENERIC_READ && (shareMode & both) == FILE_SHARE_READ;
}

} // namespace

bool NeedsWriting(DWORD access, DWORD shareMode)
{
    return (access & GENERIC_READ) != 0 && (shareMode & FILE_SHARE_READ) == 0;
}

Sharing TakeShare(int file, DWORD access, DWORD shareMode)
{
    if (IsUsual(access, shareMode)) {
        return TakeAll(file, F_RDLCK, WRITING, 2 * REGION_LENGTH);
    }
    const bool reads = (access & GENERIC_READ) != 0;
    const bool writes = (access & GENERIC_WRITE) != 0;
    if (!reads && !writes) {
        return Sharing::TAKEN;
    }
    const Sharing sharing = TakeWriting(file, writes, (shareMode & FILE_SHARE_WRITE) == 0);
    return sharing == Sharing::REFUSED ? sharing
                                       : TakeReading(file, reads, (shareMode & FILE_SHARE_READ) == 0);
}

Sharing TakeAlone(int file)
{
    return TakeRegionsAlone(file, WRITING, 2 * REGION_LENGTH);
}

} // namespace Platform::Host
