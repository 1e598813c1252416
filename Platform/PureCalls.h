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

// A function that calls the handler with its own return address as the stack word just above the handler's.
// It has a frame as any function, for who walks the stack by frames, and leaves the stack as well aligned.
#if defined(__x86_64__)
#define PLATFORM_ENTRY_WITH_RETURN_ADDRESS(name, handler)                                                    \
    extern "C" [[gnu::naked]] void name()                                                                    \
    {                                                                                                        \
        asm volatile("pushq %%rbp\n\t"                                                                       \
                     ".cfi_def_cfa_offset 16\n\t"                                                            \
                     ".cfi_offset %%rbp, -16\n\t"                                                            \
                     "movq %%rsp, %%rbp\n\t"                                                                 \
                     ".cfi_def_cfa_register %%rbp\n\t"                                                       \
                     "subq $8, %%rsp\n\t"                                                                    \
                     "pushq 8(%%rbp)\n\t"                                                                    \
                     "call %P0\n\t"                                                                          \
                     "ud2"                                                                                   \
                     :                                                                                       \
                     : "i"(handler));                                                                        \
    }
#elif defined(__i386__)
#define PLATFORM_ENTRY_WITH_RETURN_ADDRESS(name, handler)                                                    \
    extern "C" [[gnu::naked]] void name()                                                                    \
    {                                                                                                        \
        asm volatile("pushl %%ebp\n\t"                                                                       \
                     ".cfi_def_cfa_offset 8\n\t"                                                             \
                     ".cfi_offset %%ebp, -8\n\t"                                                             \
                     "movl %%esp, %%ebp\n\t"                                                                 \
                     ".cfi_def_cfa_register %%ebp\n\t"                                                       \
                     "subl $4, %%esp\n\t"                                                                    \
                     "pushl 4(%%ebp)\n\t"                                                                    \
                     "call %P0\n\t"                                                                          \
                     "ud2"                                                                                   \
                     :                                                                                       \
                     : "i"(handler));                                                                        \
    }
#else
#define PLATFORM_ENTRY_WITH_RETURN_ADDRESS(name, handler)                                                    \
    extern "C" void name()                                                                                   \
    {                                                                                                        \
        handler();                                                                                           \
    }
#endif

// Defines what the C++ runtime has in the vtables' places of pure functions, and of deleted ones: the runtime
// keeps both in one object, which would be linked beside this for either. It must stand in an object that is
// linked for another reason, as vtables refer to it weakly.
#define PLATFORM_PURE_CALL_ENTRY(handler)                                                                    \
    PLATFORM_ENTRY_WITH_RETURN_ADDRESS(__cxa_pure_virtual, handler)                                          \
    PLATFORM_ENTRY_WITH_RETURN_ADDRESS(__cxa_deleted_virtual, handler)
