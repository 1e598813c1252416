// Functions that not every system or library has are bound by name.
#pragma once

#include "Platform/Win32.h"

namespace Plinth {

// Null, and the result false, where the library has no function of that name.
template <typename Function>
bool BindFunction(HMODULE library, const char* name, Function*& function)
{
    void* const found = reinterpret_cast<void*>(GetProcAddress(library, name));
    function = reinterpret_cast<Function*>(found);
    return found != nullptr;
}

} // namespace Plinth
