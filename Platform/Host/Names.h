// Names of files and of the registry, compared as the platform does: by their capital letters, those beyond
// ASCII included. A letter counts as small only where its capital leads back to it, so that the dotless i,
// the final sigma and their like stand for themselves alone.
#pragma once

#include <string_view>

namespace Platform::Host {

// Below 0, 0 or above 0; 0 for names that are the same.
int CompareNames(std::u16string_view left, std::u16string_view right);

// The order of CompareNames, for the containers of the library.
struct NameOrder {
    using is_transparent = void; // NOLINT(readability-identifier-naming): the library's name for it

    bool operator()(std::u16string_view left, std::u16string_view right) const
    {
        return CompareNames(left, right) < 0;
    }
};

} // namespace Platform::Host
