/// \file
/// What the machine and the program are, for the trace output; a program writes it when it starts:
///
///     TraceProgramBanner("Brenvault", "demo");    // "Brenvault version 1.2.3b (demo)" and the system
///     TraceCommandLine();
///
/// What cannot be found out is 0, or the line says so. Whatever reads a file's version throws "Out of
/// memory!" where that finds none: the banner, the system information, the module list, the version text.
#pragma once

#include "Platform/Win32.h"

#include <cstdint>

namespace Plinth {

void TraceLocalTime(); ///< the time of day, a line with blank ones around it

/// The name and the version of the program, the system information and blank lines around them. A null name
/// is the program's file name; the detail in parentheses is left out when null or empty.
void TraceProgramBanner(const char* name, const char* detail);

void TraceCommandLine(); ///< in UTF-8, control characters as blanks; and the kind of the build

/// The debug-help library, the modules, the processor and the memory status.
void TraceSystemInfo();

/// Each module of the process in a line: base, size, name, file version, and when it was linked.
void TraceModuleList();

/// "1.2.3", the program's file version, with "b" behind it for a private part of 2; at most 15 characters and
/// what CopyText leaves of them. Read at its first use.
void GetProgramVersionText(char* buffer, std::uint32_t size);

/// The time stamp of a loaded module's executable header, by custom the seconds since 1970-01-01 UTC at which
/// it was linked; 0 where it has none.
std::uint32_t GetModuleLinkTime(HMODULE module);

} // namespace Plinth
