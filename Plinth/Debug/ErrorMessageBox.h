/// \file
/// An error box that a game can show from its full screen.
#pragma once

#include "Platform/Win32.h"

namespace Plinth {

/// Whether the window covers the primary screen, no more and no less. False for null.
bool IsFullScreenWindow(HWND window);

/// Shows the text (null: the empty one), in the system's code page, in a box of the calling thread's active
/// window and waits for its answer. A window that is full-screen is minimised first, for it would hide the
/// box. Gives 0.
int ShowErrorMessageBox(const char* text);

} // namespace Plinth
