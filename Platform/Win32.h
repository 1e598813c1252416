// The one header through which the code reaches the platform.
//
// On Windows it is the platform's own headers. On the host it declares the functions, types and constants
// that the code uses, under their real names and with their real rules; Platform/Host implements them.
//
// Beside it stands what every platform has and neither's headers offer: the guard against faults.
//
// WIDE("text") is a literal of WCHAR units in both: wchar_t on Windows, char16_t on the host.
#pragma once

#if defined(_WIN32)
#include "Platform/Windows/Headers.h"
#else
#include "Platform/Host/Api.h"
#endif

#include "Platform/FaultGuard.h"
