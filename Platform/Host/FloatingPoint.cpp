#include "Platform/Host/Api/FloatingPoint.h"

#include "Platform/Host/Gate.h"

#include <algorithm>
#include <iterator>

namespace Platform::Host {

namespace {

#if defined(__x86_64__) || defined(__i386__)
constexpr unsigned KNOWN = _MCW_EM | _MCW_RC | _MCW_PC | _MCW_IC;

// The platform's bits beside the processor's.
struct Bit {
    unsigned abstract;
    unsigned processor;
};
constexpr Bit BITS[] = {
    {_EM_INVALID, 0x0001},  {_EM_DENORMAL, 0x0002},  {_EM_ZERODIVIDE, 0x0004},
    {_EM_OVERFLOW, 0x0008}, {_EM_UNDERFLOW, 0x0010}, {_EM_INEXACT, 0x0020},
    {0x00000100, 0x0400},   {0x00000200, 0x0800},    {_MCW_IC, 0x1000},
};

// Precision is a number in both, counted in another order.
constexpr unsigned PROCESSOR_PRECISION = 0x0300;
constexpr unsigned PRECISIONS[] = {0x0300, 0x0200, 0x0000, 0x0100}; // by the platform's number

std::uint16_t ToProcessor(unsigned word, unsigned current)
{
    current = (current & ~PROCESSOR_PRECISION) | PRECISIONS[(word & _MCW_PC) >> 16];
    for (const Bit& bit : BITS) {
        current = (current & ~bit.processor) | ((word & bit.abstract) != 0 ? bit.processor : 0);
    }
    return static_cast<std::uint16_t>(current);
}

unsigned FromProcessor(unsigned current)
{
    const auto* const precision =
        std::find(std::begin(PRECISIONS), std::end(PRECISIONS), current & PROCESSOR_PRECISION);
    auto word = static_cast<unsigned>(precision - std::begin(PRECISIONS)) << 16;
    for (const Bit& bit : BITS) {
        word |= (current & bit.processor) != 0 ? bit.abstract : 0;
    }
    return word;
}

unsigned Control(unsigned newValue, unsigned mask)
{
    std::uint16_t current = 0;
    asm volatile("fnstcw %0" : "=m"(current));
    const unsigned word = FromProcessor(current);
    const unsigned wanted = (word & ~mask) | (newValue & mask & KNOWN);
    if (wanted == word) {
        return word;
    }
    current = ToProcessor(wanted, current);
    asm volatile("fldcw %0" : : "m"(current));
    return wanted;
}
#else
unsigned Control(unsigned /*newValue*/, unsigned /*mask*/)
{
    return _MCW_EM;
}
#endif

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

unsigned _control87(unsigned newValue, unsigned mask)
{
    GateSees("_control87");
    return Control(newValue, mask);
}

int _set_SSE2_enable(int flag)
{
    GateSees("_set_SSE2_enable");
    return flag != 0 ? 1 : 0;
}
