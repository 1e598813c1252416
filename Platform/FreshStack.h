// Room for a thread whose stack has overflowed: what is left of it is too little to report that.
#pragma once

#include <concepts>

namespace Platform {

// Calls the function where there is a whole stack, and returns when it has returned. It may run on another
// thread, which may use the calling one's stack. Where no thread can be had it runs right here; where one
// does not start within a minute it does not run at all. The function lets no fault out.
void RunOnFreshStack(void (*function)(void*) noexcept, void* argument);

// Has the platform leave room on the calling thread's stack for what goes before that call. Without it there
// may be as little as a page.
void KeepRoomOnStack();

template <std::invocable Callable>
void RunOnFreshStack(Callable callable)
{
    const auto call = [](void* argument) noexcept { (*static_cast<Callable*>(argument))(); };
    RunOnFreshStack(call, &callable);
}

} // namespace Platform
