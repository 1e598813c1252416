// The stack on which signals are handled: a fault may be the lack of any other, and its report takes much.
#pragma once

namespace Platform::Host {

inline constinit thread_local bool hasSignalStack = false;

void MakeSignalStack();

// The calling thread has one from then to its end, unless memory is out. Takes no heap memory
// as long as the process has few keys (pthread_setspecific).
inline void GiveSignalStack()
{
    if (!hasSignalStack) [[unlikely]] {
        MakeSignalStack();
    }
}

} // namespace Platform::Host
