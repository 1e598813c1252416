// What a text has room for of an address; on a host with wider ones it is their low part.
#pragma once

#include "Platform/Win32.h"

namespace Plinth {

constexpr unsigned Low32(DWORD_PTR value)
{
    return static_cast<unsigned>(value);
}

inline unsigned Low32(LPCVOID address)
{
    return Low32(reinterpret_cast<DWORD_PTR>(address));
}

} // namespace Plinth
