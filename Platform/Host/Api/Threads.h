// Threads of this process.
#pragma once

#include "Platform/Host/Api/Types.h"

void WINAPI Sleep(DWORD milliseconds);
