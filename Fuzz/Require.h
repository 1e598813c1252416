// What a fuzzer holds against its subject: a condition that fails ends the run with the input kept.
#pragma once

#include <cstdlib>

inline void Require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}
