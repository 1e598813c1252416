#include "Platform/Host/ElfSymbols.h"

#include <algorithm>
#include <cstring>
#include <elf.h>
#include <link.h>

namespace Platform::Host {

namespace {

using Header = ElfW(Ehdr);
using Section = ElfW(Shdr);
using Symbol = ElfW(Sym);

constexpr unsigned char OWN_CLASS = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;

// Empty where the part is not in the file.
std::string_view Part(std::string_view file, std::uint64_t offset, std::uint64_t size)
{
    const bool fits = offset <= file.size() && size <= file.size() - offset;
    return fits ? file.substr(offset, size) : std::string_view();
}

// The structure at a place of its own in an array of them; all 0 behind its end. Nothing is aligned.
template <typename Structure>
Structure Element(std::string_view bytes, std::size_t index)
{
    Structure structure{};
    const std::string_view part = Part(bytes, index * sizeof(Structure), sizeof(Structure));
    if (!part.empty()) {
        std::memcpy(&structure, part.data(), sizeof(structure));
    }
    return structure;
}

std::string_view Sections(std::string_view file)
{
    const auto header = Element<Header>(file, 0);
    const bool isOurs = std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
                        header.e_ident[EI_CLASS] == OWN_CLASS && header.e_shentsize == sizeof(Section);
    return isOurs ? Part(file, header.e_shoff, header.e_shnum * sizeof(Section)) : std::string_view();
}

std::string_view Contents(std::string_view file, const Section& section)
{
    return section.sh_type != SHT_NOBITS ? Part(file, section.sh_offset, section.sh_size)
                                         : std::string_view();
}

Section FindSection(std::string_view sections, std::uint32_t type)
{
    for (std::size_t i = 0; i < sections.size() / sizeof(Section); ++i) {
        const auto section = Element<Section>(sections, i);
        if (section.sh_type == type && section.sh_entsize == sizeof(Symbol)) {
            return section;
        }
    }
    return {};
}

bool IsFunction(const Symbol& symbol)
{
    const auto type = ELF64_ST_TYPE(symbol.st_info);
    return (type == STT_FUNC || type == STT_GNU_IFUNC) && symbol.st_shndx != SHN_UNDEF;
}

// Start-up code written by hand has no size: it is at its first address.
bool Covers(const Symbol& symbol, std::uintptr_t address)
{
    return address - symbol.st_value < std::max<std::uintptr_t>(symbol.st_size, 1);
}

std::string_view NameAt(std::string_view names, std::size_t offset)
{
    const std::string_view rest = offset < names.size() ? names.substr(offset) : std::string_view();
    return rest.substr(0, rest.find('\0'));
}

} // namespace

ElfSymbols::ElfSymbols(std::string_view file)
{
    const std::string_view sections = Sections(file);
    Section table = FindSection(sections, SHT_SYMTAB);
    if (table.sh_type == SHT_NULL) {
        table = FindSection(sections, SHT_DYNSYM);
    }
    symbols_ = Contents(file, table);
    names_ = Contents(file, Element<Section>(sections, table.sh_link));
}

std::size_t ElfSymbols::Count() const
{
    return symbols_.size() / sizeof(Symbol);
}

std::optional<FunctionSymbol> ElfSymbols::Find(std::uintptr_t address) const
{
    Symbol best{}; // of no type until one is found
    for (std::size_t i = 0; i < Count(); ++i) {
        const auto symbol = Element<Symbol>(symbols_, i);
        if (IsFunction(symbol) && Covers(symbol, address) && symbol.st_value >= best.st_value) {
            best = symbol;
        }
    }
    const std::string_view name = IsFunction(best) ? NameAt(names_, best.st_name) : std::string_view();
    return name.empty() ? std::nullopt : std::optional(FunctionSymbol{name, best.st_value, best.st_size});
}

} // namespace Platform::Host
