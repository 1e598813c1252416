// Keeps test programs, and what they start, away from the registry of who runs them: it is in memory from the
// start, unless a test chooses a file.
#include "Platform/Host/Control.h"

namespace {

const bool CHOSEN = (Platform::Host::SetRegistryFile(""), true);

} // namespace
