// The calls of the platform that a report makes, as far as their order matters.
#pragma once

#include "Platform/Host/Gate.h"

#include <algorithm>
#include <string>
#include <vector>

using Calls = std::vector<std::string>;

// Without what formats, names addresses or asks who runs, and each run of one call as one.
inline Calls CallsOf(const Platform::Host::GateWatch& watch)
{
    Calls calls = watch.Calls();
    std::erase_if(calls, [](const std::string& call) {
        return call == "_vsnprintf_s" || call.starts_with("Sym") || call.starts_with("GetCurrent");
    });
    calls.erase(std::unique(calls.begin(), calls.end()), calls.end());
    return calls;
}
