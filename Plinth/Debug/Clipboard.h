/// \file
/// Plain text on the clipboard. Nothing here takes heap memory of the program's own.
#pragma once

#include <cstdint>

namespace Plinth {

/// Replaces what is there; a null text is the empty one. False when the clipboard cannot be opened, and it is
/// then as it was, or not be closed. Without memory for the text it is left empty.
bool CopyTextToClipboard(const char* text);

/// Up to size - 1 bytes, terminated; the empty text when there is no text. False when the clipboard cannot be
/// opened or not be closed, and for a null buffer or a size of 0.
bool PasteTextFromClipboard(char* buffer, std::uint32_t size);

} // namespace Plinth
