// An open file: what a handle of CreateFileW stands for.
#pragma once

#include "Platform/Host/Api/Files.h"
#include "Platform/Host/Handles.h"
#include "Platform/Host/ShareModes.h"

#include <cstdint>
#include <limits>
#include <mutex>

namespace Platform::Host {

constexpr std::int64_t LAST_POSITION = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t LARGEST_LOW_PART = std::numeric_limits<DWORD>::max();

// The position is the object's own: the host's stays at the start where the file has one. Threads may use an
// object at once. The functions set the last error where they fail.
class File : public KernelObject {
public:
    // Access as CreateFileW takes it. A device, which is without `seeks`, is read and written as its bytes
    // come.
    void Take(SharedFile file, DWORD access, bool seeks);

    // An open file is always signalled.
    DWORD Wait(DWORD /*milliseconds*/) override { return WAIT_OBJECT_0; }

    // `done` counts on from 0, also where it fails half-way.
    BOOL Read(char* bytes, DWORD count, DWORD& done);

    // Where it fails `done` is 0 and the position the old one, so the same bytes may be written again to the
    // same place.
    BOOL Write(const char* bytes, DWORD count, DWORD& done);

    // The new position; -1 where it would be none, or one above the limit, and the old one stays.
    std::int64_t Seek(std::int64_t distance, DWORD method, std::int64_t limit);
    BOOL SetEnd();
    std::int64_t Size(); // -1: failed

    BOOL GetStatus(struct stat& status) const;
    // Two times, as futimens takes them.
    BOOL SetTimes(const timespec* times);

private:
    [[nodiscard]] bool MayRead() const { return (access_ & GENERIC_READ) != 0; }
    [[nodiscard]] bool MayWrite() const { return (access_ & GENERIC_WRITE) != 0; }
    ssize_t ReadSome(char* bytes, std::size_t count) const;
    ssize_t WriteSome(const char* bytes, std::size_t count) const;

    std::mutex mutex_;
    SharedFile file_;
    DWORD access_ = 0;
    bool seeks_ = false;
    std::int64_t position_ = 0;
};

} // namespace Platform::Host
