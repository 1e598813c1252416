#include "Platform/Host/Drives.h"

#include "Platform/Host/CurrentDirectory.h"
#include "Platform/Host/LastError.h"
#include "Platform/Host/Names.h"
#include "Platform/Host/Utf.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <map>
#include <memory>
#include <sys/stat.h>
#include <vector>

namespace Platform::Host {

namespace {

constexpr const char* DRIVES_VARIABLE = "PLATFORM_HOST_DRIVES";
constexpr char16_t HOST_ROOT_DRIVE = u'Z';
constexpr std::u16string_view EXTENDED_PREFIX = u"\\\\?\\";

using DriveTable = std::map<char16_t, std::string>; // upper-case letter to root, no trailing slash

bool IsLetter(char16_t unit)
{
    return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

char16_t UpperLetter(char16_t unit)
{
    return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - u'a' + u'A') : unit;
}

std::string WithoutTrailingSlash(std::string root)
{
    while (!root.empty() && root.back() == '/') {
        root.pop_back();
    }
    return root;
}

DriveTable ReadDrives()
{
    DriveTable drives;
    const char* variable = std::getenv(DRIVES_VARIABLE);
    std::string_view rest = variable != nullptr ? variable : "";
    while (!rest.empty()) {
        const std::string_view entry = rest.substr(0, rest.find(';'));
        if (entry.size() > 2 && IsLetter(static_cast<unsigned char>(entry[0])) && entry[1] == '=') {
            drives[UpperLetter(static_cast<unsigned char>(entry[0]))] =
                WithoutTrailingSlash(std::string(entry.substr(2)));
        }
        rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
    }
    drives[HOST_ROOT_DRIVE] = "";
    return drives;
}

DriveTable& Drives()
{
    static DriveTable drives = ReadDrives();
    return drives;
}

// Puts the table into the environment, for the processes started from here.
void PublishDrives()
{
    std::string variable;
    for (const auto& [letter, root] : Drives()) {
        variable += letter != HOST_ROOT_DRIVE ? static_cast<char>(letter) + ("=" + root) + ";" : "";
    }
    if (variable.empty()) {
        unsetenv(DRIVES_VARIABLE);
    } else {
        setenv(DRIVES_VARIABLE, variable.c_str(), 1);
    }
}

constexpr auto FORBIDDEN_IN_NAMES = [] {
    std::array<bool, 128> forbidden{};
    std::fill_n(forbidden.begin(), u' ', true);
    for (const char16_t unit : std::u16string_view(u"<>\"|?*")) {
        forbidden[unit] = true;
    }
    return forbidden;
}();

bool IsForbiddenInNames(char16_t unit)
{
    return FORBIDDEN_IN_NAMES[std::min<std::size_t>(unit, FORBIDDEN_IN_NAMES.size() - 1)];
}

std::vector<std::u16string_view> SplitParts(std::u16string_view path)
{
    std::vector<std::u16string_view> parts;
    while (!path.empty()) {
        const auto end = std::find_if(path.begin(), path.end(), IsSeparator);
        const auto length = static_cast<std::size_t>(end - path.begin());
        if (length != 0) {
            parts.push_back(path.substr(0, length));
        }
        path.remove_prefix(std::min(path.size(), length + 1));
    }
    return parts;
}

// Applies the parts of a path to a list that begins as the parts of the folder it is relative to.
void Follow(std::u16string_view path, std::vector<std::u16string_view>& parts)
{
    for (std::u16string_view part : SplitParts(path)) {
        if (part == u"..") {
            if (!parts.empty()) {
                parts.pop_back();
            }
        } else if (part != u".") {
            parts.push_back(part);
        }
    }
}

// The platform ignores one dot at the end of a folder's name, all dots and blanks at the end of the path.
void DropIgnoredEnds(std::vector<std::u16string_view>& parts)
{
    for (std::u16string_view& part : parts) {
        const bool hasName = part.find_first_not_of(u'.') != std::u16string_view::npos;
        if (hasName && part.ends_with(u'.')) {
            part.remove_suffix(1);
        }
    }
    while (!parts.empty()) {
        std::u16string_view& last = parts.back();
        last = last.substr(0, last.find_last_not_of(u". ") + 1);
        if (!last.empty()) {
            return;
        }
        parts.pop_back();
    }
}

std::u16string JoinParts(std::u16string_view drive, const std::vector<std::u16string_view>& parts)
{
    std::u16string full(drive);
    for (std::u16string_view part : parts) {
        full += u'\\';
        full += part;
    }
    if (parts.empty()) {
        full += u'\\';
    }
    return full;
}

// Whether a path is surely what it is completed to, as most are: it begins with a drive's root, and no part
// is empty or ends in a dot or blank.
bool IsComplete(std::u16string_view path)
{
    if (path.size() <= DRIVE_ROOT_LENGTH || !HasDrive(path) || path[0] > u'Z' || path[2] != u'\\') {
        return false;
    }
    bool isOdd = false;
    bool endsOddly = true; // what a separator would end
    for (const char16_t unit : path.substr(DRIVE_ROOT_LENGTH)) {
        const bool separates = unit == u'\\';
        isOdd |= IsForbiddenInNames(unit) | (unit == u'/') | (separates & endsOddly);
        endsOddly = separates | (unit == u'.') | (unit == u' ');
    }
    return !isOdd && path.back() != u'.' && path.back() != u' ';
}

// With the host's separators; false where there is more than ASCII.
bool AppendAscii(std::u16string_view path, std::string& native)
{
    unsigned all = 0;
    native.resize(native.size() + path.size());
    std::transform(path.begin(), path.end(), native.end() - static_cast<std::ptrdiff_t>(path.size()),
                   [&all](char16_t unit) {
                       all |= unit;
                       return unit == u'\\' ? '/' : static_cast<char>(unit);
                   });
    return all < 0x80;
}

// ERROR_SUCCESS for what is there, else why it cannot be had. A link that leads nowhere is not there,
// whatever on its way is missing.
DWORD Probe(const std::string& native)
{
    struct stat status {};
    if (stat(native.c_str(), &status) == 0) {
        return ERROR_SUCCESS;
    }
    const DWORD error = ErrorFromErrno(errno);
    return error == ERROR_PATH_NOT_FOUND && IsLinkToNowhere(native) ? ERROR_FILE_NOT_FOUND : error;
}

bool IsFolder(const std::string& native)
{
    struct stat status {};
    return stat(native.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Null behind the last entry; `error` tells whether it was the last.
const dirent* NextEntry(DIR* listing, DWORD& error)
{
    errno = 0;
    const dirent* const entry = readdir(listing);
    error = entry != nullptr || errno == 0 ? ERROR_SUCCESS : ErrorFromErrno(errno);
    return entry;
}

// Finds the folder's entry that differs from this name in letter case at most. Where it leads nowhere, the
// path names it all the same.
DWORD FindEntry(const std::string& folder, std::u16string_view name, std::string& native)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(folder.c_str()), &closedir);
    if (listing == nullptr) {
        // Who may enter a folder but not list it can still tell that the exact name is missing.
        return errno == EACCES ? ERROR_FILE_NOT_FOUND : ErrorFromErrno(errno);
    }
    DWORD error = ERROR_SUCCESS;
    while (const dirent* entry = NextEntry(listing.get(), error)) {
        if (CompareNames(FromHost(entry->d_name), name) == 0 && IsReachable(entry->d_name)) {
            native = folder + entry->d_name;
            if (const DWORD found = Probe(native); found != ERROR_FILE_NOT_FOUND) {
                return found;
            }
        }
    }
    return error != ERROR_SUCCESS ? error : ERROR_FILE_NOT_FOUND;
}

// Goes one part down. Where there is no such entry, the path then names where it would be.
DWORD Descend(std::string& native, std::u16string_view part)
{
    const std::string folder = native + '/';
    native = folder + ToHost(part);
    const DWORD error = Probe(native);
    return error == ERROR_FILE_NOT_FOUND ? FindEntry(folder, part, native) : error;
}

DWORD FindInAnyCase(const std::string& root, const std::vector<std::u16string_view>& parts,
                    std::string& native)
{
    native = root;
    if (!IsFolder(root + '/')) {
        return ERROR_PATH_NOT_FOUND;
    }
    for (std::size_t i = 0; i < parts.size(); ++i) {
        DWORD error = Descend(native, parts[i]);
        if (error == ERROR_FILE_NOT_FOUND && i + 1 < parts.size()) {
            error = ERROR_PATH_NOT_FOUND;
        }
        if (error != ERROR_SUCCESS) {
            return error;
        }
    }
    return ERROR_SUCCESS;
}

} // namespace

void SetDrive(char letter, std::string root)
{
    const char16_t upper = UpperLetter(static_cast<unsigned char>(letter));
    if (upper != HOST_ROOT_DRIVE) {
        Drives()[upper] = WithoutTrailingSlash(std::move(root));
        PublishDrives();
    }
}

void RemoveDrive(char letter)
{
    const char16_t upper = UpperLetter(static_cast<unsigned char>(letter));
    if (upper != HOST_ROOT_DRIVE) {
        Drives().erase(upper);
        PublishDrives();
    }
}

DWORD CompletePath(std::u16string_view path, std::u16string& storage, std::u16string_view& full)
{
    if (IsComplete(path)) {
        full = path;
        return ERROR_SUCCESS;
    }
    const DWORD error = CompletePath(path, storage);
    full = storage;
    return error;
}

DWORD CompletePath(std::u16string_view path, std::u16string& full)
{
    if (path.starts_with(EXTENDED_PREFIX)) {
        path.remove_prefix(EXTENDED_PREFIX.size());
    }
    if (path.empty() || std::any_of(path.begin(), path.end(), IsForbiddenInNames)) {
        return ERROR_INVALID_NAME;
    }
    if (path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1])) {
        return ERROR_PATH_NOT_FOUND; // another machine's share
    }
    const std::u16string current = CurrentDirectory();
    std::u16string_view drive = std::u16string_view(current).substr(0, 2);
    bool relative = true;
    if (HasDrive(path)) {
        relative = UpperLetter(path[0]) == UpperLetter(drive[0]);
        drive = relative ? drive : path.substr(0, 2);
        path.remove_prefix(2);
    }
    if (!path.empty() && IsSeparator(path[0])) {
        relative = false;
    }
    std::vector<std::u16string_view> parts;
    if (relative) {
        Follow(std::u16string_view(current).substr(2), parts);
    }
    Follow(path, parts);
    DropIgnoredEnds(parts);
    const bool namesFolder = !path.empty() && IsSeparator(path.back()) && !parts.empty();
    full = JoinParts(drive, parts) + (namesFolder ? u"\\" : u"");
    return ERROR_SUCCESS;
}

DWORD ToNativePath(std::u16string_view full, std::string& native)
{
    const auto drive = Drives().find(UpperLetter(full[0]));
    if (drive == Drives().end()) {
        return ERROR_PATH_NOT_FOUND;
    }
    const std::string& root = drive->second;
    full.remove_prefix(2);
    native.reserve(root.size() + full.size());
    native = root;
    if (!AppendAscii(full, native)) {
        native = root + ToHost(full);
        std::replace(native.begin(), native.end(), '\\', '/');
    }
    return ERROR_SUCCESS;
}

DWORD FindNative(std::u16string_view full, std::string& native)
{
    DWORD error = ToNativePath(full, native);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    error = Probe(native);
    if (error != ERROR_SUCCESS) {
        error = FindInAnyCase(Drives()[UpperLetter(full[0])], SplitParts(full.substr(2)), native);
    }
    const bool namesFolder = full.size() > DRIVE_ROOT_LENGTH && full.ends_with(u'\\');
    return error == ERROR_SUCCESS && namesFolder && !IsFolder(native) ? ERROR_INVALID_NAME : error;
}

DWORD ResolvePath(std::u16string_view path, std::string& native)
{
    std::u16string full;
    const DWORD error = CompletePath(path, full);
    return error != ERROR_SUCCESS ? error : FindNative(full, native);
}

bool HasDrive(std::u16string_view path)
{
    return path.size() >= 2 && IsLetter(path[0]) && path[1] == u':';
}

bool IsLinkToNowhere(const std::string& native)
{
    struct stat status {};
    return lstat(native.c_str(), &status) == 0 && S_ISLNK(status.st_mode) &&
           stat(native.c_str(), &status) != 0;
}

bool IsReachable(std::string_view name)
{
    const auto isRefused = [](char byte) {
        return IsForbiddenInNames(static_cast<unsigned char>(byte)) || byte == '\\';
    };
    if (name.ends_with('.') || name.ends_with(' ') || std::any_of(name.begin(), name.end(), isRefused)) {
        return false;
    }
    return IsAscii(name) || ToHost(FromHost(name)) == name;
}

std::size_t ToDrivePath(std::string_view native, char16_t* units, std::size_t room)
{
    units[0] = HOST_ROOT_DRIVE;
    std::size_t rootLength = 0;
    for (const auto& [drive, root] : Drives()) {
        const bool holds =
            native.starts_with(root) && (native.size() == root.size() || native[root.size()] == '/');
        if (holds && root.size() > rootLength) {
            units[0] = drive;
            rootLength = root.size();
        }
    }
    units[1] = u':';
    native = rootLength < native.size() ? native.substr(rootLength) : "/";
    const std::size_t length = 2 + FromHost(native, units + 2, room - 2);
    std::replace(units + 2, units + length, u'/', u'\\');
    return length;
}

// A character has no more units than bytes.
std::u16string ToDrivePath(std::string_view native)
{
    std::u16string path(native.size() + DRIVE_ROOT_LENGTH, u'\0');
    path.resize(ToDrivePath(native, path.data(), path.size()));
    return path;
}

} // namespace Platform::Host
