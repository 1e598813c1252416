// A picture of a window as it stands on the screen.
#pragma once

#include "Platform/Win32.h"

#include <filesystem>

// Writes it as a bitmap file of 32 bits a pixel. False: failed.
bool SaveWindowPicture(HWND window, const std::filesystem::path& path);
