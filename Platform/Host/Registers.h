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

// Has the code go on there when the handler of the signal returns, and a walk of the stack from it.
void SetPlace(ucontext_t& host, DWORD_PTR instruction, DWORD_PTR stack);

// Why the processor stopped: its own numbers, 0 where they are not known.
struct Trap {
    static constexpr DWORD_PTR BREAKPOINT = 3;
    static constexpr DWORD_PTR OF_WRITING = 2; // bits of a page fault's error
    static constexpr DWORD_PTR OF_EXECUTION = 16;

    DWORD_PTR number;
    DWORD_PTR error;
};
Trap ReadTrap(const ucontext_t& host);

// What the flags of `context` ask for, taken over from `all`.
void CopyRegisters(const CONTEXT& all, CONTEXT& context);

} // namespace Platform::Host
