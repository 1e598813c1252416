// Faults are reported on the stack that signals have, which is whole.
#include "Platform/FreshStack.h"

namespace Platform {

void RunOnFreshStack(void (*function)(void*) noexcept, void* argument)
{
    function(argument);
}

void KeepRoomOnStack() {}

} // namespace Platform
