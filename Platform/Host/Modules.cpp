#include "Platform/Host/Api/Modules.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Drives.h"
#include "Platform/Host/Gate.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <unistd.h>

namespace Platform::Host {

namespace {

std::optional<std::u16string>& ModulePathOverride()
{
    static std::optional<std::u16string> path;
    return path;
}

std::u16string ProgramPath()
{
    if (ModulePathOverride().has_value()) {
        return *ModulePathOverride();
    }
    char program[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof(program));
    return length > 0 ? ToDrivePath({program, static_cast<std::size_t>(length)}) : std::u16string();
}

} // namespace

void SetModulePath(std::optional<std::u16string> path)
{
    ModulePathOverride() = std::move(path);
}

} // namespace Platform::Host

using namespace Platform::Host;

DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size)
{
    return Guarded("GetModuleFileNameW", DWORD{0}, [&]() -> DWORD {
        if (module != nullptr) {
            lastError = ERROR_MOD_NOT_FOUND;
            return 0;
        }
        const std::u16string path = ProgramPath();
        if (path.empty()) {
            lastError = ERROR_GEN_FAILURE;
            return 0;
        }
        const bool fits = path.size() < size;
        if (size != 0) {
            const std::size_t copied = std::min<std::size_t>(path.size(), size - 1);
            std::memcpy(fileName, path.data(), copied * sizeof(WCHAR));
            fileName[copied] = 0;
        }
        lastError = fits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER;
        return fits ? static_cast<DWORD>(path.size()) : size;
    });
}
