// The functions of a program or shared library, by the symbols in its file: all that it has, else those that
// it exports. Works on the bytes as they lie, without memory of its own; a damaged file has fewer symbols.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Platform::Host {

// Addresses as the file counts them.
struct FunctionSymbol {
    std::string_view name; // the linker's; lies in the file
    std::uintptr_t start;
    std::size_t size;
};

class ElfSymbols {
public:
    ElfSymbols() = default;
    explicit ElfSymbols(std::string_view file); // which stays as long as this is used

    [[nodiscard]] std::size_t Count() const;

    // The function that the address lies in; of several the one that begins last.
    [[nodiscard]] std::optional<FunctionSymbol> Find(std::uintptr_t address) const;

private:
    std::string_view symbols_;
    std::string_view names_;
};

} // namespace Platform::Host
