#include "Platform/Host/Api/Processor.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"

#include <algorithm>

namespace Platform::Host {

namespace {

ProcessorHook& Hook()
{
    static ProcessorHook hook;
    return hook;
}

#if defined(__x86_64__) || defined(__i386__)
void AskProcessor(int registers[4], int leaf, int subLeaf)
{
    asm volatile("cpuid"
                 : "=a"(registers[0]), "=b"(registers[1]), "=c"(registers[2]), "=d"(registers[3])
                 : "a"(leaf), "c"(subLeaf));
}
#else
void AskProcessor(int registers[4], int /*leaf*/, int /*subLeaf*/)
{
    std::fill_n(registers, 4, 0);
}
#endif

} // namespace

void SetProcessorHook(ProcessorHook hook)
{
    Hook() = std::move(hook);
}

} // namespace Platform::Host

using namespace Platform::Host;

void __cpuidex(int registers[4], int leaf, int subLeaf)
{
    GateSees("__cpuidex");
    if (Hook()) {
        Hook()(registers, leaf, subLeaf);
    } else {
        AskProcessor(registers, leaf, subLeaf);
    }
}
