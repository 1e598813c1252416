// A program whose entry is WinMain: it has its own module, and its path is a file's.
#include "Platform/Win32.h"
#include "Plinth/FileSystem/PathNames.h"
#include "Plinth/Text/CString.h"

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int)
{
    WCHAR path[MAX_PATH] = {};
    if (GetModuleFileNameW(instance, path, MAX_PATH) == 0) {
        return 1;
    }
    Plinth::CString title;
    Plinth::GetPathTitle(title, path);
    return title == "WindowedConsumer" ? 0 : 2;
}
