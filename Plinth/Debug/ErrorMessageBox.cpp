#include "Plinth/Debug/ErrorMessageBox.h"

namespace Plinth {

bool IsFullScreenWindow(HWND window)
{
    if (window == nullptr) {
        return false;
    }
    const int width = GetSystemMetrics(SM_CXSCREEN);
    const int height = GetSystemMetrics(SM_CYSCREEN);
    if (width <= 0 || height <= 0) {
        return false;
    }
    RECT place{};
    GetWindowRect(window, &place); // one that fails leaves a rectangle of no size
    return place.left == 0 && place.top == 0 && place.right == width && place.bottom == height;
}

int ShowErrorMessageBox(const char* text)
{
    HWND window = GetActiveWindow();
    if (IsFullScreenWindow(window)) {
        ShowWindow(window, SW_MINIMIZE);
    }
    MessageBoxA(window, text != nullptr ? text : "", "Error", MB_OK | MB_ICONERROR | MB_SETFOREGROUND);
    return 0;
}

} // namespace Plinth
