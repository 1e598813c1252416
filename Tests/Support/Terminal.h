// What the programs that show something print, in colours when the environment has COLOUR.
#pragma once

#include <cstdlib>
#include <iostream>
#include <string_view>

inline const char* Colour(const char* sequence)
{
    return std::getenv("COLOUR") != nullptr ? sequence : "";
}

inline void PrintTitle(std::string_view title)
{
    std::cout << '\n' << Colour("\x1b[1m") << title << Colour("\x1b[0m") << '\n';
}
