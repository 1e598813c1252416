// The program's own path: at most 1,023 characters of it, terminated; empty where the platform gives none.
#pragma once

#include "Platform/Win32.h"

namespace Plinth {

struct CModulePath {
    CModulePath() { GetModuleFileNameW(nullptr, text, sizeof(text) / sizeof(WCHAR) - 1); }

    WCHAR text[1024] = {};
};

} // namespace Plinth
