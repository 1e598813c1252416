// Calls a function that takes an argument list: for formats that the compiler would not let through.
#pragma once

#include <cstdarg>

template <typename Function>
void CallWithArguments(Function function, ...)
{
    std::va_list arguments;
    va_start(arguments, function);
    function(arguments);
    va_end(arguments);
}

// A null format that the compiler does not see.
inline const char* volatile noFormat = nullptr;
