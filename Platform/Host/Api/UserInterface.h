// Message boxes: caption and text go to standard error unless a hook answers them (Platform/Host/Control.h).
#pragma once

#include "Platform/Host/Api/Types.h"

constexpr UINT MB_ICONERROR = 0x00000010;
constexpr int IDOK = 1;

// Gives the button pressed; 0, with the last error set, when the box could not be shown.
int WINAPI MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type);
