#include "Plinth/FileSystem/IFileSystem.h"

#include <cstddef>

namespace Plinth {

static_assert(offsetof(CFileInfo, time) == 0 && offsetof(CFileInfo, size) == 8);
static_assert(offsetof(CFileInfo, exists) == 12 && offsetof(CFileInfo, isDirectory) == 13);
static_assert(sizeof(CFileInfo) == 16);

bool IFileSystem::IsDirectory(const CString& path, std::uint32_t mode)
{
    CFileInfo info;
    GetFileInfo(info, path, mode);
    return info.Exists() && info.IsDirectory();
}

} // namespace Plinth
