/// \file
/// What makes a program report its end: a fault that nobody catches, an argument that the runtime refuses, a
/// call of a pure virtual function. InitDiagnostics (Diagnostics.h) installs it.
#pragma once

#include "Platform/Win32.h"

#include <cstdint>

namespace Plinth {

/// Clears the static diagnostics, starts the symbol engine where there is a debug-help library, and registers
/// the functions below, each where the runtime has such a place. It may be called again; nothing takes it
/// back. Meant for the start of a program, as InitSymbols is.
void InstallCrashHandler();

/// Reports the fault (HandleException) and gives EXCEPTION_CONTINUE_SEARCH: the system then ends the process.
LONG WINAPI CrashFilter(LPEXCEPTION_POINTERS exception);

/// A fatal report "Invalid parameter!". What the runtime tells of it is not used: the release one tells
/// nothing.
void InvalidParameterHandler(LPCWSTR expression, LPCWSTR function, LPCWSTR file, unsigned line,
                             std::uintptr_t reserved);

/// A fatal report "Pure virtual function call!". The stack word above its return address is what the call of
/// the pure function returns to.
void PureCallHandler();

} // namespace Plinth
