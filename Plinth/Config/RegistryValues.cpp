#include "Plinth/Config/RegistryValues.h"

#include "Plinth/Config/CRegistryKey.h"
#include "Plinth/Text/CWideString.h"

#include <cstring>
#include <new>

namespace Plinth {

namespace {

constexpr std::uint32_t PATH_ROOM = 512;
constexpr std::size_t STRING_ROOM = 1024; // with the terminator that is put behind what was read

// Not one of the named roots: it has no key, but falls back like them.
constexpr auto FALLBACK_ONLY_ROOT = static_cast<RegistryRoot>(3);

std::uint32_t Length(const char* text)
{
    return text != nullptr ? static_cast<std::uint32_t>(std::strlen(text)) : 0;
}

bool HasText(const char* text)
{
    return text != nullptr && *text != 0;
}

bool NamesValue(HKEY root, const char* key, const char* name)
{
    return root != nullptr && HasText(key) && HasText(name);
}

// False where there is a text and not all of it could be had.
bool Widen(const char* text, CWideString& wide)
{
    wide = text;
    return HasText(text) == !wide.empty();
}

bool Widen(const CString& text, CWideString& wide)
{
    wide = text;
    return text.IsEmpty() == wide.empty();
}

bool WidenPath(const char* key, const char* subKey, CWideString& wide)
{
    const CString path = RegistryKeyPath(key, subKey);
    return !path.IsEmpty() && Widen(path, wide);
}

// Hands path and name to the action where all of both could be had.
template <typename Action>
bool WithNames(const char* key, const char* subKey, const char* name, const Action& action)
{
    try {
        CWideString path;
        CWideString wideName;
        return WidenPath(key, subKey, path) && Widen(name, wideName) && action(path, wideName);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool WriteValue(HKEY root, const CWideString& path, const CWideString& name, DWORD type, const void* data,
                DWORD size)
{
    CRegistryKey key;
    return key.Create(root, path.c_str()) && key.Set(name.c_str(), type, data, size);
}

bool ReadValue(HKEY root, const CWideString& path, const CWideString& name, DWORD type, void* data,
               DWORD& size)
{
    CRegistryKey key;
    return key.Open(root, path.c_str()) && key.Query(name.c_str(), type, data, size);
}

// Null: there is no second attempt.
HKEY FallbackKeyOf(RegistryRoot root)
{
    if (root == RegistryRoot::CurrentUserThenLocalMachine) {
        return HKEY_LOCAL_MACHINE;
    }
    return root == FALLBACK_ONLY_ROOT ? HKEY_CURRENT_USER : nullptr;
}

template <typename Operation>
bool WithFallback(RegistryRoot root, const Operation& operation)
{
    if (operation(RootKeyOf(root))) {
        return true;
    }
    auto* const fallback = FallbackKeyOf(root);
    return fallback != nullptr && operation(fallback);
}

} // namespace

HKEY RootKeyOf(RegistryRoot root)
{
    switch (root) {
    case RegistryRoot::LocalMachine:
        return HKEY_LOCAL_MACHINE;
    case RegistryRoot::CurrentUser:
    case RegistryRoot::CurrentUserThenLocalMachine:
        return HKEY_CURRENT_USER;
    default:
        return nullptr;
    }
}

CString RegistryKeyPath(const char* key, const char* subKey)
{
    const std::uint32_t keyLength = Length(key);
    const std::uint32_t subKeyLength = Length(subKey);
    const bool separated = keyLength == 0 || subKeyLength == 0 || key[keyLength - 1] == '\\';
    CString path(PATH_ROOM);
    path.Append(key, keyLength);
    path.Append("\\", separated ? 0 : 1);
    path.Append(subKey, subKeyLength);
    const std::uint64_t length = std::uint64_t{keyLength} + (separated ? 0 : 1) + subKeyLength;
    if (path.GetLength() != length) {
        path.Clear();
    }
    return path;
}

bool SetRegString(HKEY root, const char* key, const char* subKey, const char* name, const CString& value)
{
    if (!NamesValue(root, key, name)) {
        return false;
    }
    return WithNames(key, subKey, name, [&](const CWideString& path, const CWideString& wideName) {
        CWideString text;
        if (!Widen(value, text)) {
            return false;
        }
        const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR));
        return WriteValue(root, path, wideName, REG_SZ, text.c_str(), size);
    });
}

bool SetRegStringFallback(RegistryRoot root, const char* key, const char* subKey, const char* name,
                          const CString& value)
{
    return WithFallback(root, [&](HKEY attempt) { return SetRegString(attempt, key, subKey, name, value); });
}

bool SetRegDword(RegistryRoot root, const char* key, const char* subKey, const char* name,
                 std::uint32_t value)
{
    auto* const rootKey = RootKeyOf(root);
    if (rootKey == nullptr || !HasText(key) || name == nullptr) {
        return false;
    }
    return WithNames(key, subKey, name, [&](const CWideString& path, const CWideString& wideName) {
        return WriteValue(rootKey, path, wideName, REG_DWORD, &value, sizeof(value));
    });
}

bool SetRegBinary(RegistryRoot root, const char* key, const char* subKey, const char* name, const void* data,
                  std::uint32_t size)
{
    auto* const rootKey = RootKeyOf(root);
    if (!NamesValue(rootKey, key, name)) {
        return false;
    }
    return WithNames(key, subKey, name, [&](const CWideString& path, const CWideString& wideName) {
        return WriteValue(rootKey, path, wideName, REG_BINARY, data, size);
    });
}

bool GetRegString(HKEY root, const char* key, const char* subKey, const char* name, CString& value)
{
    if (!NamesValue(root, key, name)) {
        return false;
    }
    WCHAR text[STRING_ROOM] = {};
    const bool read = WithNames(key, subKey, name, [&](const CWideString& path, const CWideString& wideName) {
        DWORD size = sizeof(text) - sizeof(WCHAR);
        if (!ReadValue(root, path, wideName, REG_SZ, text, size)) {
            return false;
        }
        text[size / sizeof(WCHAR)] = 0;
        value.Clear();
        value.AssignWide(text);
        return value.IsEmpty() == (*text == 0);
    });
    if (!read) {
        value.Clear();
    }
    return read;
}

bool GetRegStringFallback(RegistryRoot root, const char* key, const char* subKey, const char* name,
                          CString& value)
{
    return WithFallback(root, [&](HKEY attempt) { return GetRegString(attempt, key, subKey, name, value); });
}

bool GetRegDword(HKEY root, const char* key, const char* subKey, const char* name, std::uint32_t& value)
{
    if (!NamesValue(root, key, name)) {
        return false;
    }
    return WithNames(key, subKey, name, [&](const CWideString& path, const CWideString& wideName) {
        std::uint32_t number = 0;
        DWORD size = sizeof(number);
        const bool read = ReadValue(root, path, wideName, REG_DWORD, &number, size);
        value = read ? number : value;
        return read;
    });
}

bool GetRegDwordFallback(RegistryRoot root, const char* key, const char* subKey, const char* name,
                         std::uint32_t& value)
{
    return WithFallback(root, [&](HKEY attempt) { return GetRegDword(attempt, key, subKey, name, value); });
}

bool GetRegBinary(RegistryRoot root, const char* key, const char* subKey, const char* name, void* buffer,
                  std::uint32_t size)
{
    auto* const rootKey = RootKeyOf(root);
    if (!NamesValue(rootKey, key, name)) {
        return false;
    }
    return WithNames(key, subKey, name, [&](const CWideString& path, const CWideString& wideName) {
        DWORD bytes = size;
        return ReadValue(rootKey, path, wideName, REG_BINARY, buffer, bytes);
    });
}

bool GetOrCreateRegDword(RegistryRoot root, const char* key, const char* subKey, const char* name,
                         std::uint32_t& value)
{
    return GetRegDwordFallback(root, key, subKey, name, value) || SetRegDword(root, key, subKey, name, value);
}

} // namespace Plinth
