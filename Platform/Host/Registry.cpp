#include "Platform/Host/Api/Registry.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/RegistryStore.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Platform::Host {

namespace {

bool machineKeysAreReadOnly = false;

// What a handle stands for, be it predefined or opened.
struct KeyReference {
    RegistryPath path;
    std::shared_ptr<OpenKey> open; // null: predefined
};

// The place in PREDEFINED_KEYS; at its end or behind for every other handle.
std::size_t PredefinedPlace(HKEY key)
{
    return reinterpret_cast<std::uintptr_t>(key) - reinterpret_cast<std::uintptr_t>(HKEY_CLASSES_ROOT);
}

bool IsPredefined(HKEY key)
{
    return PredefinedPlace(key) < PREDEFINED_KEYS.size();
}

// Predefined keys allow everything.
DWORD Refer(HKEY key, REGSAM access, KeyReference& reference)
{
    if (IsPredefined(key)) {
        reference.path.emplace_back(PREDEFINED_KEYS.at(PredefinedPlace(key)));
        return ERROR_SUCCESS;
    }
    reference.open = FindObjectOf<OpenKey>(key);
    if (reference.open == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    reference.path = reference.open->Path();
    return reference.open->Allows(access) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

// The key at a path below the handle's. Whether it may be had is not asked of the handle.
DWORD Refer(HKEY key, LPCWSTR subKey, KeyReference& reference)
{
    const DWORD error = Refer(key, REGSAM{0}, reference);
    return error == ERROR_SUCCESS && subKey != nullptr ? AppendPath(reference.path, subKey) : error;
}

std::u16string_view NameOf(LPCWSTR valueName)
{
    return valueName != nullptr ? valueName : std::u16string_view();
}

// What stands in the way of a look or a change that has just begun.
template <typename Access>
DWORD Check(const Access& registry, const KeyReference& reference)
{
    if (registry.Error() != ERROR_SUCCESS) {
        return registry.Error();
    }
    return reference.open != nullptr && reference.open->IsDeleted() ? ERROR_KEY_DELETED : ERROR_SUCCESS;
}

// Runs look(key) on what the handle stands for.
template <typename Look>
DWORD LookAt(HKEY key, REGSAM access, const Look& look)
{
    KeyReference reference;
    DWORD error = Refer(key, access, reference);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const RegistryLook registry;
    error = Check(registry, reference);
    return error == ERROR_SUCCESS ? look(*FindKey(registry.Top(), reference.path)) : error;
}

// Runs change(top) on a copy of the registry, which is kept when the result is ERROR_SUCCESS.
template <typename Change>
DWORD ChangeRegistry(const KeyReference& reference, const Change& change)
{
    RegistryChange registry;
    DWORD error = Check(registry, reference);
    if (error == ERROR_SUCCESS) {
        error = change(registry.Top());
    }
    return error == ERROR_SUCCESS ? registry.Keep() : error;
}

// Runs change(key) likewise, on what the handle stands for.
template <typename Change>
DWORD ChangeAt(HKEY key, REGSAM access, const Change& change)
{
    KeyReference reference;
    const DWORD error = Refer(key, access, reference);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    return ChangeRegistry(reference, [&](RegistryKey& top) { return change(MakeKey(top, reference.path)); });
}

bool IsTextType(DWORD type)
{
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

bool IsZeroAt(const BYTE* unit)
{
    return unit[0] == 0 && unit[1] == 0;
}

// The bytes to store: with the terminator, where the count of a text ends right before it.
std::size_t CountWithTerminator(DWORD type, const BYTE* data, std::size_t dataSize)
{
    const std::size_t units = dataSize / sizeof(WCHAR);
    if (!IsTextType(type) || units == 0) {
        return dataSize;
    }
    const BYTE* const end = data + units * sizeof(WCHAR);
    return !IsZeroAt(end - sizeof(WCHAR)) && IsZeroAt(end) ? dataSize + sizeof(WCHAR) : dataSize;
}

bool LacksTerminator(const RegistryValue& value)
{
    const std::vector<BYTE>& data = value.data;
    return IsTextType(value.type) && !data.empty() && (data.size() == 1 || !IsZeroAt(&data[data.size() - 2]));
}

// `room` takes the room there is and gives the bytes there are.
DWORD HandOut(const RegistryValue& value, LPBYTE data, LPDWORD room)
{
    if (room == nullptr) {
        return ERROR_SUCCESS;
    }
    const std::size_t size = value.data.size();
    const std::size_t available = std::exchange(*room, static_cast<DWORD>(size));
    if (data == nullptr) {
        return ERROR_SUCCESS;
    }
    if (available < size) {
        return ERROR_MORE_DATA;
    }
    std::copy(value.data.begin(), value.data.end(), data);
    if (LacksTerminator(value) && available - size >= sizeof(WCHAR)) {
        std::memset(data + size, 0, sizeof(WCHAR));
    }
    return ERROR_SUCCESS;
}

bool IsRefused(const OpenKey& opened)
{
    return machineKeysAreReadOnly && opened.Path().front() == u"HKEY_LOCAL_MACHINE" &&
           (opened.Allows(KEY_SET_VALUE) || opened.Allows(KEY_CREATE_SUB_KEY));
}

// ERROR_FILE_NOT_FOUND where there is no such key.
DWORD OpenExisting(const KeyReference& reference, OpenKey& opened)
{
    const RegistryLook registry;
    const DWORD error = Check(registry, reference);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    if (FindKey(registry.Top(), reference.path) == nullptr) {
        return ERROR_FILE_NOT_FOUND;
    }
    if (IsRefused(opened)) {
        return ERROR_ACCESS_DENIED;
    }
    opened.Watch();
    return ERROR_SUCCESS;
}

// Another process may have made it in between.
DWORD OpenMissing(const KeyReference& reference, OpenKey& opened, DWORD& disposition)
{
    if (!CanBeMade(reference.path)) {
        return ERROR_INVALID_PARAMETER;
    }
    if (IsRefused(opened)) {
        return ERROR_ACCESS_DENIED;
    }
    RegistryChange registry;
    DWORD error = Check(registry, reference);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const bool isNew = FindKey(registry.Top(), reference.path) == nullptr;
    MakeKey(registry.Top(), reference.path);
    error = registry.Keep();
    if (error == ERROR_SUCCESS) {
        disposition = isNew ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
        opened.Watch();
    }
    return error;
}

// Runs open(reference, opened) on the key at the path and hands out a handle of it. All that can run out of
// memory for the handle comes first.
template <typename Open>
DWORD HandOutKey(HKEY key, LPCWSTR subKey, REGSAM access, PHKEY result, const Open& open)
{
    *result = nullptr;
    KeyReference reference;
    DWORD error = Refer(key, subKey, reference);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const auto opened = std::make_shared<OpenKey>(reference.path, access);
    PendingHandle handle(opened);
    error = open(reference, *opened);
    if (error == ERROR_SUCCESS) {
        *result = static_cast<HKEY>(handle.HandOut());
    }
    return error;
}

bool IsEmpty(LPCWSTR text)
{
    return text == nullptr || *text == 0;
}

} // namespace

void SetMachineKeysReadOnly(bool readOnly)
{
    machineKeysAreReadOnly = readOnly;
}

} // namespace Platform::Host

using namespace Platform::Host;

LSTATUS WINAPI RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD /*options*/, REGSAM access, PHKEY result)
{
    return GuardedStatus("RegOpenKeyExW", [&]() -> DWORD {
        if (result == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        if (IsPredefined(key) && IsEmpty(subKey)) {
            *result = key;
            return ERROR_SUCCESS;
        }
        return HandOutKey(key, subKey, access, result, OpenExisting);
    });
}

LSTATUS WINAPI RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR /*keyClass*/, DWORD options,
                               REGSAM access, LPSECURITY_ATTRIBUTES /*securityAttributes*/, PHKEY result,
                               LPDWORD disposition)
{
    return GuardedStatus("RegCreateKeyExW", [&]() -> DWORD {
        if (result == nullptr || reserved != 0 || options != REG_OPTION_NON_VOLATILE) {
            return ERROR_INVALID_PARAMETER;
        }
        DWORD done = REG_OPENED_EXISTING_KEY;
        const auto open = [&done](const KeyReference& reference, OpenKey& opened) {
            const DWORD error = OpenExisting(reference, opened);
            return error == ERROR_FILE_NOT_FOUND ? OpenMissing(reference, opened, done) : error;
        };
        const DWORD error = HandOutKey(key, subKey, access, result, open);
        if (error == ERROR_SUCCESS && disposition != nullptr) {
            *disposition = done;
        }
        return error;
    });
}

LSTATUS WINAPI RegSetValueExW(HKEY key, LPCWSTR valueName, DWORD /*reserved*/, DWORD type, const BYTE* data,
                              DWORD dataSize)
{
    return GuardedStatus("RegSetValueExW", [&]() -> DWORD {
        if (data == nullptr && dataSize != 0) {
            return ERROR_NOACCESS;
        }
        std::u16string name(NameOf(valueName));
        if (name.size() > LONGEST_VALUE_NAME) {
            return ERROR_INVALID_PARAMETER;
        }
        RegistryValue value{type, {data, data + CountWithTerminator(type, data, dataSize)}};
        return ChangeAt(key, KEY_SET_VALUE, [&](RegistryKey& found) -> DWORD {
            found.values[std::move(name)] = std::move(value);
            return ERROR_SUCCESS;
        });
    });
}

LSTATUS WINAPI RegQueryValueExW(HKEY key, LPCWSTR valueName, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                LPDWORD dataSize)
{
    return GuardedStatus("RegQueryValueExW", [&]() -> DWORD {
        if (reserved != nullptr || (data != nullptr && dataSize == nullptr)) {
            return ERROR_INVALID_PARAMETER;
        }
        if (data == nullptr && dataSize != nullptr) {
            *dataSize = 0;
        }
        return LookAt(key, KEY_QUERY_VALUE, [&](const RegistryKey& found) -> DWORD {
            const auto value = found.values.find(NameOf(valueName));
            if (value == found.values.end()) {
                return ERROR_FILE_NOT_FOUND;
            }
            if (type != nullptr) {
                *type = value->second.type;
            }
            return HandOut(value->second, data, dataSize);
        });
    });
}

LSTATUS WINAPI RegDeleteValueW(HKEY key, LPCWSTR valueName)
{
    return GuardedStatus("RegDeleteValueW", [&]() -> DWORD {
        return ChangeAt(key, KEY_SET_VALUE, [&](RegistryKey& found) -> DWORD {
            const auto value = found.values.find(NameOf(valueName));
            if (value == found.values.end()) {
                return ERROR_FILE_NOT_FOUND;
            }
            found.values.erase(value);
            return ERROR_SUCCESS;
        });
    });
}

LSTATUS WINAPI RegDeleteTreeW(HKEY key, LPCWSTR subKey)
{
    return GuardedStatus("RegDeleteTreeW", [&]() -> DWORD {
        if (IsEmpty(subKey)) {
            return ChangeAt(key, KEY_ENUMERATE_SUB_KEYS | KEY_SET_VALUE, [](RegistryKey& found) -> DWORD {
                found = {};
                return ERROR_SUCCESS;
            });
        }
        KeyReference reference;
        const DWORD error = Refer(key, subKey, reference);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        return ChangeRegistry(reference, [&](RegistryKey& top) -> DWORD {
            return RemoveKey(top, reference.path) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
        });
    });
}

LSTATUS WINAPI RegCloseKey(HKEY key)
{
    return GuardedStatus("RegCloseKey", [&]() -> DWORD {
        if (IsPredefined(key)) {
            return ERROR_SUCCESS;
        }
        return FindObjectOf<OpenKey>(key) != nullptr && ReleaseHandle(key) ? ERROR_SUCCESS
                                                                           : ERROR_INVALID_HANDLE;
    });
}
