// The shell's path functions: pure text, no file is looked at. "/" is an ordinary character to them.
#include "Platform/Host/Api/Paths.h"
#include "Platform/Host/Gate.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace Platform::Host {

namespace {

bool IsShare(std::u16string_view path)
{
    return path.starts_with(u"\\\\");
}

bool HasDriveColon(std::u16string_view path)
{
    return path.size() >= 2 && path[1] == u':';
}

// The part of a path that ".." does not remove: "X:\", "X:", "\\" or "\".
std::size_t RootLength(std::u16string_view path)
{
    if (IsShare(path)) {
        return 2;
    }
    const std::size_t drive = HasDriveColon(path) ? 2 : 0;
    return path.size() > drive && path[drive] == u'\\' ? drive + 1 : drive;
}

// Resolves the parts "." and "..". Repeated separators stay; what would be empty is the root "\\".
std::u16string Canonical(std::u16string_view path)
{
    const std::size_t root = RootLength(path);
    std::vector<std::u16string_view> parts;
    for (std::size_t start = root; start <= path.size();) {
        const std::size_t end = std::min(path.find(u'\\', start), path.size());
        const std::u16string_view part = path.substr(start, end - start);
        if (part == u"..") {
            parts.resize(parts.empty() ? 0 : parts.size() - 1);
        } else if (part != u".") {
            parts.push_back(part);
        }
        start = end + 1;
    }
    std::u16string result(path.substr(0, root));
    for (std::size_t i = 0; i < parts.size(); ++i) {
        result += i != 0 ? u"\\" : u"";
        result += parts[i];
    }
    if (result.empty() || (result.size() == 2 && HasDriveColon(result))) {
        result += u'\\';
    }
    return result;
}

std::u16string Combine(std::u16string_view folder, std::u16string_view more)
{
    if (IsShare(more) || HasDriveColon(more)) {
        return std::u16string(more);
    }
    std::u16string path(folder);
    if (!path.empty() && !more.empty() && !path.ends_with(u'\\')) {
        path += u'\\';
    }
    return path += more;
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

BOOL WINAPI PathRemoveFileSpecW(LPWSTR path)
{
    if (GateStops("PathRemoveFileSpecW") || path == nullptr) {
        return FALSE;
    }
    LPWSTR fileSpec = path;
    while (*fileSpec == u'\\' && fileSpec < path + 2) {
        ++fileSpec;
    }
    for (LPWSTR next = fileSpec; *next != 0; ++next) {
        if (*next == u'\\') {
            fileSpec = next;
        } else if (*next == u':') {
            fileSpec = next + (next[1] == u'\\' ? 2 : 1);
            next += next[1] != 0 ? 1 : 0; // the character behind a drive's colon ends no part
        }
    }
    if (*fileSpec == 0) {
        return FALSE;
    }
    *fileSpec = 0;
    return TRUE;
}

// A result that does not fit into MAX_PATH, the terminator included, leaves the empty path.
BOOL WINAPI PathAppendW(LPWSTR path, LPCWSTR more)
{
    return Guarded("PathAppendW", FALSE, [&]() -> BOOL {
        if (path == nullptr || more == nullptr) {
            return FALSE;
        }
        std::u16string_view tail(more);
        if (!IsShare(tail)) {
            tail.remove_prefix(std::min(tail.find_first_not_of(u'\\'), tail.size()));
        }
        const std::u16string combined = Combine(path, tail);
        if (combined.size() >= MAX_PATH) {
            *path = 0;
            return FALSE;
        }
        const std::u16string result = Canonical(combined);
        std::memcpy(path, result.c_str(), (result.size() + 1) * sizeof(WCHAR));
        return TRUE;
    });
}
