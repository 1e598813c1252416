// Runs into bytes that are no instruction.
#include "Tests/Crash/CrashCase.h"

namespace {

void RunNoInstruction()
{
    asm volatile("ud2");
}

} // namespace

const CrashCase ILLEGAL_INSTRUCTION = {
    .word = "IllegalInstruction",
    .crash = RunNoInstruction,
    .exitCode = EXCEPTION_ILLEGAL_INSTRUCTION,
    .signal = 4,
    .code = EXCEPTION_ILLEGAL_INSTRUCTION,
    .phrase = "an illegal instruction",
    .bytes = "0f 0b",
    .frame = "RunNoInstruction",
};
