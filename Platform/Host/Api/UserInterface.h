// Message boxes: caption and text go to standard error unless a hook answers them (Platform/Host/Control.h).
// There are no screen, no windows and no keyboard but what tests set; debugger output goes to standard error
// while a debugger is attached.
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

struct RECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};
using LPRECT = RECT*;

constexpr int SM_CXSCREEN = 0; // the primary screen's width
constexpr int SM_CYSCREEN = 1;
int WINAPI GetSystemMetrics(int index); // 0: failed, or unknown

BOOL WINAPI GetWindowRect(HWND window, LPRECT rectangle); // on the screen

constexpr int SW_MINIMIZE = 6;
BOOL WINAPI ShowWindow(HWND window, int command); // whether the window was visible before

constexpr int VK_CONTROL = 0x11;
short WINAPI GetKeyState(int key); // below 0: down

void WINAPI OutputDebugStringA(LPCSTR text); // may be null
