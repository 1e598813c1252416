// The handles of the layer: small numbers that stand for objects of the process.
#pragma once

#include "Platform/Host/Api/Types.h"

#include <memory>

namespace Platform::Host {

// What a handle stands for. The object ends with its last handle.
class KernelObject {
public:
    virtual ~KernelObject() = default;

    // Waits until the object is signalled. WAIT_OBJECT_0, WAIT_TIMEOUT, or WAIT_FAILED with the last error
    // set.
    virtual DWORD Wait(DWORD milliseconds) = 0;
};

HANDLE OpenHandle(std::shared_ptr<KernelObject> object);

// Null when the handle stands for nothing.
std::shared_ptr<KernelObject> FindObject(HANDLE handle);

// Null as well when it stands for an object of another kind. The last error is then ERROR_INVALID_HANDLE.
template <typename Object>
std::shared_ptr<Object> FindObjectOf(HANDLE handle)
{
    return std::dynamic_pointer_cast<Object>(FindObject(handle));
}

} // namespace Platform::Host
