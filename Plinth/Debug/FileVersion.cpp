#include "Plinth/Debug/FileVersion.h"

#include "Plinth/Debug/ModulePath.h"
#include "Plinth/Streams/Exceptions.h"
#include "Plinth/Text/CWideString.h"

#include <cstdlib>
#include <memory>

namespace Plinth {

namespace {

struct Free {
    void operator()(void* block) const { std::free(block); }
};

FileVersion ToFileVersion(const VS_FIXEDFILEINFO& information)
{
    return {information.dwFileVersionMS >> 16, information.dwFileVersionMS & 0xFFFF,
            information.dwFileVersionLS >> 16, information.dwFileVersionLS & 0xFFFF};
}

// Null where there is none that is whole.
const VS_FIXEDFILEINFO* FindFixedInformation(LPCVOID resource)
{
    LPVOID value = nullptr;
    UINT length = 0;
    const bool isThere =
        VerQueryValueW(resource, WIDE("\\"), &value, &length) != FALSE && length >= sizeof(VS_FIXEDFILEINFO);
    const auto* const information = isThere ? static_cast<const VS_FIXEDFILEINFO*>(value) : nullptr;
    return isThere && information->dwSignature == VS_FFI_SIGNATURE ? information : nullptr;
}

} // namespace

FileVersion GetFileVersion(LPCWSTR path)
{
    DWORD handle = 0;
    const DWORD size = GetFileVersionInfoSizeW(path, &handle);
    if (size == 0) {
        return {};
    }
    const std::unique_ptr<void, Free> resource(AllocateMemoryOrThrow(size));
    if (GetFileVersionInfoW(path, handle, size, resource.get()) == FALSE) {
        return {};
    }
    const VS_FIXEDFILEINFO* const information = FindFixedInformation(resource.get());
    return information != nullptr ? ToFileVersion(*information) : FileVersion{};
}

FileVersion GetFileVersion(const CString& path)
{
    return GetFileVersion(CWideString(path).c_str());
}

FileVersion GetModuleFileVersion(HMODULE module)
{
    const CModulePath path(module);
    return GetFileVersion(path.text);
}

} // namespace Plinth
