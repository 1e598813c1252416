// Callers on this platform keep the stack aligned for words alone; vectors that are put by there want more.
#include "Plinth/Debug/CrcFolding.h"

#include <gtest/gtest.h>

#include <vector>

namespace Plinth {
namespace {

struct Arguments {
    std::uint32_t state;
    const unsigned char* bytes;
    std::uint32_t count;
};

std::uint32_t CallLower(CrcAdvance advance, const Arguments& arguments, std::uint32_t bytesLower)
{
    std::uint32_t result;
    const Arguments* from = &arguments;
    asm volatile("movl %%esp, %%ebx\n\t"
                 "andl $-32, %%esp\n\t"
                 "subl %%edx, %%esp\n\t"
                 "pushl 8(%%ecx)\n\t"
                 "pushl 4(%%ecx)\n\t"
                 "pushl (%%ecx)\n\t"
                 "call *%%eax\n\t"
                 "movl %%ebx, %%esp"
                 : "=a"(result), "+c"(from), "+d"(bytesLower)
                 : "0"(advance)
                 : "ebx", "memory", "cc");
    return result;
}

TEST(Checksums, DoNotRelyOnTheCallersStack)
{
    const std::vector<unsigned char> bytes(300, 'x');
    const Arguments arguments = {1, bytes.data(), 300};
    for (const CrcAdvance advance :
         {AdvanceCrc<BitOrder::LOW_FIRST>, AdvanceCrc<BitOrder::HIGH_FIRST>,
          NarrowFolding<BitOrder::LOW_FIRST>(), NarrowFolding<BitOrder::HIGH_FIRST>()}) {
        for (std::uint32_t bytesLower = 0; advance != nullptr && bytesLower < 32; bytesLower += 4) {
            EXPECT_EQ(CallLower(advance, arguments, bytesLower), advance(1, bytes.data(), 300)) << bytesLower;
        }
    }
}

} // namespace
} // namespace Plinth
