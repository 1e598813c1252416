/// \file
/// Names for code addresses, by the platform's debug-help library.
///
///     if (LoadDbgHelp() && InitSymbols()) {
///         DescribeAddress(text, sizeof(text), address);   // "_ZN4Game4DrawEv+23  Game/Draw.cpp(118)"
///     }
///
/// The library is loaded and the symbol engine started at most once in a process, also where that fails, and
/// both stay for its life. No lock is taken: start them before there are threads that report.
#pragma once

#include "Platform/Win32.h"
#include "Plinth/Text/CWideString.h"

#include <cstdint>

namespace Plinth {

/// Whether "DbgHelp.dll" is loaded and its functions are bound. Names stay as the linker has them.
bool LoadDbgHelp();

/// Whether symbols can be looked up; needs LoadDbgHelp. They are looked for beside the program and in the
/// folders of symbols that a tree of the game's sources has near it. For the start of a program: without
/// memory it fails by an exception inside, for which the runtime needs some.
bool InitSymbols();

/// Whether the path leads to a folder. False for null and the empty path.
bool DirectoryExists(LPCWSTR path);

/// Appends ";", the folder that base, relative part and extra make when they are put together, and "\" to a
/// search path, and says whether it did: not for a relative part that is null or empty, a folder that is not
/// there or has more than 2,047 characters, or a search path that would come to more than 4,096. A null base
/// or extra is the empty text. Throws std::bad_alloc, the search path being as it was.
bool AppendSymbolSearchPath(CWideString& searchPath, LPCWSTR base, LPCWSTR relative, LPCWSTR extra);

/// What is known of a code address, in one line: its symbol and line, or else its module; the empty text when
/// that is nothing, or a fault ended the look-up. A null buffer, or a size of 0, is left alone. Takes no heap
/// memory of its own.
void DescribeAddress(char* buffer, std::uint32_t size, DWORD_PTR address);

} // namespace Plinth
