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

struct Lock {
    short type; // F_UNLCK: none
    off_t start;
    off_t length;
};

struct flock Native(const Lock& lock)
{
    struct flock native {};
    native.l_type = lock.type;
    native.l_whence = SEEK_SET;
    native.l_start = lock.start;
    native.l_len = lock.length;
    return native;
}

bool TryLock(int file, const Lock& lock)
{
    struct flock native = Native(lock);
    return fcntl(file, F_OFD_SETLK, &native) == 0;
}

// Whether somebody holds a lock that this one would meet. Needs no right to write.
bool IsHeld(int file, const Lock& lock)
{
    struct flock native = Native(lock);
    return fcntl(file, F_OFD_GETLK, &native) == 0 && native.l_type != F_UNLCK;
}

// Spread over all of the region but its first byte, for this process and all others.
off_t RandomByte()
{
    static std::atomic<std::uint64_t> calls{0};
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    std::uint64_t bits = static_cast<std::uint64_t>(now.tv_nsec) ^ static_cast<std::uint64_t>(getpid()) << 32;
    bits = (bits + ++calls * 0x9E3779B97F4A7C15U) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ bits >> 31) * 0x94D049BB133111EBU;
    return 1 + static_cast<off_t>((bits ^ bits >> 29) % (REGION_LENGTH - 1));
}

Lock BothRegions(int type)
{
    return {static_cast<short>(type), WRITING, 2 * REGION_LENGTH};
}

bool IsOneByte(const Lock& lock)
{
    return lock.length == 1;
}

Lock OneByte(off_t region)
{
    return {F_WRLCK, region + RandomByte(), 1};
}

// A whole lock of a writer where the file is open for writing. Where it cannot be, a look has to do, and a
// reader's lock.
Sharing TakeOnce(int file, Lock lock)
{
    bool isTaken = TryLock(file, lock);
    if (!isTaken && errno == EBADF && lock.type == F_WRLCK) {
        if (IsHeld(file, lock)) {
            return Sharing::REFUSED;
        }
        lock.type = F_RDLCK;
        isTaken = TryLock(file, lock);
    }
    if (isTaken) {
        return Sharing::TAKEN;
    }
    return errno == EAGAIN || errno == EACCES ? Sharing::REFUSED : Sharing::UNKNOWN;
}

Sharing TakeLock(int file, const Lock& lock, off_t region)
{
    if (lock.type == F_UNLCK) {
        return Sharing::TAKEN;
    }
    Sharing sharing = TakeOnce(file, lock);
    for (int i = 1; i < MOST_TRIES && sharing == Sharing::REFUSED && IsOneByte(lock); ++i) {
        sharing = TakeOnce(file, OneByte(region));
    }
    return sharing;
}

Lock LockOfWriting(bool writes, bool denies)
{
    if (writes && !denies) {
        return OneByte(WRITING);
    }
    const int ofDenier = denies ? F_RDLCK : F_UNLCK;
    return {static_cast<short>(writes ? F_WRLCK : ofDenier), WRITING, REGION_LENGTH};
}

Lock LockOfReading(bool reads, bool denies)
{
    if (denies && !reads) {
        return OneByte(READING);
    }
    const int ofReader = reads ? F_RDLCK : F_UNLCK;
    return {static_cast<short>(denies ? F_WRLCK : ofReader), READING, REGION_LENGTH};
}

// What a lock of one byte would meet for good: the region's first byte is nobody's own.
Lock FirstByteFor(const Lock& lock)
{
    return IsOneByte(lock) ? Lock{lock.type, READING, 1} : lock;
}

Sharing TakeBoth(int file, const Lock& writing, const Lock& reading)
{
    if (writing.type == reading.type && !IsOneByte(writing) && !IsOneByte(reading)) {
        return TakeLock(file, BothRegions(writing.type), WRITING);
    }
    const bool areTwo = writing.type != F_UNLCK && reading.type != F_UNLCK;
    if (areTwo && IsHeld(file, FirstByteFor(reading))) {
        return Sharing::REFUSED;
    }
    const Sharing sharing = TakeLock(file, writing, WRITING);
    return sharing == Sharing::REFUSED ? sharing : TakeLock(file, reading, READING);
}

} // namespace

bool NeedsWriting(DWORD access, DWORD shareMode)
{
    return (access & GENERIC_READ) != 0 && (shareMode & FILE_SHARE_READ) == 0;
}

std::shared_mutex startOfProcess;

SharedFile::~SharedFile()
{
    if (IsOpen()) {
        const std::shared_lock nobodyStarts(startOfProcess);
        file_ = Descriptor();
    }
}

Sharing SharedFile::Take(DWORD access, DWORD shareMode) const
{
    const bool reads = (access & GENERIC_READ) != 0;
    const bool writes = (access & GENERIC_WRITE) != 0;
    if (!reads && !writes) {
        return Sharing::TAKEN;
    }
    return TakeBoth(Number(), LockOfWriting(writes, (shareMode & FILE_SHARE_WRITE) == 0),
                    LockOfReading(reads, (shareMode & FILE_SHARE_READ) == 0));
}

Sharing SharedFile::TakeAlone() const
{
    return TakeOnce(Number(), BothRegions(F_WRLCK));
}

// The host changes the lock that is there in one step, so nobody comes between.
void SharedFile::StopWriting(DWORD access, DWORD shareMode) const
{
    if ((access & GENERIC_READ) != 0) {
        const bool denies = (shareMode & FILE_SHARE_WRITE) == 0;
        TryLock(Number(), {static_cast<short>(denies ? F_RDLCK : F_UNLCK), WRITING, REGION_LENGTH});
    } else {
        TryLock(Number(), BothRegions(F_UNLCK));
    }
}

} // namespace Platform::Host
