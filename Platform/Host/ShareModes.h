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
// lock that is refused is the conflict; nothing is looked at before, so no two slip past each other.
#pragma once

#include "Platform/Host/Api/Types.h"

namespace Platform::Host {

enum class Sharing {
    TAKEN,
    REFUSED, // another opening of the file forbids this one or is forbidden by it
    UNKNOWN, // the host has no such locks there
};

// Whether a file has to be open for writing too, so that a handle that only reads can have its lock.
bool NeedsWriting(DWORD access, DWORD shareMode);

// Access 0 takes no part in it.
Sharing TakeShare(int file, DWORD access, DWORD shareMode);

// Refused while anybody has the file open with access. Where it is open for writing, nobody else can have it
// until it is closed.
Sharing TakeAlone(int file);

} // namespace Platform::Host
