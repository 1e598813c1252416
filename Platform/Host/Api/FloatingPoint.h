// The floating-point unit's control word.
#pragma once

#include "Platform/Host/Api/Types.h"

constexpr unsigned _MCW_EM = 0x0008001F; // exceptions that are masked
constexpr unsigned _EM_INEXACT = 0x00000001;
constexpr unsigned _EM_UNDERFLOW = 0x00000002;
constexpr unsigned _EM_OVERFLOW = 0x00000004;
constexpr unsigned _EM_ZERODIVIDE = 0x00000008;
constexpr unsigned _EM_INVALID = 0x00000010;
constexpr unsigned _EM_DENORMAL = 0x00080000;

constexpr unsigned _MCW_RC = 0x00000300; // rounding
constexpr unsigned _RC_NEAR = 0x00000000;

constexpr unsigned _MCW_PC = 0x00030000; // precision
constexpr unsigned _PC_24 = 0x00020000;
constexpr unsigned _PC_53 = 0x00010000;

constexpr unsigned _MCW_IC = 0x00040000; // infinity; today's processors know one kind
constexpr unsigned _IC_PROJECTIVE = 0x00000000;

// Sets the bits under the mask and gives the word that holds now. It is the calling thread's, and that of the
// x87 unit alone: what is computed elsewhere keeps its precision. Nothing is set on a processor without one.
unsigned _control87(unsigned newValue, unsigned mask);

// Whether the runtime's mathematical functions may use SSE2; gives what holds now. Nothing here asks for it.
int _set_SSE2_enable(int flag);
