#include "Plinth/Text/CTextBuilder.h"

#include "Plinth/Debug/Allocation.h"
#include "Plinth/Text/ZeroTerminatedTextWords.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace Plinth {

template <typename Character>
struct CBasicTextBuilder<Character>::Layout {
    using Builder = CBasicTextBuilder;
    static_assert(offsetof(Builder, chain_) == 0 && offsetof(Builder, text_) == sizeof(void*));
    static_assert(offsetof(Builder, base_) == 2 * sizeof(void*));
    static_assert(offsetof(Builder, length_) == 3 * sizeof(void*));
    static_assert(offsetof(Builder, capacity_) == 3 * sizeof(void*) + 4);
};

namespace {

constexpr std::uint64_t SMALLEST_BLOCK = 512; // characters

// A frame is its text, a terminator and the text's length.
template <typename Character>
constexpr std::uint32_t FRAME_OVERHEAD = 1 + sizeof(std::uint32_t) / sizeof(Character);

// A fold that the compiler knows, so that it needs no call.
template <CharacterFold FOLD>
struct KnownFold {
    char operator()(char byte) const { return FOLD(byte); }
};

// Calls the function with the fold as something to call for a byte.
template <typename Function>
auto WithFold(CharacterFold fold, Function function)
{
    if (fold == nullptr || fold == FoldNone) {
        return function(KnownFold<FoldNone>());
    }
    if (fold == FoldLower) {
        return function(KnownFold<FoldLower>());
    }
    if (fold == FoldSlash) {
        return function(KnownFold<FoldSlash>());
    }
    if (fold == FoldPath) {
        return function(KnownFold<FoldPath>());
    }
    return function(fold);
}

template <typename Fold>
char Folded(char byte, Fold fold)
{
    return static_cast<signed char>(byte) >= 0 ? fold(byte) : byte;
}

template <typename Fold>
WCHAR Folded(WCHAR unit, Fold fold)
{
    return unit <= 0xFF ? static_cast<unsigned char>(fold(static_cast<char>(unit))) : unit;
}

// Gives how many were copied before the fold gave zero.
template <typename Character, typename Fold>
std::size_t CopyFolded(Character* to, const Character* from, std::size_t count, Fold fold)
{
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = Folded(from[i], fold);
        if (to[i] == 0) {
            return i;
        }
    }
    return count;
}

// The known folds give zero for zero alone, which no text to append has. It does not overlap the place it
// goes to.
template <CharacterFold FOLD>
std::size_t CopyFolded(char* to, const char* from, std::size_t count, KnownFold<FOLD> fold)
{
    using Word = std::size_t;
    const std::size_t inWords = count - count % sizeof(Word);
    for (std::size_t i = 0; i < inWords; i += sizeof(Word)) {
        StoreWords(to + i, FoldWords<FOLD>(LoadWords<Word>(from + i)));
    }
    std::transform(from + inWords, from + count, to + inWords, fold);
    return count;
}

template <typename Character, typename Fold>
bool Matches(const Character* text, const Character* pattern, Fold fold)
{
    for (; *pattern != 0; ++text, ++pattern) {
        if (*text == 0 || Folded(*text, fold) != Folded(*pattern, fold)) {
            return false;
        }
    }
    return true;
}

template <typename Character>
bool IsEmptyText(const Character* text)
{
    return text == nullptr || *text == 0;
}

void LowerText(char* text, std::size_t size)
{
    _strlwr_s(text, size);
}

void LowerText(LPWSTR text, std::size_t size)
{
    _wcslwr_s(text, size);
}

} // namespace

template <typename Character>
CBasicTextBuilder<Character>::CBasicTextBuilder(Character* buffer, std::uint32_t size)
    : text_(buffer), base_(buffer), capacity_(size)
{
    *buffer = 0;
}

template <typename Character>
CBasicTextBuilder<Character>::~CBasicTextBuilder()
{
    ReleaseBlocks();
}

// Moves the frames and the current text into a new block; the old storage stays readable.
template <typename Character>
bool CBasicTextBuilder<Character>::Grow(std::uint64_t needed)
{
    const auto frames = static_cast<std::uint32_t>(text_ - base_);
    const std::uint64_t doubled = 2 * (std::uint64_t{capacity_} + frames);
    const std::uint64_t usable = std::max({needed + frames, doubled, SMALLEST_BLOCK});
    void* const block = AllocateSummed(sizeof(chain_) + usable * sizeof(Character));
    if (block == nullptr) {
        return false;
    }
    std::memcpy(block, &chain_, sizeof(chain_));
    chain_ = block;
    auto* const start = reinterpret_cast<Character*>(static_cast<void**>(block) + 1);
    std::copy_n(base_, frames + length_, start);
    base_ = start;
    text_ = start + frames;
    text_[length_] = 0;
    capacity_ = static_cast<std::uint32_t>(usable - frames);
    return true;
}

template <typename Character>
bool CBasicTextBuilder<Character>::MakeRoom(std::uint64_t needed)
{
    return needed <= capacity_ || Grow(needed);
}

template <typename Character>
bool CBasicTextBuilder<Character>::Reserve(std::uint32_t size)
{
    return MakeRoom(size);
}

template <typename Character>
Character* CBasicTextBuilder<Character>::GetText()
{
    return FinishAppend(length_);
}

// Every text ends with a terminator and a character to spare. One that gets no memory for it is taken back.
template <typename Character>
Character* CBasicTextBuilder<Character>::FinishAppend(std::uint32_t lengthBefore)
{
    const bool complete = std::uint64_t{length_} + 1 < capacity_ || Grow(std::uint64_t{capacity_} + 2);
    return CutTo(complete ? length_ : lengthBefore);
}

template <typename Character>
Character* CBasicTextBuilder<Character>::CutTo(std::uint32_t length)
{
    length_ = length;
    if (length < capacity_) {
        text_[length] = 0;
    }
    return text_;
}

// Takes what was written behind the text.
template <typename Character>
Character* CBasicTextBuilder<Character>::TakeAppended(std::uint32_t count)
{
    length_ += count;
    return FinishAppend(length_ - count);
}

// Fills the room that is left and doubles it until all is in; a text that is outgrown gets its end back.
// `copy` takes a target, a source and a count, and gives how many it copied: fewer than the count end the
// text.
template <typename Character>
template <typename Copy>
Character* CBasicTextBuilder<Character>::AppendParts(const Character* text, std::size_t count, Copy copy)
{
    const std::uint32_t lengthBefore = length_;
    for (;;) {
        const std::size_t part = std::min<std::size_t>(count, Spare());
        const std::size_t copied = copy(End(), text, part);
        length_ += static_cast<std::uint32_t>(copied);
        text += copied;
        count -= copied;
        if (copied != part || count == 0) {
            return FinishAppend(lengthBefore);
        }
        Character* const outgrown = text_;
        if (!Grow(2 * std::uint64_t{capacity_})) {
            return CutTo(lengthBefore);
        }
        if (outgrown != nullptr) {
            outgrown[lengthBefore] = 0;
        }
    }
}

template <typename Character>
Character* CBasicTextBuilder<Character>::Append(const Character* text)
{
    if (text == nullptr) {
        return text_;
    }
    const auto copy = [](Character* to, const Character* from, std::size_t count) {
        std::copy_n(from, count, to);
        return count;
    };
    return AppendParts(text, std::char_traits<Character>::length(text), copy);
}

template <typename Character>
Character* CBasicTextBuilder<Character>::Append(const Character* text, std::uint32_t count)
{
    if (text == nullptr || !MakeRoom(std::uint64_t{length_} + count)) {
        return text_;
    }
    std::copy_n(text, count, End());
    return TakeAppended(count);
}

template <typename Character>
Character* CBasicTextBuilder<Character>::AppendChar(Character character)
{
    if (length_ >= capacity_ && !Grow(2 * std::uint64_t{capacity_})) {
        return text_;
    }
    *End() = character;
    return TakeAppended(1);
}

template <typename Character>
Character* CBasicTextBuilder<Character>::AppendFolded(const Character* text, CharacterFold fold)
{
    if (text == nullptr) {
        return text_;
    }
    const std::size_t count = std::char_traits<Character>::length(text);
    return WithFold(fold, [&](auto knownFold) {
        const auto copy = [knownFold](Character* to, const Character* from, std::size_t part) {
            return CopyFolded(to, from, part, knownFold);
        };
        return AppendParts(text, count, copy);
    });
}

template <typename Character>
void CBasicTextBuilder<Character>::SetLength(std::uint32_t length)
{
    const bool ignored = length > INT32_MAX;
    if (ignored || (length > length_ && !MakeRoom(std::uint64_t{length} + 1))) {
        return;
    }
    std::fill(text_ + std::min(length_, length), text_ + length, Character{'X'});
    CutTo(length);
}

template <typename Character>
void CBasicTextBuilder<Character>::ApplyFold(CharacterFold fold)
{
    WithFold(fold, [&](auto knownFold) {
        const auto folded = [knownFold](Character character) { return Folded(character, knownFold); };
        std::transform(text_, End(), text_, folded);
    });
}

template <typename Character>
void CBasicTextBuilder<Character>::MakeLower()
{
    if (length_ != 0) {
        LowerText(text_, std::size_t{length_} + 1);
    }
}

template <typename Character>
Character* CBasicTextBuilder<Character>::PushFrame(PushMode mode)
{
    constexpr std::uint32_t OVERHEAD = FRAME_OVERHEAD<Character>;
    if (!MakeRoom(std::uint64_t{length_} + OVERHEAD + 1)) {
        return nullptr;
    }
    Character* const stored = text_;
    const std::uint32_t storedLength = length_;
    std::memcpy(stored + storedLength + 1, &storedLength, sizeof(storedLength));
    text_ += storedLength + OVERHEAD;
    capacity_ -= storedLength + OVERHEAD;
    CutTo(0);
    if (mode == PUSH_COPY) {
        Append(stored, storedLength);
        if (length_ != storedLength) {
            PopFrame(POP_DISCARD);
            return nullptr;
        }
    }
    return stored;
}

template <typename Character>
std::uint32_t CBasicTextBuilder<Character>::PopFrame(PopMode mode)
{
    const Character* const popped = text_;
    const std::uint32_t poppedLength = length_;
    std::uint32_t storedLength;
    std::memcpy(&storedLength, reinterpret_cast<const std::byte*>(popped) - sizeof(storedLength),
                sizeof(storedLength));
    text_ -= storedLength + FRAME_OVERHEAD<Character>;
    capacity_ += storedLength + FRAME_OVERHEAD<Character>;
    const std::uint32_t kept = mode == POP_REPLACE ? 0 : storedLength;
    const std::uint32_t added = mode == POP_DISCARD ? 0 : poppedLength;
    std::memmove(text_ + kept, popped, added * sizeof(Character));
    CutTo(kept + added);
    return length_;
}

template <typename Character>
std::uint32_t CBasicTextBuilder<Character>::Find(const Character* pattern, CharacterFold fold) const
{
    if (IsEmptyText(pattern)) {
        return length_ == 0 ? 0 : NOT_FOUND;
    }
    return WithFold(fold, [&](auto knownFold) {
        for (std::uint32_t i = 0; i < length_ && text_[i] != 0; ++i) {
            if (Matches(text_ + i, pattern, knownFold)) {
                return i;
            }
        }
        return NOT_FOUND;
    });
}

template <typename Character>
std::uint32_t CBasicTextBuilder<Character>::ReverseFind(const Character* pattern, CharacterFold fold) const
{
    if (IsEmptyText(pattern)) {
        return length_ == 0 ? 0 : NOT_FOUND;
    }
    if (length_ == 0 || *text_ == 0) {
        return NOT_FOUND;
    }
    return WithFold(fold, [&](auto knownFold) {
        for (std::uint32_t i = length_; i-- > 0;) {
            if (Matches(text_ + i, pattern, knownFold)) {
                return i;
            }
        }
        return NOT_FOUND;
    });
}

template <typename Character>
Character* CBasicTextBuilder<Character>::CopyOut(Character* buffer, std::uint32_t byteSize) const
{
    return CopyOut(buffer, byteSize, 0, length_);
}

template <typename Character>
Character* CBasicTextBuilder<Character>::CopyOut(Character* buffer, std::uint32_t byteSize,
                                                 std::uint32_t start, std::uint32_t count) const
{
    const auto size = static_cast<std::uint32_t>(byteSize / sizeof(Character));
    if (buffer == nullptr || size == 0) {
        return nullptr;
    }
    const std::uint32_t available = start < length_ ? length_ - start : 0;
    const std::uint32_t copied = std::min({available, count, size - 1});
    if (copied != 0) {
        std::memmove(buffer, text_ + start, copied * sizeof(Character));
    }
    buffer[copied] = 0;
    return buffer;
}

template <typename Character>
void CBasicTextBuilder<Character>::ReleaseBlocks()
{
    if (chain_ == nullptr) {
        return;
    }
    while (chain_ != nullptr) {
        FreeMemory(std::exchange(chain_, *static_cast<void**>(chain_)));
    }
    text_ = nullptr;
    base_ = nullptr;
    length_ = 0;
    capacity_ = 0;
}

template class CBasicTextBuilder<char>;
template class CBasicTextBuilder<WCHAR>;

CTextBuilder::CTextBuilder(char* buffer, std::uint32_t size) : CBasicTextBuilder(buffer, size) {}

char* CTextBuilder::AppendFormat(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    char* const text = AppendFormatV(format, arguments);
    va_end(arguments);
    return text;
}

char* CTextBuilder::AppendFormatV(const char* format, std::va_list arguments)
{
    if (format == nullptr) {
        return text_;
    }
    std::va_list measured;
    va_copy(measured, arguments);
    const int count = _vscprintf(format, measured);
    va_end(measured);
    if (count > 0 && MakeRoom(std::uint64_t{length_} + static_cast<std::uint32_t>(count) + 1)) {
        const int written = vsprintf_s(End(), Spare(), format, arguments);
        length_ += static_cast<std::uint32_t>(std::max(written, 0));
    }
    return CutTo(length_);
}

char* CTextBuilder::AppendWide(LPCWSTR text, std::uint32_t count)
{
    if (text == nullptr || count > INT32_MAX || !MakeRoom(length_ + 3 * std::uint64_t{count})) {
        return text_;
    }
    return TakeAppended(static_cast<std::uint32_t>(WideCharToMultiByte(
        CP_UTF8, 0, text, static_cast<int>(count), End(), SpareForPlatform(), nullptr, nullptr)));
}

char* CTextBuilder::AppendWide(LPCWSTR text)
{
    return AppendWide(text, text != nullptr ? static_cast<std::uint32_t>(wcslen(text)) : 0);
}

CWideTextBuilder::CWideTextBuilder(LPWSTR buffer, std::uint32_t byteSize)
    : CBasicTextBuilder(buffer, static_cast<std::uint32_t>(byteSize / sizeof(WCHAR)))
{
}

LPWSTR CWideTextBuilder::AppendUtf8(const char* text, std::uint32_t byteCount)
{
    if (text == nullptr || byteCount > INT32_MAX || !MakeRoom(std::uint64_t{length_} + byteCount)) {
        return text_;
    }
    return TakeAppended(static_cast<std::uint32_t>(
        MultiByteToWideChar(CP_UTF8, 0, text, static_cast<int>(byteCount), End(), SpareForPlatform())));
}

LPWSTR CWideTextBuilder::AppendUtf8(const char* text)
{
    return AppendUtf8(text, text != nullptr ? static_cast<std::uint32_t>(std::strlen(text)) : 0);
}

bool MatchesAt(const char* text, const char* pattern, CharacterFold fold)
{
    return WithFold(fold, [&](auto knownFold) { return Matches(text, pattern, knownFold); });
}

bool MatchesAt(LPCWSTR text, LPCWSTR pattern, CharacterFold fold)
{
    return WithFold(fold, [&](auto knownFold) { return Matches(text, pattern, knownFold); });
}

} // namespace Plinth
