// The processor's registers, from where the host keeps them at a signal.
#pragma once

#include "Platform/Host/Api/Faults.h"

#include <ucontext.h>

namespace Platform::Host {

// Whether this processor's registers are known here.
#if defined(__x86_64__)
constexpr bool KNOWS_REGISTERS = true;
#else
constexpr bool KNOWS_REGISTERS = false;
#endif

// All that the structure has, whatever its flags; they become CONTEXT_FULL, or 0 where no register is known.
void ReadRegisters(const ucontext_t& host, CONTEXT& context);

// What the flags of `context` ask for, taken over from `all`.
void CopyRegisters(const CONTEXT& all, CONTEXT& context);

} // namespace Platform::Host
