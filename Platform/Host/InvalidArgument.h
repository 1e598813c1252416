// For the runtime's functions, before they fail for an argument that they refuse.
#pragma once

namespace Platform::Host {

// Calls the handler that the program has set for that, if any. It may not return.
void ReportInvalidArgument();

// The same for every error but 0, which is given back.
inline int Refusing(int error)
{
    if (error != 0) {
        ReportInvalidArgument();
    }
    return error;
}

} // namespace Platform::Host
