// Share modes, by locks on open files: the host keeps these apart for each opening, within a process too, and
// drops them with the opening's last descriptor, however its process ends.
//
// Two regions lie behind any position that a file could have. In the first,
//
// - who writes and shares writing locks one byte for itself, chosen at random,
// - who denies writing and does not write has a reader's lock on all bytes,
// - who writes and denies writing has all bytes for itself.
//
// So openings that go together have locks that do. The second is the same for reading, with the kinds of lock
// the other way round: who reads and shares it has a reader's lock, who only denies it a byte of its own. The
// usual case, to read and let others read but not write, is thus one call, a reader's lock on both regions. A
// lock that is refused is the conflict, so no two slip past each other.
//
// Two different locks are two calls. Who gets the first and is refused the second may in between have stood
// in the way of somebody with whom it conflicts nowhere. A look at the second region before makes that rare:
// it needs a third opening that comes between the look and the locks.
#pragma once

#include "Platform/Host/Api/Types.h"
#include "Platform/Host/WholeFile.h"

#include <shared_mutex>

namespace Platform::Host {

enum class Sharing {
    TAKEN,
    REFUSED, // another opening of the file forbids this one or is forbidden by it
    UNKNOWN, // the host has no such locks there
};

// Whether a file has to be open for writing too, so that a handle that only reads can have its lock.
bool NeedsWriting(DWORD access, DWORD shareMode);

// Who starts a process holds it until the new program runs. In between the process has copies of all
// descriptors, with which the shares of files that were closed meanwhile would live on.
extern std::shared_mutex startOfProcess;

// An open file with its share of it.
class SharedFile {
public:
    explicit SharedFile(Descriptor file = Descriptor()) : file_(std::move(file)) {}
    SharedFile(SharedFile&&) noexcept = default;
    SharedFile& operator=(SharedFile&&) noexcept = default;
    ~SharedFile();

    [[nodiscard]] int Number() const { return file_.Number(); }
    [[nodiscard]] bool IsOpen() const { return file_.IsOpen(); }

    // To be called once. Access 0 takes no part in it.
    [[nodiscard]] Sharing Take(DWORD access, DWORD shareMode) const;

    // Refused while anybody has the file open with access. Where it is open for writing, nobody else can have
    // it until it is closed.
    [[nodiscard]] Sharing TakeAlone() const;

    // Makes of a share that was taken with GENERIC_WRITE added the one of this access, which has none.
    void StopWriting(DWORD access, DWORD shareMode) const;

private:
    Descriptor file_;
};

} // namespace Platform::Host
