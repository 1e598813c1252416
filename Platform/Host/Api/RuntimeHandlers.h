// Whom the platform's C runtime asks about errors of its callers.
//
// Programs reach these functions by name, through GetModuleHandleW("msvcrt.dll") and GetProcAddress: not
// every runtime has them. This one calls no function for a pure virtual call, which the C++ runtime handles.
#pragma once

#include "Platform/Host/Api/Types.h"

// An argument that a function refuses. All texts may be null: the release runtime gives none.
using _invalid_parameter_handler = void (*)(LPCWSTR expression, LPCWSTR function, LPCWSTR file, unsigned line,
                                            std::uintptr_t reserved);

// Called before the function that was given it fails; null, as at the start: nobody is. Gives the one of
// before.
_invalid_parameter_handler _set_invalid_parameter_handler(_invalid_parameter_handler handler);

using _purecall_handler = void (*)();
_purecall_handler _set_purecall_handler(_purecall_handler handler);
