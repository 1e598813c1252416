// The encodings of registry files.
#pragma once

#include "Platform/Host/RegistryText.h"

namespace Platform::Host {

// UTF-16 by its mark, Latin-1 by the older form's header, else UTF-8 with or without mark. False, with the
// place in `fault`, for bytes that are not that.
bool DecodeRegistryText(std::string_view bytes, std::u16string& text, RegistryTextFault& fault);

} // namespace Platform::Host
