// Share modes by locks on open files, which the host keeps apart for each opening, within a process too, and
// drops with the last descriptor of it, however its process ends.
//
// Two regions behind any position that a file could have: one tells who writes and who denies writing, the
// other the same of reading. In each of them
//
// - who does it and shares it holds readers' or writers' locks that go well with each other,
// - who does it and denies it holds the whole region alone,
// - who denies it and does not do it holds the other kind of lock, which goes well with its like.
//
// For writing: sharers hold a writer's lock on one byte each, chosen at random; those who only deny it hold a
// reader's lock on all. For reading it is the other way round, so that the usual case, to read and let others
// read but not write, is one reader's lock on both regions. A lock that is refused is a conflict, so nothing
// is looked at before it is taken, and no two can slip past each other.
#pragma once

#include "Platform/Host/Api/Types.h"

namespace Platform::Host {

// Whether a file has to be open for writing too, so that a handle that only reads can have its lock.
bool NeedsWriting(DWORD access, DWORD shareMode);

// ERROR_SHARING_VIOLATION where another opening of the file forbids this one or is forbidden by it. Access 0
// takes no part in it. Where the host has no such locks, all goes.
DWORD TakeShare(int file, DWORD access, DWORD shareMode);

// ERROR_SHARING_VIOLATION while anybody has the file open with access. Nobody else can have it until the file
// is closed, where it is open for writing.
DWORD TakeAlone(int file);

} // namespace Platform::Host
