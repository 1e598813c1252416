// A module of that name that is loaded already is what the platform gives to who asks for the name alone.
#include "Tests/Support/OtherDbgHelp.h"

#include "Platform/Win32.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace {

// The names lie in order, each with its terminator; one that ends in the letter before stays in its place.
std::string WithoutExport(std::string library, const std::string& name)
{
    const std::string whole = '\0' + name + '\0';
    const std::size_t place = library.find(whole);
    if (place == std::string::npos || library.find(whole, place + 1) != std::string::npos) {
        throw std::runtime_error("the stand-in does not have this name once: " + name);
    }
    --library[place + name.size()];
    return library;
}

} // namespace

OtherDbgHelp::OtherDbgHelp(const char* missing)
{
    std::ifstream standIn(BuiltProgram("StandInDbgHelp.dll"), std::ios::binary);
    const std::string library{std::istreambuf_iterator<char>(standIn), {}};
    const std::filesystem::path path = folder_.Path() / "DbgHelp.dll";
    std::ofstream(path, std::ios::binary) << WithoutExport(library, missing);
    library_ = {LoadLibraryW(path.c_str()), [](void* loaded) { FreeLibrary(static_cast<HMODULE>(loaded)); }};
}
