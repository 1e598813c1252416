/// \class Plinth::CRegistryKey
/// A key of the registry, as an object that closes it.
///
///     CRegistryKey key;
///     DWORD version = 0;
///     DWORD size = sizeof(version);
///     if (key.Open(HKEY_LOCAL_MACHINE, WIDE("Software\\Maker")) &&
///         key.Query(WIDE("Version"), REG_DWORD, &version, size)) {
///
/// Open or Create comes first, once; both say whether they succeeded. Nothing is thrown, no memory is taken.
#pragma once

#include "Platform/Win32.h"

namespace Plinth {

class CRegistryKey {
public:
    CRegistryKey() = default;
    ~CRegistryKey()
    {
        if (handle_ != nullptr) {
            RegCloseKey(handle_);
        }
    }
    CRegistryKey(const CRegistryKey&) = delete;
    CRegistryKey& operator=(const CRegistryKey&) = delete;

    /// To read.
    bool Open(HKEY root, LPCWSTR path)
    {
        return RegOpenKeyExW(root, path, 0, KEY_READ, &handle_) == ERROR_SUCCESS;
    }

    /// To read and write. Makes the keys that are missing.
    bool Create(HKEY root, LPCWSTR path)
    {
        return RegCreateKeyExW(root, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &handle_, nullptr) ==
               ERROR_SUCCESS;
    }

    /// The size is in bytes; a text has its terminator in it.
    bool Set(LPCWSTR name, DWORD type, const void* data, DWORD size)
    {
        return RegSetValueExW(handle_, name, 0, type, static_cast<const BYTE*>(data), size) == ERROR_SUCCESS;
    }

    /// Whether the value is there, of that type, and fits. The size is the room on entry and the bytes read
    /// afterwards. A text comes as it is stored, maybe without a terminator. After a failure data and size
    /// are undefined. Null data ask only for the first two.
    bool Query(LPCWSTR name, DWORD type, void* data, DWORD& size)
    {
        DWORD typeRead = type;
        return RegQueryValueExW(handle_, name, nullptr, &typeRead, static_cast<BYTE*>(data), &size) ==
                   ERROR_SUCCESS &&
               typeRead == type;
    }

private:
    HKEY handle_ = nullptr;
};

} // namespace Plinth
