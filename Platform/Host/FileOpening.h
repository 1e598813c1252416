// How CreateFileW comes to an open file.
#pragma once

#include "Platform/Host/Api/Files.h"

namespace Platform::Host {

// As CreateFileW takes them.
struct OpenRequest {
    DWORD access;
    DWORD shareMode;
    DWORD disposition;
    DWORD flagsAndAttributes;
};

// INVALID_HANDLE_VALUE: failed. Sets the last error as CreateFileW does.
HANDLE OpenFile(LPCWSTR fileName, const OpenRequest& request);

} // namespace Platform::Host
