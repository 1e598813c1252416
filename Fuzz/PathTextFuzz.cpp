// Any bytes as a root, a line, and a path below it: the texts that the file system makes of them, the parts
// of the path, and what an index knows of it are those of a plain second reader.
#include "Fuzz/Require.h"
#include "Plinth/FileSystem/CWindowsFileSystem.h"
#include "Plinth/FileSystem/PathNames.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>

namespace {

using Plinth::CString;
using Plinth::CWindowsFileSystem;

constexpr const char* FOLDER = "PathTextFuzz.tmp";

// Knows a few files that are no longer there.
CWindowsFileSystem& KnowingFileSystem()
{
    static CWindowsFileSystem files;
    static const bool isMade = [] {
        files.MakeDirectory(FOLDER, false);
        CWindowsFileSystem below(FOLDER, false);
        below.MakeDirectory("A/b.c", true);
        delete below.OpenStream("A/x", Plinth::MODE_CREATE_ALWAYS | Plinth::MODE_WRITE);
        files.SetRoot(FOLDER, true);
        Require(below.EraseFile("A/x") && below.EraseDirectory("A/b.c") && below.EraseDirectory("A"));
        return CWindowsFileSystem().EraseDirectory(FOLDER);
    }();
    Require(isMade);
    return files;
}

std::string Backslashed(std::string text)
{
    std::replace(text.begin(), text.end(), '/', '\\');
    return text;
}

std::string WithoutLastSeparator(std::string text)
{
    if (text.ends_with('\\') || text.ends_with('/')) {
        text.pop_back();
    }
    return text;
}

std::string Lowered(std::string text)
{
    for (char& byte : text) {
        byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte;
    }
    return text;
}

void CheckFullPath(const std::string& root, const std::string& path)
{
    const std::string plainRoot = WithoutLastSeparator(Backslashed(root));
    const bool isJoined = plainRoot.empty() || std::string("\\:").find(plainRoot.back()) != std::string::npos;
    CWindowsFileSystem files(root.c_str(), false);
    CString result;
    Require(files.GetFullPath(result, path.c_str()).CStr() ==
            WithoutLastSeparator(Backslashed(plainRoot + (isJoined ? "" : "\\") + path)));
    for (const std::string& text : {path, std::string(result.CStr()), Lowered(plainRoot) + path}) {
        const bool isBelow = Lowered(text).starts_with(Lowered(plainRoot));
        result = text.c_str();
        Require(files.MakeRelative(result) == isBelow);
        Require(result.CStr() == text.substr(isBelow ? plainRoot.size() : 0));
    }
}

void CheckParts(const std::string& path)
{
    const std::size_t name = path.find_last_of("\\/:") + 1; // 0 when there is none
    const std::size_t dot = std::min(path.size(), path.rfind('.') + 1 > name ? path.rfind('.') : path.size());
    std::string buffer(path.size() + 1, '#');
    const auto size = static_cast<std::uint32_t>(buffer.size());
    CString part;
    Require(Plinth::GetPathDirectory(buffer.data(), size, path.c_str()) == path.substr(0, name));
    Require(Plinth::GetPathDirectory(part, path.c_str()).CStr() == path.substr(0, name));
    Require(Plinth::GetPathFileName(buffer.data(), size, path.c_str()) == path.substr(name));
    Require(Plinth::GetPathExtension(buffer.data(), size, path.c_str()) == path.substr(dot));
    Require(Plinth::GetPathTitle(buffer.data(), size, path.c_str()) == path.substr(name, dot - name));
    Require(Plinth::GetPathTitle(part, path.c_str()).CStr() == path.substr(name, dot - name));
}

void CheckIndex(const std::string& path)
{
    std::string key = Backslashed(Lowered(path.substr(std::min(path.size(), path.find_first_not_of('\\')))));
    key.erase(key.find_last_not_of('\\') + 1);
    const std::set<std::string> folders = {".", "a", "a\\.", "a\\b.c", "a\\b.c\\."};
    Plinth::CFileInfo info;
    KnowingFileSystem().GetFileInfo(info, path.c_str(), 0);
    Require(info.exists == (folders.contains(key) || key == "a\\x"));
    Require(info.isDirectory == folders.contains(key));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input = std::string(data, data + size).c_str(); // paths end at a zero
    const std::size_t line = std::min(input.size(), input.find('\n'));
    const std::string path = input.substr(std::min(input.size(), line + 1));
    CheckFullPath(input.substr(0, line), path);
    CheckParts(path);
    CheckIndex(path);
    return 0;
}
