// The path of a loaded module, or of the program: at most 1,023 characters of it, terminated; empty where the
// platform gives none.
#pragma once

#include "Platform/Win32.h"

namespace Plinth {

struct CModulePath {
    static constexpr DWORD SIZE = 1024;

    explicit CModulePath(HMODULE module = nullptr)
    {
        GetModuleFileNameW(module, text, SIZE);
        text[SIZE - 1] = 0; // older systems leave a path that is cut without its end
    }

    WCHAR text[SIZE] = {};
};

} // namespace Plinth
