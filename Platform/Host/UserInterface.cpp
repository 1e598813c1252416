#include "Platform/Host/Api/UserInterface.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/StandardError.h"
#include "Platform/Host/SystemFigures.h"
#include "Platform/Host/Utf.h"

namespace Platform::Host {

namespace {

// What the program sees of its screen, windows and keys.
struct ShownInput {
    HWND activeWindow = nullptr;
    HWND lastActivePopup = nullptr;
    RECT activeWindowRect{};
    int screenSize[2]{}; // by SM_CXSCREEN and SM_CYSCREEN
    short keyState = 0;
};

ShownInput& Input()
{
    static ShownInput input;
    return input;
}

MessageBoxHook& BoxHook()
{
    static MessageBoxHook hook;
    return hook;
}

DebuggerHook& OutputHook()
{
    static DebuggerHook hook;
    return hook;
}

// Only the active window is one. Sets the last error.
bool IsWindow(HWND window)
{
    return (window != nullptr && window == Input().activeWindow) || Fail(ERROR_INVALID_WINDOW_HANDLE);
}

bool PrintBox(const MessageBoxCall& call)
{
    return WriteToStandardError(ToHost(call.caption) + '\n' + ToHost(call.text) + '\n');
}

// Gives the button. No lock is held: the hook may call the layer.
int ShowBox(const MessageBoxCall& call)
{
    if (BoxHook()) {
        return BoxHook()(call);
    }
    return PrintBox(call) ? IDOK : Fail(ERROR_GEN_FAILURE);
}

bool DebuggerIsAttached()
{
    return SystemFigures("/proc/self/status").Number("\nTracerPid:") != 0;
}

} // namespace

void SetMessageBoxHook(MessageBoxHook hook)
{
    BoxHook() = std::move(hook);
}

void SetActiveWindow(HWND window, HWND lastActivePopup)
{
    Input().activeWindow = window;
    Input().lastActivePopup = lastActivePopup;
}

void SetScreenSize(int width, int height)
{
    Input().screenSize[SM_CXSCREEN] = width;
    Input().screenSize[SM_CYSCREEN] = height;
}

void SetActiveWindowRect(const RECT& rectangle)
{
    Input().activeWindowRect = rectangle;
}

void SetKeyState(short state)
{
    Input().keyState = state;
}

void SetDebuggerHook(DebuggerHook hook)
{
    OutputHook() = std::move(hook);
}

} // namespace Platform::Host

using namespace Platform::Host;

int WINAPI MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type)
{
    return Guarded("MessageBoxW", 0, [&] {
        return ShowBox(
            {owner != nullptr, text != nullptr ? text : u"", caption != nullptr ? caption : u"Error", type});
    });
}

int WINAPI MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT type)
{
    return Guarded("MessageBoxA", 0, [&] {
        return ShowBox({owner != nullptr, FromHost(text != nullptr ? text : ""),
                        FromHost(caption != nullptr ? caption : "Error"), type});
    });
}

HWND WINAPI GetActiveWindow()
{
    GateSees("GetActiveWindow");
    return Input().activeWindow;
}

HWND WINAPI GetLastActivePopup(HWND window)
{
    if (GateStops("GetLastActivePopup")) {
        return window;
    }
    return IsWindow(window) ? Input().lastActivePopup : window;
}

int WINAPI GetSystemMetrics(int index)
{
    const bool isKnown = index == SM_CXSCREEN || index == SM_CYSCREEN;
    return GateStops("GetSystemMetrics") || !isKnown ? 0 : Input().screenSize[index];
}

BOOL WINAPI GetWindowRect(HWND window, LPRECT rectangle)
{
    if (GateStops("GetWindowRect") || !IsWindow(window)) {
        return FALSE;
    }
    *rectangle = Input().activeWindowRect;
    return TRUE;
}

// A window that is active is visible; nothing else is known of it that could change.
BOOL WINAPI ShowWindow(HWND window, int /*command*/)
{
    return GateStops("ShowWindow") || !IsWindow(window) ? FALSE : TRUE;
}

short WINAPI GetKeyState(int /*key*/)
{
    GateSees("GetKeyState");
    return Input().keyState;
}

void WINAPI OutputDebugStringA(LPCSTR text)
{
    GateSees("OutputDebugStringA");
    if (text == nullptr) {
        return;
    }
    if (OutputHook()) {
        OutputHook()(text);
    } else if (DebuggerIsAttached()) {
        WriteToStandardError(text);
    }
}
