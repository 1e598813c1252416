// The symbols of the modules in memory, each read when it is first asked for and kept from then on.
#pragma once

#include "Platform/Host/ElfSymbols.h"
#include "Platform/Host/LoadedModules.h"

namespace Platform::Host {

struct SymbolModule {
    LoadedModule module;
    char imageName[256]; // the path on its drive, in UTF-8, cut where it is longer
    ElfSymbols symbols;  // none where the file cannot be read
};

// Reads those of all modules, so that nothing is left to do when they are needed.
void ReadSymbolTables();

// Null: the address is in no module. Takes heap memory for a module that was not asked for before.
const SymbolModule* FindSymbolModule(std::uintptr_t address);

} // namespace Platform::Host
