// Message boxes: caption and text go to standard error unless a hook answers them (Platform/Host/Control.h).
#pragma once

#include "Platform/Host/Api/Types.h"

constexpr UINT MB_OK = 0x00000000;
constexpr UINT MB_ICONERROR = 0x00000010;
constexpr int IDOK = 1;

int WINAPI MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type);
