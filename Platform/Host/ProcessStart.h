// What a process of the layer gets from the one that started it, beyond what the host hands on itself: the
// exact command line and the error mode.
//
// They travel in the environment variable PLATFORM_HOST_START, only where the arguments alone do not say
// it all, and a program built on the layer takes the variable out of its environment at once.
#pragma once

#include "Platform/Host/Api/Types.h"

#include <string>
#include <vector>

namespace Platform::Host {

struct ProcessStart {
    std::u16string commandLine;
    UINT errorMode = 0;
};

// This process's own; the same object on each call.
ProcessStart& OwnStart();

// The variable ("NAME=value") for a process started with these arguments; empty when it needs none.
std::string StartVariable(const ProcessStart& start, const std::vector<std::u16string>& arguments);

} // namespace Platform::Host
