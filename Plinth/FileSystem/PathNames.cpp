#include "Plinth/FileSystem/PathNames.h"

namespace Plinth {

namespace {

struct PathParts {
    explicit PathParts(const char* path) : directory(path != nullptr ? path : "")
    {
        SplitPath(directory, &fileName, &extension);
    }

    [[nodiscard]] std::uint32_t DirectoryLength() const
    {
        return static_cast<std::uint32_t>(fileName - directory);
    }
    [[nodiscard]] std::uint32_t TitleLength() const
    {
        return static_cast<std::uint32_t>(extension - fileName);
    }

    const char* directory;
    const char* fileName;
    const char* extension;
};

} // namespace

char* GetPathDirectory(char* buffer, std::uint32_t size, const char* path)
{
    const PathParts parts(path);
    CopyText(buffer, size, parts.directory, parts.DirectoryLength());
    return buffer;
}

CString& GetPathDirectory(CString& directory, const CString& path)
{
    const PathParts parts(path.CStr());
    directory.Assign(parts.directory, parts.DirectoryLength());
    return directory;
}

char* GetPathFileName(char* buffer, std::uint32_t size, const char* path)
{
    CopyText(buffer, size, PathParts(path).fileName);
    return buffer;
}

char* GetPathExtension(char* buffer, std::uint32_t size, const char* path)
{
    CopyText(buffer, size, PathParts(path).extension);
    return buffer;
}

char* GetPathTitle(char* buffer, std::uint32_t size, const char* path)
{
    const PathParts parts(path);
    CopyText(buffer, size, parts.fileName, parts.TitleLength());
    return buffer;
}

CString& GetPathTitle(CString& title, const CString& path)
{
    const PathParts parts(path.CStr());
    title.Assign(parts.fileName, parts.TitleLength());
    return title;
}

} // namespace Plinth
