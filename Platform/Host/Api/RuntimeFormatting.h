// The printf family of the platform's C runtime, in its "C" locale: a narrow character is the wide one below
// 256 and nothing else.
//
// Flags "-+ #0", width and precision or "*", sizes h l ll w L I I32 I64, conversions c C d i o u x X p s S
// e E f g G a A. "s" and "c" take what the format is made of, "S" and "C" the other; l and w ask for wide, h
// for narrow. A null text is "(null)"; an exponent has at least three digits; infinities and what is no
// number are 1.#INF, 1.#QNAN and -1.#IND.
#pragma once

#include "Platform/Host/Api/Types.h"

#include <cstdarg>

constexpr std::size_t _TRUNCATE = static_cast<std::size_t>(-1);

// Writes at most `count` characters and a terminator to a buffer that holds `size` with it. Gives the
// characters written, -1 for a text that was cut or not written. It is cut where `count` is _TRUNCATE or
// smaller than `size`; else a text too long for the buffer leaves it empty, as an unknown conversion and a
// wide text that has no narrow form do. Without a buffer, its size or a format nothing is written. Nothing is
// read of arguments behind the cut.
int _vsnprintf_s(char* buffer, std::size_t size, std::size_t count, const char* format,
                 std::va_list arguments);
int _vsnwprintf_s(WCHAR* buffer, std::size_t size, std::size_t count, const WCHAR* format,
                  std::va_list arguments);

// The same for a text that must fit.
int vsprintf_s(char* buffer, std::size_t size, const char* format, std::va_list arguments);

[[gnu::format(printf, 3, 4)]] int sprintf_s(char* buffer, std::size_t size, const char* format, ...);

// Writes the number's digits, of a radix from 2 to 36, with lower-case letters; only decimals have a sign. 0;
// EINVAL without a buffer, its size or such a radix; ERANGE where the digits do not fit. Then the buffer,
// where there is one, holds the empty text.
int _itoa_s(int value, char* buffer, std::size_t size, int radix);

// Gives the characters that the text has, without a terminator; -1 as above, but what is no conversion counts
// as text.
int _vscprintf(const char* format, std::va_list arguments);
