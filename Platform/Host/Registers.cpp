#include "Platform/Host/Registers.h"

namespace Platform::Host {

namespace {

constexpr bool Asks(DWORD flags, DWORD part)
{
    return (flags & part) == part;
}

#if defined(__x86_64__)
DWORD_PTR Register(const ucontext_t& host, int index)
{
    return static_cast<DWORD_PTR>(host.uc_mcontext.gregs[index]);
}

// Four of 16 bits in one; the two that this processor has no use for are 0.
void ReadSegments(const ucontext_t& host, CONTEXT& context)
{
    const DWORD_PTR segments = Register(host, REG_CSGSFS);
    context.SegCs = segments & 0xFFFF;
    context.SegGs = segments >> 16 & 0xFFFF;
    context.SegFs = segments >> 32 & 0xFFFF;
    context.SegSs = static_cast<DWORD>(segments >> 48);
}

void ReadAll(const ucontext_t& host, CONTEXT& context)
{
    context.ContextFlags = CONTEXT_FULL;
    context.Eax = Register(host, REG_RAX);
    context.Ebx = Register(host, REG_RBX);
    context.Ecx = Register(host, REG_RCX);
    context.Edx = Register(host, REG_RDX);
    context.Esi = Register(host, REG_RSI);
    context.Edi = Register(host, REG_RDI);
    context.Ebp = Register(host, REG_RBP);
    context.Esp = Register(host, REG_RSP);
    context.Eip = Register(host, REG_RIP);
    context.EFlags = static_cast<DWORD>(Register(host, REG_EFL));
    for (int i = 0; i < 8; ++i) {
        context.Further[i] = Register(host, REG_R8 + i);
    }
    ReadSegments(host, context);
}
#else
void ReadAll(const ucontext_t& /*host*/, CONTEXT& /*context*/) {}
#endif

} // namespace

#if defined(__x86_64__)
void SetPlace(ucontext_t& host, DWORD_PTR instruction, DWORD_PTR stack)
{
    host.uc_mcontext.gregs[REG_RIP] = static_cast<greg_t>(instruction);
    host.uc_mcontext.gregs[REG_RSP] = static_cast<greg_t>(stack);
}

Trap ReadTrap(const ucontext_t& host)
{
    return {Register(host, REG_TRAPNO), Register(host, REG_ERR)};
}
#else
void SetPlace(ucontext_t& /*host*/, DWORD_PTR /*instruction*/, DWORD_PTR /*stack*/) {}

Trap ReadTrap(const ucontext_t& /*host*/)
{
    return {};
}
#endif

void ReadRegisters(const ucontext_t& host, CONTEXT& context)
{
    context = {};
    ReadAll(host, context);
}

void CopyRegisters(const CONTEXT& all, CONTEXT& context)
{
    const DWORD flags = context.ContextFlags;
    CONTEXT copy = all;
    if (!Asks(flags, CONTEXT_CONTROL)) {
        copy.Ebp = context.Ebp;
        copy.Eip = context.Eip;
        copy.SegCs = context.SegCs;
        copy.EFlags = context.EFlags;
        copy.Esp = context.Esp;
        copy.SegSs = context.SegSs;
    }
    if (!Asks(flags, CONTEXT_INTEGER)) {
        copy.Edi = context.Edi;
        copy.Esi = context.Esi;
        copy.Ebx = context.Ebx;
        copy.Edx = context.Edx;
        copy.Ecx = context.Ecx;
        copy.Eax = context.Eax;
        for (int i = 0; i < 8; ++i) {
            copy.Further[i] = context.Further[i];
        }
    }
    if (!Asks(flags, CONTEXT_SEGMENTS)) {
        copy.SegGs = context.SegGs;
        copy.SegFs = context.SegFs;
        copy.SegEs = context.SegEs;
        copy.SegDs = context.SegDs;
    }
    copy.ContextFlags = flags;
    context = copy;
}

} // namespace Platform::Host
