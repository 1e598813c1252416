#include "Platform/Host/CurrentDirectory.h"

#include "Platform/Host/Api/Paths.h"
#include "Platform/Host/Drives.h"
#include "Platform/Host/Gate.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string_view>
#include <unistd.h>

namespace Platform::Host {

namespace {

// A trailing backslash and the terminator have to fit as well.
constexpr std::size_t LONGEST_CURRENT_DIRECTORY = MAX_PATH - 2;

struct CurrentDirectoryState {
    std::mutex mutex;
    std::u16string path;
};

std::u16string FindAtStart()
{
    const std::unique_ptr<char, decltype(&std::free)> folder(getcwd(nullptr, 0), &std::free);
    return ToDrivePath(folder != nullptr ? folder.get() : "/");
}

CurrentDirectoryState& State()
{
    static CurrentDirectoryState state{{}, FindAtStart()};
    return state;
}

// Only a drive's root keeps the separator at its end.
std::u16string_view WithoutLastSeparator(std::u16string_view full)
{
    return full.ends_with(u'\\') && full.size() > DRIVE_ROOT_LENGTH ? full.substr(0, full.size() - 1) : full;
}

BOOL ChangeTo(const std::u16string& full)
{
    std::string native;
    if (const DWORD error = FindNative(full, native); error != ERROR_SUCCESS) {
        return Fail(error);
    }
    const std::lock_guard lock(State().mutex);
    if (chdir(native.c_str()) != 0) {
        return Fail(errno == ENOTDIR ? ERROR_DIRECTORY : ErrorFromErrno(errno));
    }
    State().path = std::u16string(WithoutLastSeparator(full));
    return TRUE;
}

} // namespace

std::u16string CurrentDirectory()
{
    const std::lock_guard lock(State().mutex);
    return State().path;
}

} // namespace Platform::Host

using namespace Platform::Host;

DWORD WINAPI GetCurrentDirectoryW(DWORD bufferLength, LPWSTR buffer)
{
    return Guarded("GetCurrentDirectoryW", DWORD{0}, [&]() -> DWORD {
        const std::u16string current = CurrentDirectory();
        const auto length = static_cast<DWORD>(current.size());
        if (length >= bufferLength) {
            return length + 1;
        }
        std::memcpy(buffer, current.c_str(), (length + 1) * sizeof(WCHAR));
        return length;
    });
}

BOOL WINAPI SetCurrentDirectoryW(LPCWSTR pathName)
{
    return Guarded("SetCurrentDirectoryW", FALSE, [&]() -> BOOL {
        std::u16string full;
        const DWORD error = CompletePath(pathName != nullptr ? pathName : u"", full);
        if (error != ERROR_SUCCESS) {
            return Fail(error);
        }
        const bool fits = WithoutLastSeparator(full).size() <= LONGEST_CURRENT_DIRECTORY;
        return fits ? ChangeTo(full) : Fail(ERROR_FILENAME_EXCED_RANGE);
    });
}
