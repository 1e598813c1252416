#include "Plinth/Text/ByteSearch.h"

#include <cstring>

namespace Plinth {

const char* FindBytes(const char* text, std::size_t length, const char* needle, std::size_t needleLength)
{
    if (needleLength == 0) {
        return text;
    }
    const char* const end = text + length;
    while (static_cast<std::size_t>(end - text) >= needleLength) {
        const std::size_t starts = static_cast<std::size_t>(end - text) - needleLength + 1;
        const auto* const found = static_cast<const char*>(std::memchr(text, *needle, starts));
        if (found == nullptr || std::memcmp(found, needle, needleLength) == 0) {
            return found;
        }
        text = found + 1;
    }
    return nullptr;
}

} // namespace Plinth
