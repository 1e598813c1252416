// Writes to the registry while a test does: 20 values of the tests' key, named for the last character of its
// command line and their number, and one more when static objects end, after all else. The exit code counts
// those of the 20 that it could not write.
#include "Platform/Win32.h"

#include <string>
#include <string_view>

namespace {

struct Writer {
    // How many could not be written.
    int Write(WCHAR first, WCHAR behind)
    {
        HKEY key = nullptr;
        RegCreateKeyExW(HKEY_CURRENT_USER, WIDE("Software\\Brenvault Tests\\Shared"), 0, nullptr, 0,
                        KEY_WRITE, nullptr, &key, nullptr);
        int failures = 0;
        for (; first != behind; ++first) {
            const WCHAR name[] = {writer, first, 0};
            const auto* const data = reinterpret_cast<const BYTE*>(name);
            failures += RegSetValueExW(key, name, 0, REG_BINARY, data, sizeof(name)) == ERROR_SUCCESS ? 0 : 1;
        }
        RegCloseKey(key);
        return failures;
    }
    ~Writer() { Write('a' + 20, 'a' + 21); }

    WCHAR writer = 0;
};

constinit Writer theWriter;

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int)
{
    theWriter.writer = std::basic_string_view<WCHAR>(GetCommandLineW()).back();
    return theWriter.Write('a', 'a' + 20);
}
