// The registry of this process and its file, which all processes share.
//
// Who looks at the registry sees the file as it is now. Who changes it holds a lock beside the file from
// before it is read until the changed one has taken its place, and waits at most about 5 seconds for it;
// looks do not wait meanwhile. A change that cannot be saved has not happened. A file that is damaged fails
// everything with ERROR_BADDB, is named on standard error once, and is never overwritten.
#pragma once

#include "Platform/Host/Handles.h"
#include "Platform/Host/RegistryTree.h"
#include "Platform/Host/WholeFile.h"

#include <mutex>
#include <optional>

namespace Platform::Host {

// The lock of the process's registry.
inline constinit std::mutex registryMutex;

// Taken before the file's lock and registryMutex: the process's threads change the registry in turn, and its
// file stays the same one.
inline constinit std::mutex registryTurn;

// A key that a program holds open. Once nothing lies at its path the key is deleted, and stays so when
// another of that name is made.
class OpenKey : public KernelObject {
public:
    OpenKey(RegistryPath path, DWORD access) : path_(std::move(path)), access_(access) {}
    ~OpenKey() override;
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;

    DWORD Wait(DWORD milliseconds) override; // always fails

    [[nodiscard]] const RegistryPath& Path() const { return path_; }
    [[nodiscard]] bool Allows(DWORD access) const { return (access_ & access) == access; }

    // These three under the registry's lock. A key has to be there when it is watched, once.
    void Watch();
    [[nodiscard]] bool IsDeleted() const { return deleted_; }
    static void MarkDeleted(const RegistryKey& top); // of those watched

private:
    RegistryPath path_;
    DWORD access_;
    bool deleted_ = false;
    bool watched_ = false;
    OpenKey* previous_ = nullptr;
    OpenKey* next_ = nullptr;
};

// The registry as it is now. While it lives its thread may not end an open key, nor begin a second look or a
// change.
class RegistryLook {
public:
    RegistryLook();

    [[nodiscard]] DWORD Error() const { return error_; }
    [[nodiscard]] const RegistryKey& Top() const;

private:
    std::lock_guard<std::mutex> lock_;
    DWORD error_;
};

// A copy of the registry to change and then to keep; no other process changes it meanwhile. The same holds
// for its thread.
class RegistryChange {
public:
    RegistryChange();

    [[nodiscard]] DWORD Error() const { return error_; }
    RegistryKey& Top() { return top_; }

    // Saves the copy and makes it the registry; it is then used up.
    DWORD Keep();

private:
    std::lock_guard<std::mutex> turn_;
    std::optional<FileLock> fileLock_; // nullopt: in memory only
    std::lock_guard<std::mutex> lock_;
    DWORD error_;
    RegistryKey top_;
};

} // namespace Platform::Host
