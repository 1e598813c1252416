// Writes to the registry while a test does: 20 values of the tests' key, named for the last character of its
// command line and their number. The exit code counts those that it could not write.
#include "Platform/Win32.h"

#include <string>
#include <string_view>

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int)
{
    const std::basic_string_view<WCHAR> line = GetCommandLineW();
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_CURRENT_USER, WIDE("Software\\Brenvault Tests\\Shared"), 0, nullptr, 0, KEY_WRITE,
                    nullptr, &key, nullptr);
    int failures = 0;
    for (DWORD i = 0; i < 20; ++i) {
        const std::basic_string<WCHAR> name{line.back(), static_cast<WCHAR>('a' + i)};
        const auto* const data = reinterpret_cast<const BYTE*>(&i);
        failures += RegSetValueExW(key, name.c_str(), 0, REG_DWORD, data, sizeof(i)) == ERROR_SUCCESS ? 0 : 1;
    }
    RegCloseKey(key);
    return failures;
}
