/// \file
/// The builder's operations as free functions with the builder as their first argument. They do what the
/// members of the same names do.
#pragma once

#include "Plinth/Text/CTextBuilder.h"

#include <type_traits>

namespace Plinth {

/// The text of a builder's width, which takes no part in finding out that width.
template <typename Character>
using TextOf = const std::type_identity_t<Character>*;

///@{
/// As the builder's member of this name.
template <typename Character>
bool Reserve(CBasicTextBuilder<Character>& builder, std::uint32_t size)
{
    return builder.Reserve(size);
}

template <typename Character>
Character* GetText(CBasicTextBuilder<Character>& builder)
{
    return builder.GetText();
}

template <typename Character>
Character* Append(CBasicTextBuilder<Character>& builder, TextOf<Character> text)
{
    return builder.Append(text);
}

template <typename Character>
Character* Append(CBasicTextBuilder<Character>& builder, TextOf<Character> text, std::uint32_t count)
{
    return builder.Append(text, count);
}

template <typename Character>
Character* AppendChar(CBasicTextBuilder<Character>& builder, std::type_identity_t<Character> character)
{
    return builder.AppendChar(character);
}

template <typename Character>
Character* AppendFolded(CBasicTextBuilder<Character>& builder, TextOf<Character> text, CharacterFold fold)
{
    return builder.AppendFolded(text, fold);
}

template <typename Character>
void SetLength(CBasicTextBuilder<Character>& builder, std::uint32_t length)
{
    builder.SetLength(length);
}

template <typename Character>
void ApplyFold(CBasicTextBuilder<Character>& builder, CharacterFold fold)
{
    builder.ApplyFold(fold);
}

template <typename Character>
void MakeLower(CBasicTextBuilder<Character>& builder)
{
    builder.MakeLower();
}

template <typename Character>
Character* PushFrame(CBasicTextBuilder<Character>& builder, PushMode mode)
{
    return builder.PushFrame(mode);
}

template <typename Character>
std::uint32_t PopFrame(CBasicTextBuilder<Character>& builder, PopMode mode)
{
    return builder.PopFrame(mode);
}

template <typename Character>
std::uint32_t Find(const CBasicTextBuilder<Character>& builder, TextOf<Character> pattern, CharacterFold fold)
{
    return builder.Find(pattern, fold);
}

template <typename Character>
std::uint32_t ReverseFind(const CBasicTextBuilder<Character>& builder, TextOf<Character> pattern,
                          CharacterFold fold)
{
    return builder.ReverseFind(pattern, fold);
}

template <typename Character>
Character* CopyOut(const CBasicTextBuilder<Character>& builder, std::type_identity_t<Character>* buffer,
                   std::uint32_t byteSize)
{
    return builder.CopyOut(buffer, byteSize);
}

template <typename Character>
Character* CopyOut(const CBasicTextBuilder<Character>& builder, std::type_identity_t<Character>* buffer,
                   std::uint32_t byteSize, std::uint32_t start, std::uint32_t count)
{
    return builder.CopyOut(buffer, byteSize, start, count);
}

template <typename Character>
void ReleaseBlocks(CBasicTextBuilder<Character>& builder)
{
    builder.ReleaseBlocks();
}

[[gnu::format(printf, 2, 0)]] inline char* AppendFormatV(CTextBuilder& builder, const char* format,
                                                         std::va_list arguments)
{
    return builder.AppendFormatV(format, arguments);
}

[[gnu::format(printf, 2, 3)]] inline char* AppendFormat(CTextBuilder& builder, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    char* const text = builder.AppendFormatV(format, arguments);
    va_end(arguments);
    return text;
}

inline char* AppendWide(CTextBuilder& builder, LPCWSTR text, std::uint32_t count)
{
    return builder.AppendWide(text, count);
}

inline char* AppendWide(CTextBuilder& builder, LPCWSTR text)
{
    return builder.AppendWide(text);
}

inline LPWSTR AppendUtf8(CWideTextBuilder& builder, const char* text, std::uint32_t byteCount)
{
    return builder.AppendUtf8(text, byteCount);
}

inline LPWSTR AppendUtf8(CWideTextBuilder& builder, const char* text)
{
    return builder.AppendUtf8(text);
}
///@}

} // namespace Plinth
