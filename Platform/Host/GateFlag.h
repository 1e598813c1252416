// The gate's cheap side: whether anybody watches, and the notice of a call that cannot fail.
#pragma once

#include <atomic>

namespace Platform::Host {

inline std::atomic<bool> gateWatched{false};

void RecordCall(const char* function);

// For functions that cannot fail.
inline void GateSees(const char* function)
{
    if (gateWatched.load(std::memory_order_relaxed)) [[unlikely]] {
        RecordCall(function);
    }
}

} // namespace Platform::Host
