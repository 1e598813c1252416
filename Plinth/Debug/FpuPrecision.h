/// \file
/// The precision in which the floating-point unit computes, for the calling thread. It is the x87 unit's:
/// code that is compiled for SSE keeps the precision of its types.
#pragma once

namespace Plinth {

/// Both mask all floating-point exceptions, round to nearest, and have the runtime's mathematical functions
/// do without SSE2, so that they compute in this precision too: these in all threads, and for good.
void SetFpuSinglePrecision(); ///< 24 bits
void SetFpuDoublePrecision(); ///< 53 bits

bool IsFpuSinglePrecision(); ///< whether it computes with 24 bits now
bool IsFpuDoublePrecision(); ///< and with 53

} // namespace Plinth
