// Search for bytes in bytes.
#pragma once

#include <cstddef>

namespace Plinth {

// The first occurrence of the needle that lies whole in the text; null when there is none. An empty needle is
// found at the text's start.
const char* FindBytes(const char* text, std::size_t length, const char* needle, std::size_t needleLength);

} // namespace Plinth
