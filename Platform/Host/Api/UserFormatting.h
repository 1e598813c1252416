// printf-like formatting of the user interface's library, which has a small dialect of its own.
#pragma once

#include "Platform/Host/Api/Types.h"

// Flags "-", "#", "0" in that order, width, precision, sizes h l w I I32 I64, conversions c C d i p s S u x
// X. The buffer must have room for 1024 characters; what does not fit is cut. Gives the characters written,
// without the terminator; 1024 for a text that was cut.
int WINAPIV wsprintfW(LPWSTR buffer, LPCWSTR format, ...);
