// Calls itself until the stack has no room. Wine then lacks the room to end the process with its code.
#include "Tests/Crash/CrashCase.h"

namespace {

[[gnu::noinline, gnu::no_sanitize_address]] int Deepen(volatile const int* depth) // NOLINT(misc-no-recursion)
{
    volatile const int deeper = *depth + 1;
    return deeper == 0 ? 0 : Deepen(&deeper) + deeper;
}

void Overflow()
{
    const int depth = 0;
    Deepen(&depth);
}

} // namespace

const CrashCase STACK_OVERFLOW = {
    .word = "StackOverflow",
    .crash = Overflow,
    .exitCode = ANY_EXIT_CODE,
    .code = EXCEPTION_STACK_OVERFLOW,
    .phrase = "a stack overflow",
    .frame = "Deepen",
    .says = {"\n    <...>\n"},
};
