// The registry as a tree of keys, apart from any file and from the functions.
#pragma once

#include "Platform/Host/Api/Types.h"
#include "Platform/Host/Names.h"

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Platform::Host {

constexpr std::size_t LONGEST_KEY_NAME = 255;
constexpr std::size_t LONGEST_VALUE_NAME = 16383;
constexpr std::size_t DEEPEST_KEY = 512; // below the predefined key

struct RegistryValue {
    DWORD type = 0;
    std::vector<BYTE> data;

    bool operator==(const RegistryValue&) const = default;
};

// Names have the case that they were made with; the default value's is empty.
struct RegistryKey {
    std::map<std::u16string, RegistryValue, NameOrder> values;
    std::map<std::u16string, RegistryKey, NameOrder> keys;
};

bool operator==(const RegistryKey& left, const RegistryKey& right);

// The predefined keys, by what their handles count from HKEY_CLASSES_ROOT. They are the only keys at the top
// of a tree, and always there.
constexpr std::array<std::u16string_view, 4> PREDEFINED_KEYS = {u"HKEY_CLASSES_ROOT", u"HKEY_CURRENT_USER",
                                                                u"HKEY_LOCAL_MACHINE", u"HKEY_USERS"};

RegistryKey EmptyRegistry();

// The names of the keys from the top of the tree down to one.
using RegistryPath = std::vector<std::u16string>;

// Adds the parts between the backslashes, empty ones left out. ERROR_BAD_PATHNAME for a path that begins with
// a backslash, ERROR_INVALID_PARAMETER for a name that is too long.
DWORD AppendPath(RegistryPath& path, std::u16string_view more);

// Null: not there.
const RegistryKey* FindKey(const RegistryKey& top, const RegistryPath& path);

// Whether keys of these names can be made: not too deep, and no line end in a name, which the text form of
// the registry cannot show.
bool CanBeMade(const RegistryPath& path);

// Makes what is missing. The path's first part is a predefined key.
RegistryKey& MakeKey(RegistryKey& top, const RegistryPath& path);

// The key, which is no predefined one, goes with all below it. False when it is not there.
bool RemoveKey(RegistryKey& top, const RegistryPath& path);

} // namespace Platform::Host
