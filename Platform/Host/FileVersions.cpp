#include "Platform/Host/Api/FileVersions.h"

#include "Platform/Host/FileObject.h"
#include "Platform/Host/FileOpening.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/VersionResource.h"

#include <string_view>
#include <sys/stat.h>

namespace Platform::Host {

namespace {

bool ReadAt(File& file, std::uint64_t place, void* bytes, std::size_t size)
{
    DWORD done = 0;
    return file.Seek(static_cast<std::int64_t>(place), FILE_BEGIN, LAST_POSITION) >= 0 &&
           file.Read(static_cast<char*>(bytes), static_cast<DWORD>(size), done) != FALSE && done == size;
}

// Runs `body` on the file's reader and where its version resource lies. A device has none: to read from it
// could wait.
template <typename Body>
BOOL WithVersion(LPCWSTR path, const Body& body)
{
    auto* const handle = OpenFile(path, {.access = GENERIC_READ,
                                         .shareMode = FILE_SHARE_READ | FILE_SHARE_WRITE,
                                         .disposition = OPEN_EXISTING,
                                         .flagsAndAttributes = 0});
    if (handle == INVALID_HANDLE_VALUE) {
        return FALSE;
    }
    const std::shared_ptr<File> file = FindObjectOf<File>(handle);
    ReleaseHandle(handle);
    const FileReader read = [&](std::uint64_t place, void* bytes, std::size_t size) {
        return ReadAt(*file, place, bytes, size);
    };
    struct stat status {};
    const bool isFile = file->GetStatus(status) != FALSE && S_ISREG(status.st_mode);
    const std::optional<VersionPlace> version = isFile ? FindVersionResource(read) : std::nullopt;
    const bool isDone = version.has_value() && body(read, *version);
    lastError = isDone ? ERROR_SUCCESS : ERROR_RESOURCE_DATA_NOT_FOUND;
    return isDone ? TRUE : FALSE;
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR path, LPDWORD handle)
{
    if (handle != nullptr) {
        *handle = 0;
    }
    return Guarded("GetFileVersionInfoSizeW", DWORD{0}, [&]() -> DWORD {
        if (path == nullptr || *path == 0) {
            Fail(path == nullptr ? ERROR_INVALID_PARAMETER : ERROR_BAD_PATHNAME);
            return 0;
        }
        DWORD size = 0;
        WithVersion(path, [&](const FileReader& /*read*/, const VersionPlace& version) {
            size = version.size;
            return true;
        });
        return size;
    });
}

BOOL WINAPI GetFileVersionInfoW(LPCWSTR path, DWORD /*handle*/, DWORD size, LPVOID block)
{
    return Guarded("GetFileVersionInfoW", FALSE, [&] {
        if (block == nullptr || size < SMALLEST_VERSION_BLOCK) {
            return Fail(block == nullptr ? ERROR_INVALID_DATA : ERROR_INSUFFICIENT_BUFFER);
        }
        return WithVersion(path, [&](const FileReader& read, const VersionPlace& version) {
            return ReadVersionBlock(read, version, static_cast<char*>(block), size);
        });
    });
}

BOOL WINAPI VerQueryValueW(LPCVOID block, LPCWSTR part, LPVOID* value, UINT* length)
{
    if (GateStops("VerQueryValueW") || block == nullptr) {
        return FALSE;
    }
    const auto* const bytes = static_cast<const char*>(block);
    const bool isRoot = part != nullptr && std::u16string_view(part) == u"\\";
    const std::optional<std::size_t> place = isRoot ? FindFixedVersion(bytes) : std::nullopt;
    if (length != nullptr) {
        *length = place.has_value() ? sizeof(VS_FIXEDFILEINFO) : 0;
    }
    if (!place.has_value()) {
        return Fail(ERROR_RESOURCE_TYPE_NOT_FOUND);
    }
    *value = const_cast<char*>(bytes + *place); // the platform's own type for it
    return TRUE;
}
