// Reads where no memory is.
#include "Tests/Crash/CrashCase.h"

namespace {

void ReadFromNowhere()
{
    asm volatile("movl (%0), %%eax" : : "c"(DWORD_PTR{0xDEA0}) : "eax");
}

} // namespace

const CrashCase READ_VIOLATION = {
    .word = "ReadViolation",
    .crash = ReadFromNowhere,
    .bytes = "8b 01",
    .frame = "ReadFromNowhere",
    .says = {"\n  Read from location 0x0000dea0 caused an access violation.\n", "    ECX=0000dea0 DS="},
};
