// The room that the launcher's paths are composed in, on the stack and of one size.
#pragma once

#include "Platform/Win32.h"

struct PathBuffer {
    WCHAR text[1548] = {};
};
