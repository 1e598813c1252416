#include "Plinth/Debug/FpuPrecision.h"

#include "Platform/Win32.h"

namespace Plinth {

namespace {

// _control87 and not _controlfp: that one leaves the mask of denormal operands as it is.
void SetPrecision(unsigned precision)
{
    constexpr unsigned ALL_MASKED =
        _EM_INVALID | _EM_DENORMAL | _EM_ZERODIVIDE | _EM_OVERFLOW | _EM_UNDERFLOW | _EM_INEXACT;
    _control87(ALL_MASKED | _RC_NEAR | _IC_PROJECTIVE | _PC_53, _MCW_EM | _MCW_IC | _MCW_RC | _MCW_PC);
    _control87(precision, _MCW_PC);
    _set_SSE2_enable(0);
}

bool HasPrecision(unsigned precision)
{
    return (_control87(0, 0) & _MCW_PC) == precision;
}

} // namespace

void SetFpuSinglePrecision()
{
    SetPrecision(_PC_24);
}

void SetFpuDoublePrecision()
{
    SetPrecision(_PC_53);
}

bool IsFpuSinglePrecision()
{
    return HasPrecision(_PC_24);
}

bool IsFpuDoublePrecision()
{
    return HasPrecision(_PC_53);
}

} // namespace Plinth
