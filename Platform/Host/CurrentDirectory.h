// The current directory in the platform's form, for completing relative paths.
#pragma once

#include <string>

namespace Platform::Host {

// Absolute and completed, as it was set or found at start; a drive's root ends in a backslash.
std::u16string CurrentDirectory();

} // namespace Platform::Host
