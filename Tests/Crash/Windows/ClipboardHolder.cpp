// Puts a text on the clipboard and keeps it open, for 30 seconds at the most.
//
//     ClipboardHolder FILE     makes the file when it has the clipboard
#include "Platform/Win32.h"

#include <cstring>
#include <filesystem>
#include <fstream>

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR commandLine, int)
{
    constexpr char TEXT[] = "the holder's";
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, sizeof(TEXT));
    std::memcpy(GlobalLock(block), TEXT, sizeof(TEXT));
    GlobalUnlock(block);
    HWND window = CreateWindowA("STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    if (!OpenClipboard(window) || !EmptyClipboard() || SetClipboardData(CF_TEXT, block) == nullptr) {
        return 1;
    }
    std::ofstream(std::filesystem::path(commandLine)) << "held";
    Sleep(30000);
    return 0;
}
