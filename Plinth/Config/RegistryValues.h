/// \file
/// Single values of the registry, each read or written in one call that opens its key and closes it again.
///
///     SetRegStringFallback(RegistryRoot::LocalMachine, "Software\\Maker", "Game", "Version", "1.2");
///
/// A value is named by a root, a key, an optional subkey below it (null or empty: none) and its name. Texts
/// are UTF-8. Writing makes the keys that are missing. Every function says whether it succeeded, and nothing
/// else; a root without key, and a null or empty key or value name, are failures that touch neither the
/// registry nor the value (only SetRegDword, and so GetOrCreateRegDword, writes under the empty name).
/// Nothing is ever thrown: lack of memory is a failure too, and no text is read or written in part. Safe for
/// use by any thread.
#pragma once

#include "Platform/Win32.h"
#include "Plinth/Text/CString.h"

#include <cstdint>

namespace Plinth {

/// Where a key is looked for.
enum class RegistryRoot : std::uint32_t {
    LocalMachine = 0,
    CurrentUser = 1,
    CurrentUserThenLocalMachine = 2, ///< the second where the first fails, in the functions with fallback
};

/// Null for other roots than those. The functions with fallback take 3 for the current user all the same.
[[nodiscard]] HKEY RootKeyOf(RegistryRoot root);

/// The key, a backslash where one is missing between them, and the subkey. Null texts are empty ones.
[[nodiscard]] CString RegistryKeyPath(const char* key, const char* subKey);

// --- Write

///@{
/// REG_SZ with its terminator.
bool SetRegString(HKEY root, const char* key, const char* subKey, const char* name, const CString& value);
bool SetRegStringFallback(RegistryRoot root, const char* key, const char* subKey, const char* name,
                          const CString& value);
///@}

/// REG_DWORD. The empty name is the key's default value.
bool SetRegDword(RegistryRoot root, const char* key, const char* subKey, const char* name,
                 std::uint32_t value);

/// REG_BINARY.
bool SetRegBinary(RegistryRoot root, const char* key, const char* subKey, const char* name, const void* data,
                  std::uint32_t size);

// --- Read. A value of another type is a failure.

///@{
/// REG_SZ of at most 2046 bytes, up to its first zero. What cannot be read is the empty text. The other
/// arguments may not point into the value's text.
bool GetRegString(HKEY root, const char* key, const char* subKey, const char* name, CString& value);
bool GetRegStringFallback(RegistryRoot root, const char* key, const char* subKey, const char* name,
                          CString& value);
///@}

///@{
/// REG_DWORD. A failure leaves the value as it is.
bool GetRegDword(HKEY root, const char* key, const char* subKey, const char* name, std::uint32_t& value);
bool GetRegDwordFallback(RegistryRoot root, const char* key, const char* subKey, const char* name,
                         std::uint32_t& value);
///@}

/// REG_BINARY of at most `size` bytes. How many there were is not told; after a failure the buffer is
/// undefined. A null buffer asks only whether there is such a value.
bool GetRegBinary(RegistryRoot root, const char* key, const char* subKey, const char* name, void* buffer,
                  std::uint32_t size);

/// Reads as GetRegDwordFallback; what it cannot read it writes, by SetRegDword.
bool GetOrCreateRegDword(RegistryRoot root, const char* key, const char* subKey, const char* name,
                         std::uint32_t& value);

} // namespace Plinth
