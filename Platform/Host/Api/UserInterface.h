// Message boxes: caption and text go to standard error unless a hook answers them (Platform/Host/Control.h).
// There are no windows and no keyboard; debugger output goes to standard error while a debugger is attached.
#pragma once

#include "Platform/Host/Api/Types.h"

constexpr UINT MB_OK = 0x00000000;
constexpr UINT MB_ICONERROR = 0x00000010;
constexpr UINT MB_SYSTEMMODAL = 0x00001000;
constexpr UINT MB_SETFOREGROUND = 0x00010000;
constexpr int IDOK = 1;

// Gives the button pressed; 0, with the last error set, when the box could not be shown.
int WINAPI MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type);
int WINAPI MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT type); // UTF-8

HWND WINAPI GetActiveWindow();
HWND WINAPI GetLastActivePopup(HWND window); // the window itself when it is none, with the last error set

constexpr int VK_CONTROL = 0x11;
short WINAPI GetKeyState(int key); // below 0: down

void WINAPI OutputDebugStringA(LPCSTR text); // may be null
