// Divides by zero on the x87 unit, which is told not to bear it: the next instruction of the unit faults.
#include "Tests/Crash/CrashCase.h"

namespace {

void DivideOneByZero()
{
    _control87(0, _EM_ZERODIVIDE);
    asm volatile("fld1\n\tfldz\n\tfdivrp\n\tfwait");
}

} // namespace

const CrashCase FLOAT_DIVISION = {
    .word = "FloatDivision",
    .crash = DivideOneByZero,
    .exitCode = EXCEPTION_FLT_DIVIDE_BY_ZERO,
    .signal = 8,
    .code = EXCEPTION_FLT_DIVIDE_BY_ZERO,
    .phrase = "a float divide by zero",
    .bytes = "9b",
    .frame = "DivideOneByZero",
};
