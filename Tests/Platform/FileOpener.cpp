// Opens a file while a test has it open: its command line is "opener ASH PATH" with the digits of access (1
// to read, 2 to write) and share mode, and "h" to hold the file until the process is ended. The exit code is
// the last error.
#include "Platform/Win32.h"

#include <string>

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int)
{
    const std::basic_string<WCHAR> line = GetCommandLineW();
    const std::size_t start = line.find(' ') + 1;
    const auto digit = [&](std::size_t place) { return static_cast<DWORD>(line.at(start + place) - '0'); };
    const DWORD access = ((digit(0) & 1) != 0 ? DWORD{GENERIC_READ} : DWORD{0}) |
                         ((digit(0) & 2) != 0 ? DWORD{GENERIC_WRITE} : DWORD{0});
    auto* const file = CreateFileW(line.c_str() + start + 4, access, digit(1), nullptr, OPEN_EXISTING,
                                   FILE_ATTRIBUTE_NORMAL, nullptr);
    const DWORD error = GetLastError();
    if (file != INVALID_HANDLE_VALUE && line.at(start + 2) == 'h') {
        Sleep(60000);
    }
    return static_cast<int>(error);
}
