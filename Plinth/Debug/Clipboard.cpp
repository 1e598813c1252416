#include "Plinth/Debug/Clipboard.h"

#include "Platform/Win32.h"
#include "Plinth/Text/ZeroTerminatedText.h"

#include <algorithm>
#include <cstring>

namespace Plinth {

namespace {

// Null: there is no memory.
HGLOBAL MakeGlobalText(const char* text)
{
    const std::size_t size = std::strlen(text) + 1;
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, size);
    if (block == nullptr) {
        return nullptr;
    }
    void* const bytes = GlobalLock(block);
    if (bytes == nullptr) {
        GlobalFree(block);
        return nullptr;
    }
    std::memcpy(bytes, text, size);
    GlobalUnlock(block);
    return block;
}

} // namespace

bool CopyTextToClipboard(const char* text)
{
    if (!OpenClipboard(nullptr)) {
        return false;
    }
    EmptyClipboard();
    HGLOBAL block = MakeGlobalText(text != nullptr ? text : "");
    if (block != nullptr && SetClipboardData(CF_TEXT, block) == nullptr) {
        GlobalFree(block);
    }
    return CloseClipboard() != FALSE;
}

bool PasteTextFromClipboard(char* buffer, std::uint32_t size)
{
    if (buffer == nullptr || size == 0) {
        return false;
    }
    *buffer = 0;
    if (!OpenClipboard(nullptr)) {
        return false;
    }
    HGLOBAL block = GetClipboardData(CF_TEXT);
    if (const auto* const text = static_cast<const char*>(block != nullptr ? GlobalLock(block) : nullptr)) {
        const SIZE_T most = std::min<SIZE_T>(GlobalSize(block), NO_LIMIT);
        CopyText(buffer, size, text, static_cast<std::uint32_t>(most));
        GlobalUnlock(block);
    }
    return CloseClipboard() != FALSE;
}

} // namespace Plinth
