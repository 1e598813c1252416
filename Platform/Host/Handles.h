// The handles of the layer: small numbers that stand for objects of the process.
#pragma once

#include "Platform/Host/Api/Types.h"
#include "Platform/Host/LastError.h"

#include <memory>
#include <typeinfo>
#include <utility>

namespace Platform::Host {

// What a handle stands for. The object ends with its last handle.
class KernelObject {
public:
    virtual ~KernelObject() = default;

    // Waits until the object is signalled. WAIT_OBJECT_0, WAIT_TIMEOUT, or WAIT_FAILED with the last error
    // set.
    virtual DWORD Wait(DWORD milliseconds) = 0;
};

// The handles that stand for whoever uses them. They are found like others and need no closing.
inline const HANDLE CURRENT_PROCESS = reinterpret_cast<HANDLE>(std::intptr_t{-1});
inline const HANDLE CURRENT_THREAD = reinterpret_cast<HANDLE>(std::intptr_t{-2});

HANDLE OpenHandle(std::shared_ptr<KernelObject> object);

// False when the handle stands for nothing.
bool ReleaseHandle(HANDLE handle);

// A handle that is closed again unless it is handed out.
class PendingHandle {
public:
    explicit PendingHandle(std::shared_ptr<KernelObject> object) : handle_(OpenHandle(std::move(object))) {}
    ~PendingHandle()
    {
        if (handle_ != nullptr) {
            ReleaseHandle(handle_);
        }
    }
    PendingHandle(const PendingHandle&) = delete;
    PendingHandle& operator=(const PendingHandle&) = delete;

    HANDLE HandOut() { return std::exchange(handle_, nullptr); }

private:
    HANDLE handle_;
};

// Null when the handle stands for nothing, the last error being ERROR_INVALID_HANDLE.
std::shared_ptr<KernelObject> FindObject(HANDLE handle);

// The same when it stands for an object of another class.
template <typename Object>
std::shared_ptr<Object> FindObjectOf(HANDLE handle)
{
    std::shared_ptr<KernelObject> object = FindObject(handle);
    const KernelObject* const found = object.get();
    if (found == nullptr || typeid(*found) != typeid(Object)) {
        lastError = ERROR_INVALID_HANDLE;
        return nullptr;
    }
    return std::static_pointer_cast<Object>(std::move(object));
}

} // namespace Platform::Host
