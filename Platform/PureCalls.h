// How a pure virtual call reaches a handler of the program's own.
#pragma once

#include "Platform/Win32.h"

namespace Platform {

// The stack word just above the return address of the function that calls this.
[[gnu::always_inline]] inline DWORD_PTR WordAboveReturnAddress()
{
    return static_cast<const DWORD_PTR*>(__builtin_frame_address(0))[2];
}

} // namespace Platform

// PLATFORM_PURE_CALL_ENTRY(handler) defines what the C++ runtime has in the vtables' places of pure
// functions: it calls the handler with the return address of the pure call as the stack word just above the
// handler's own. A copy is pushed rather than the handler called right away, so that its stack is aligned as
// any function's. It must stand in an object that is linked for another reason: vtables refer to it weakly.
#if defined(__x86_64__)
#define PLATFORM_CALL_WITH_RETURN_ADDRESS(handler)                                                           \
    asm volatile("pushq (%%rsp)\n\t.cfi_adjust_cfa_offset 8\n\tcall %P0\n\tud2" : : "i"(handler))
#define PLATFORM_PURE_CALL_ATTRIBUTES [[gnu::naked]]
#elif defined(__i386__)
#define PLATFORM_CALL_WITH_RETURN_ADDRESS(handler)                                                           \
    asm volatile("pushl (%%esp)\n\t.cfi_adjust_cfa_offset 4\n\tcall %P0\n\tud2" : : "i"(handler))
#define PLATFORM_PURE_CALL_ATTRIBUTES [[gnu::naked]]
#else
#define PLATFORM_CALL_WITH_RETURN_ADDRESS(handler) handler()
#define PLATFORM_PURE_CALL_ATTRIBUTES
#endif

#define PLATFORM_PURE_CALL_ENTRY(handler)                                                                    \
    extern "C" PLATFORM_PURE_CALL_ATTRIBUTES void __cxa_pure_virtual()                                       \
    {                                                                                                        \
        PLATFORM_CALL_WITH_RETURN_ADDRESS(handler);                                                          \
    }
