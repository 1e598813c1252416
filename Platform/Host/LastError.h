// The thread's last error as the layer's own sources set it, and the translation of the host's errors.
#pragma once

#include "Platform/Host/Api/Errors.h"

namespace Platform::Host {

inline constinit thread_local DWORD lastError = ERROR_SUCCESS;

// The platform's code for an errno value; ERROR_GEN_FAILURE for one without a counterpart.
DWORD ErrorFromErrno(int error);

// Sets the last error and gives 0, which is FALSE, for `return Fail(code);`.
inline BOOL Fail(DWORD error)
{
    lastError = error;
    return FALSE;
}

} // namespace Platform::Host
