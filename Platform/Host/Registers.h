// The processor's registers, from where the host keeps them at a signal.
#pragma once

#include "Platform/Host/Api/Faults.h"

#include <ucontext.h>

namespace Platform::Host {

// All that the structure has, whatever its flags; they become CONTEXT_FULL, or 0 on a processor whose
// registers are not known here.
void ReadRegisters(const ucontext_t& host, CONTEXT& context);

// What the flags of `context` ask for, taken over from `all`.
void CopyRegisters(const CONTEXT& all, CONTEXT& context);

} // namespace Platform::Host
