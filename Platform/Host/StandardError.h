// What the layer says on standard error.
#pragma once

#include <string_view>

namespace Platform::Host {

// One write, so that texts of several processes do not mix. Nobody reading there is a failure, not the end.
bool WriteToStandardError(std::string_view text);

} // namespace Platform::Host
