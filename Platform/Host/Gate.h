// The gate that every function of the host layer passes on entry: it can watch the calls and make one fail.
//
//     GateWatch watch({.function = "SetCurrentDirectoryW", .ordinal = 1, .error = ERROR_ACCESS_DENIED});
//     ... the code under test ...
//     EXPECT_EQ(watch.Count("CreateProcessW"), 0u);
//
// While nobody watches, a call costs one predictable branch.
#pragma once

#include "Platform/Host/Api/Types.h"
#include "Platform/Host/GateFlag.h"
#include "Platform/Host/LastError.h"

#include <functional>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Platform::Host {

// Which call fails, and how. The function's own failure result is returned and `error` becomes the last
// error; a function whose result is the error returns that, or ERROR_GEN_FAILURE in place of none.
struct GateRule {
    std::string_view function; // empty: calls of every function that can fail count
    unsigned ordinal = 0;      // 1 for the first counted call; 0: none fails
    DWORD error = ERROR_GEN_FAILURE;
    bool lasting = false; // the later counted calls fail as well
};

// Watches the calls of all threads from its construction to its end. One at a time.
class GateWatch {
public:
    explicit GateWatch(GateRule rule = {});
    ~GateWatch();
    GateWatch(const GateWatch&) = delete;
    GateWatch& operator=(const GateWatch&) = delete;

    // Called on entry of each function, before it does anything. It may not call the layer.
    void OnCall(std::function<void(std::string_view function)> observer);

    [[nodiscard]] std::vector<std::string> Calls() const; // in order
    [[nodiscard]] unsigned Count(std::string_view function) const;
    [[nodiscard]] unsigned Points() const; // calls that the rule is about, failed or not
    [[nodiscard]] bool Failed() const;     // whether the rule made a call fail
    [[nodiscard]] std::optional<std::size_t> FirstFailed() const; // which: its place in Calls()
};

// Records the call; true when it has to fail, `error` being why.
bool ConsultGate(const char* function, DWORD& error);

// For functions that can: true when this call has to. Where nothing else is said, the error becomes the last
// error.
inline bool GateStops(const char* function, DWORD& error = lastError)
{
    return gateWatched.load(std::memory_order_relaxed) && ConsultGate(function, error);
}

// Runs the body of a platform function behind the gate. The host's own lack of memory is the platform's
// ERROR_NOT_ENOUGH_MEMORY; nothing is thrown into the caller.
template <typename Result, typename Body>
Result Guarded(const char* function, Result failure, Body&& body, DWORD& error = lastError)
{
    if (GateStops(function, error)) {
        return failure;
    }
    try {
        return body();
    } catch (const std::bad_alloc&) {
        error = ERROR_NOT_ENOUGH_MEMORY;
        return failure;
    }
}

// The same for a function whose result is the error itself, as its body's is. The last error stays what it
// was, whatever the layer's helpers made of it.
template <typename Body>
LONG GuardedStatus(const char* function, Body&& body)
{
    const DWORD before = lastError;
    DWORD error = ERROR_SUCCESS;
    const auto run = [&] {
        error = body();
        return true;
    };
    if (!Guarded(function, false, run, error) && error == ERROR_SUCCESS) {
        error = ERROR_GEN_FAILURE;
    }
    lastError = before;
    return static_cast<LONG>(error);
}

} // namespace Platform::Host
