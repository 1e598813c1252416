#include "Platform/Host/Api/Modules.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Drives.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Utf.h"

#include <algorithm>
#include <climits>
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

// Empty: not known, the last error says why.
std::u16string PathOf(HMODULE module)
{
    std::u16string path = module == nullptr ? ProgramPath() : std::u16string();
    if (path.empty()) {
        lastError = module == nullptr ? ERROR_GEN_FAILURE : ERROR_MOD_NOT_FOUND;
    }
    return path;
}

// What GetModuleFileNameW gives for a path that is not empty.
template <typename Character>
DWORD CopyPath(const std::basic_string<Character>& path, Character* fileName, DWORD size)
{
    const bool fits = path.size() < size;
    if (size != 0) {
        const std::size_t copied = std::min<std::size_t>(path.size(), size - 1);
        std::copy_n(path.data(), copied, fileName);
        fileName[copied] = 0;
    }
    lastError = fits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER;
    return fits ? static_cast<DWORD>(path.size()) : size;
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
        const std::u16string path = PathOf(module);
        return path.empty() ? 0 : CopyPath(path, fileName, size);
    });
}

DWORD WINAPI GetModuleFileNameA(HMODULE module, LPSTR fileName, DWORD size)
{
    return Guarded("GetModuleFileNameA", DWORD{0}, [&]() -> DWORD {
        const std::string path = ToHost(PathOf(module));
        return path.empty() ? 0 : CopyPath(path, fileName, size);
    });
}
