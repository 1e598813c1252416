// Divides an integer by zero.
#include "Tests/Crash/CrashCase.h"

namespace {

void DivideByZero()
{
    int quotient = 7;
    int remainder = 0;
    asm volatile("idivl %2" : "+a"(quotient), "+d"(remainder) : "c"(0));
}

} // namespace

const CrashCase INTEGER_DIVISION = {
    .word = "IntegerDivision",
    .crash = DivideByZero,
    .exitCode = EXCEPTION_INT_DIVIDE_BY_ZERO,
    .signal = 8,
    .code = EXCEPTION_INT_DIVIDE_BY_ZERO,
    .phrase = "an integer divide by zero",
    .bytes = "f7 f9",
    .frame = "DivideByZero",
    .says = {"    EAX=00000007 CS=", "    ECX=00000000 DS="},
};
