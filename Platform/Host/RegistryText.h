// The registry's text form, which the platform's own tools write and read (".reg").
//
// Written is UTF-16 with a byte-order mark under the header of version 5, keys and values in the order of
// their names. A text that is not whole (no terminator or more than one, an odd byte, line ends) and a DWORD
// that has not four bytes are written as bytes, so that all that was set comes back.
//
// Read is that and what people make of it: UTF-8 with or without mark, any line ends, comments, "[-key]" and
// "name"=- , letters of either case; and the older form under REGEDIT4, whose texts are Latin-1, those in
// hex(1), hex(2) and hex(7) too.
#pragma once

#include "Platform/Host/RegistryTree.h"

#include <string>
#include <string_view>

namespace Platform::Host {

struct RegistryTextFault {
    std::size_t line = 0; // counted from 1
    const char* reason = "";
};

// False for bytes that are not that form from beginning to end: `fault` then tells the first place, and `top`
// is what it was.
bool ReadRegistryText(std::string_view bytes, RegistryKey& top, RegistryTextFault& fault);

std::string WriteRegistryText(const RegistryKey& top);

} // namespace Platform::Host
