// Writes where no memory is, below the functions that the demonstration shows.
#include "Tests/Crash/CrashCase.h"

void WriteToNowhere()
{
    asm volatile("movl %0, (%1)" : : "a"(0xC0FFEE), "c"(DWORD_PTR{0xDEA0}) : "memory");
}

namespace Game {

[[gnu::noinline]] static int WriteHeights()
{
    volatile int heights = 0; // work behind the call keeps it from being a jump
    WriteToNowhere();
    return heights + 1;
}

[[gnu::noinline]] static int LoadLevel()
{
    volatile int heights = WriteHeights();
    return heights + 1;
}

static void Run()
{
    volatile int heights = LoadLevel();
    heights = heights + 1;
}

} // namespace Game

const CrashCase WRITE_VIOLATION = {
    .word = "WriteViolation",
    .crash = Game::Run,
    .bytes = "89 01",
    .frame = "LoadLevel",
    .says = {"\n  Write to location 0x0000dea0 caused an access violation.\n",
             "    EAX=00c0ffee CS=", "    ECX=0000dea0 DS="},
};
