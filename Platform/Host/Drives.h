// Drive letters and file names: the way from the platform's paths to the host's and back.
//
// Z: is the host's root folder. Further drives come from the environment variable PLATFORM_HOST_DRIVES
// ("X=/some/folder;Y=/another"), which the processes of a test hand on to each other, and from SetDrive.
#pragma once

#include "Platform/Host/Api/Types.h"

#include <string>
#include <string_view>

namespace Platform::Host {

// The length of a drive's root, "X:\\"; the one completed path that always ends in a separator.
constexpr std::size_t DRIVE_ROOT_LENGTH = 3;

// Adds, replaces or removes a drive of this process and of those it starts; Z: stays as it is. The root is an
// absolute host path. Not while another thread uses the layer.
void SetDrive(char letter, std::string root);
void RemoveDrive(char letter);

// The path as the platform completes it: drive, absolute, "\" as separator, without "." and "..", repeated
// separators, and the trailing dots and blanks that the platform ignores. A separator at its end stays. Gives
// the platform's error code; `full` is changed only on ERROR_SUCCESS.
DWORD CompletePath(std::u16string_view path, std::u16string& full);

// The same without a copy where the path is complete: `full` is then the path itself, else lies in `storage`.
DWORD CompletePath(std::u16string_view path, std::u16string& storage, std::u16string_view& full);

// The host path of a completed path, each part found whatever its letter case. ERROR_FILE_NOT_FOUND when only
// the last part is missing or a link that leads nowhere, in which case `native` is where it would be;
// ERROR_PATH_NOT_FOUND when an earlier one is missing or no folder, or the drive is unknown;
// ERROR_INVALID_NAME when a path that ends in a separator leads to a file; else the host's own reason: no
// access, too many open files, no memory.
DWORD FindNative(std::u16string_view full, std::string& native);

// The host path that a completed path has if all its parts are there in just this letter case: one without a
// look at the host. ERROR_PATH_NOT_FOUND when the drive is unknown.
DWORD ToNativePath(std::u16string_view full, std::string& native);

// CompletePath and FindNative in one step.
DWORD ResolvePath(std::u16string_view path, std::string& native);

// Whether some path leads to the host's entry of this name: one with characters that the platform forbids or
// takes for itself, at its end a dot or blank, or bytes that are no text, has none.
bool IsReachable(std::string_view name);

// Whether a symbolic link lies there that leads to nothing: no path finds it, nothing can be made in its
// place.
bool IsLinkToNowhere(const std::string& native);

inline bool IsSeparator(char16_t unit)
{
    return unit == u'\\' || unit == u'/';
}

// Whether a path begins with a drive's letter and colon.
bool HasDrive(std::u16string_view path);

// The platform's path of an absolute host path, on the drive whose root lies nearest.
std::u16string ToDrivePath(std::string_view native);

// The same without heap memory, for at least a drive's root: gives the units written, as many as there is
// room for.
std::size_t ToDrivePath(std::string_view native, char16_t* units, std::size_t room);

} // namespace Platform::Host
