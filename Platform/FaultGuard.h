/// \file
/// Runs code that may fault and survives it.
///
///     const bool whole = RunGuarded([&] { length = Measure(text); });
///
/// A structured exception (on the host: a fault that the system reports by a signal) that the guarded code
/// does not handle itself ends it on the spot; whoever called RunGuarded goes on. Destructors between the two
/// places are not run, so the guarded code owns nothing that needs one, holds no lock, and throws no C++
/// exception.
///
/// Guards nest, and each is its thread's own; setting one up takes no heap memory and leaves the last error
/// alone. An overflow of the stack is stopped once a thread: the real platform has no guard page for a
/// second.
#pragma once

#include <concepts>

namespace Platform {

/// For whoever is told of a fault that nothing guards: one of the floating-point unit comes again with the
/// unit's next instruction where this is not called first.
void ForgetFloatingPointFault();

/// False when a fault ended the function.
bool RunGuarded(void (*function)(void*) noexcept, void* argument);

/// The same for anything that can be called.
template <std::invocable Callable>
bool RunGuarded(Callable callable)
{
    const auto call = [](void* argument) noexcept { (*static_cast<Callable*>(argument))(); };
    return RunGuarded(call, &callable);
}

} // namespace Platform
