// The debug-help library as the process has it, for the diagnostics that share it. It is not imported: a
// machine without one that is usable runs all the same, only without symbols.
#pragma once

#include "Platform/Win32.h"

#include <cstdint>

namespace Plinth {

// Its functions, in the order in which they are bound. Binding ends with the first one that is missing; up to
// SymLoadModule that makes the library unusable.
#define PLINTH_DBGHELP_FUNCTIONS(FUNCTION)                                                                   \
    FUNCTION(ImagehlpApiVersion)                                                                             \
    FUNCTION(StackWalk)                                                                                      \
    FUNCTION(SymFunctionTableAccess)                                                                         \
    FUNCTION(SymGetLineFromAddr)                                                                             \
    FUNCTION(SymGetModuleBase)                                                                               \
    FUNCTION(SymGetModuleInfo)                                                                               \
    FUNCTION(SymGetOptions)                                                                                  \
    FUNCTION(SymGetSymFromAddr)                                                                              \
    FUNCTION(SymInitialize)                                                                                  \
    FUNCTION(SymSetOptions)                                                                                  \
    FUNCTION(SymLoadModule)                                                                                  \
    FUNCTION(MiniDumpWriteDump)                                                                              \
    FUNCTION(SymInitializeW)

struct DbgHelpFunctions {
#define PLINTH_DBGHELP_MEMBER(name) decltype(&::name) name;
    PLINTH_DBGHELP_FUNCTIONS(PLINTH_DBGHELP_MEMBER)
#undef PLINTH_DBGHELP_MEMBER
};

// How far something is that is tried once in a process.
enum class Attempt : std::int32_t { FAILED = -1, NOT_TRIED = 0, DONE = 1 };

struct SymbolState {
    Attempt dbgHelp;
    HMODULE module; // null: none is loaded
    Attempt symbols;
    HANDLE process; // a real handle of this process; every call about symbols and stacks takes it
    DbgHelpFunctions functions;
};

extern SymbolState symbolState;

inline bool SymbolsAreReady()
{
    return symbolState.symbols == Attempt::DONE;
}

} // namespace Plinth
