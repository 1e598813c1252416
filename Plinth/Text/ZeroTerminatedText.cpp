#include "Plinth/Text/ZeroTerminatedText.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Plinth {

namespace {

// Where to append in a buffer, and the room from there on: 0 where nothing may be appended.
struct Tail {
    char* end;
    std::uint32_t room;
};

Tail TailOf(char* buffer, std::uint32_t size)
{
    if (buffer == nullptr) {
        return {buffer, 0};
    }
    const std::uint32_t length = BoundedLength(buffer, size);
    return {buffer + length, size - length};
}

template <typename Character>
void SplitPathOf(const Character* path, const Character** fileName, const Character** extension)
{
    const Character* name = path;
    const Character* dot = nullptr;
    const Character* end = path;
    for (; end != nullptr && *end != 0; ++end) {
        if (*end == '\\' || *end == '/' || *end == ':') {
            name = end + 1;
            dot = nullptr;
        } else if (*end == '.') {
            dot = end;
        }
    }
    if (fileName != nullptr) {
        *fileName = name;
    }
    if (extension != nullptr) {
        *extension = dot != nullptr ? dot : end;
    }
}

// The compiler may take a block away that is only freed again; not one that it has to store.
bool CanAllocate(std::uint32_t size)
{
    void* volatile block = std::malloc(size);
    const bool allocated = block != nullptr;
    std::free(block);
    return allocated;
}

} // namespace

std::uint32_t LargestAllocatableBlock()
{
    constexpr std::uint32_t PRECISION = 1024;
    std::uint32_t low = 0;
    std::uint32_t high = 0x80000000;
    while (high - low >= PRECISION) {
        const std::uint32_t size = low + (high - low) / 2;
        (CanAllocate(size) ? low : high) = size;
    }
    return low;
}

void PrintLargestAllocatableBlock(const char* message)
{
    std::printf("Larges malloc Block: %d   Message: %s\n", static_cast<int>(LargestAllocatableBlock()),
                message);
}

void* OrBlock(void* destination, const void* source, std::uint32_t byteCount)
{
    auto* to = static_cast<std::byte*>(destination);
    const auto* from = static_cast<const std::byte*>(source);
    const auto orWords = [&]<std::size_t Count>(std::integral_constant<std::size_t, Count>) {
        std::uint64_t target[Count];
        std::uint64_t bits[Count];
        std::memcpy(target, to, sizeof(target));
        std::memcpy(bits, from, sizeof(bits));
        for (std::size_t i = 0; i < Count; ++i) {
            target[i] |= bits[i];
        }
        std::memcpy(to, target, sizeof(target));
        to += sizeof(target);
        from += sizeof(bits);
    };
    std::size_t words = byteCount / sizeof(std::uint64_t);
    for (; words >= 4; words -= 4) {
        orWords(std::integral_constant<std::size_t, 4>());
    }
    for (; words != 0; --words) {
        orWords(std::integral_constant<std::size_t, 1>());
    }
    return destination;
}

// The runtime clears in the widest steps that the processor has.
void* ClearBlock(void* destination, std::uint32_t byteCount)
{
    const std::size_t rest = byteCount % sizeof(std::uint64_t);
    return byteCount != rest ? std::memset(destination, 0, byteCount - rest) : destination;
}

char* AllocateTextBuffer(std::uint32_t size)
{
    char* const block = new char[size];
    if (size != 0) {
        block[0] = 0;
        block[size - 1] = 0;
    }
    return block;
}

char* DuplicateText(const char* text, std::uint32_t maximumLength)
{
    if (text == nullptr) {
        return nullptr;
    }
    const std::size_t length = BoundedLength(text, maximumLength);
    char* const copy = new char[length + 1];
    std::memcpy(copy, text, length);
    copy[length] = 0;
    return copy;
}

void FreeText(char* block)
{
    delete[] block;
}

void CopyText(char* destination, std::uint32_t size, const char* source, std::uint32_t maximumCount)
{
    if (destination == nullptr || size == 0) {
        return;
    }
    const std::uint32_t count = BoundedLength(source, std::min(size - 1, maximumCount));
    if (count != 0) {
        std::memmove(destination, source, count);
    }
    destination[count] = 0;
}

char* AppendText(char* destination, std::uint32_t size, const char* source, std::uint32_t maximumCount)
{
    const Tail tail = TailOf(destination, size);
    CopyText(tail.end, tail.room, source, maximumCount);
    return destination;
}

void FormatText(char* buffer, std::uint32_t size, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    FormatTextV(buffer, size, format, arguments);
    va_end(arguments);
}

void FormatTextV(char* buffer, std::uint32_t size, const char* format, std::va_list arguments)
{
    if (buffer == nullptr || size == 0) {
        return;
    }
    buffer[0] = 0;
    AppendFormatTextV(buffer, size, format, arguments);
}

void AppendFormatText(char* buffer, std::uint32_t size, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    AppendFormatTextV(buffer, size, format, arguments);
    va_end(arguments);
}

// The runtime takes no size of 0: where the terminator alone fits, it stays alone.
void AppendFormatTextV(char* buffer, std::uint32_t size, const char* format, std::va_list arguments)
{
    const Tail tail = TailOf(buffer, size);
    if (format == nullptr || tail.room == 0) {
        return;
    }
    if (tail.room > 1) {
        _vsnprintf_s(tail.end, tail.room - 1, _TRUNCATE, format, arguments);
    }
    buffer[size - 1] = 0;
}

char* ToLowerAscii(char* text)
{
    for (char* at = text; at != nullptr && *at != 0; ++at) {
        *at = FoldLower(*at);
    }
    return text;
}

void ReplaceChar(char* text, char oldByte, char newByte)
{
    for (char* at = text; at != nullptr && *at != 0; ++at) {
        if (*at == oldByte) {
            *at = newByte;
        }
    }
}

bool StartsWith(const char* text, const char* prefix)
{
    return text != nullptr && prefix != nullptr && std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

bool EndsWith(const char* text, const char* suffix)
{
    if (text == nullptr || suffix == nullptr) {
        return false;
    }
    const std::size_t length = std::strlen(text);
    const std::size_t suffixLength = std::strlen(suffix);
    return suffixLength <= length && std::memcmp(text + length - suffixLength, suffix, suffixLength) == 0;
}

std::uint32_t FindCharIndex(const char* text, char byte)
{
    const char* const found = byte != 0 ? std::strchr(text, byte) : nullptr;
    return found != nullptr ? static_cast<std::uint32_t>(found - text) : NOT_FOUND;
}

bool EqualBytesNoCase(const char* a, std::uint32_t lengthA, const char* b, std::uint32_t lengthB)
{
    if (lengthA != lengthB) {
        return false;
    }
    for (std::uint32_t i = 0; i < lengthA; ++i) {
        if (FoldLower(a[i]) != FoldLower(b[i])) {
            return false;
        }
    }
    return true;
}

void SplitPath(const char* path, const char** fileName, const char** extension)
{
    SplitPathOf(path, fileName, extension);
}

void SplitPath(LPCWSTR path, LPCWSTR* fileName, LPCWSTR* extension)
{
    SplitPathOf(path, fileName, extension);
}

const char* GetFileNamePart(const char* path)
{
    const char* fileName;
    SplitPath(path, &fileName, nullptr);
    return fileName;
}

LPCWSTR GetFileNamePart(LPCWSTR path)
{
    LPCWSTR fileName;
    SplitPath(path, &fileName, nullptr);
    return fileName;
}

const char* GetExtensionPart(const char* path)
{
    const char* extension;
    SplitPath(path, nullptr, &extension);
    return extension;
}

} // namespace Plinth
