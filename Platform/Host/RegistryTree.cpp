#include "Platform/Host/RegistryTree.h"

#include "Platform/Host/Api/Errors.h"

#include <algorithm>

namespace Platform::Host {

bool operator==(const RegistryKey& left, const RegistryKey& right)
{
    return left.values == right.values && left.keys == right.keys;
}

RegistryKey EmptyRegistry()
{
    RegistryKey top;
    for (const std::u16string_view name : PREDEFINED_KEYS) {
        top.keys.emplace(name, RegistryKey());
    }
    return top;
}

DWORD AppendPath(RegistryPath& path, std::u16string_view more)
{
    if (more.starts_with(u'\\')) {
        return ERROR_BAD_PATHNAME;
    }
    while (!more.empty()) {
        const std::u16string_view part = more.substr(0, more.find(u'\\'));
        if (part.size() > LONGEST_KEY_NAME) {
            return ERROR_INVALID_PARAMETER;
        }
        if (!part.empty()) {
            path.emplace_back(part);
        }
        more.remove_prefix(std::min(more.size(), part.size() + 1));
    }
    return ERROR_SUCCESS;
}

const RegistryKey* FindKey(const RegistryKey& top, const RegistryPath& path)
{
    const RegistryKey* key = &top;
    for (const std::u16string& name : path) {
        const auto below = key->keys.find(name);
        if (below == key->keys.end()) {
            return nullptr;
        }
        key = &below->second;
    }
    return key;
}

bool CanBeMade(const RegistryPath& path)
{
    constexpr std::u16string_view forbidden(u"\r\n\0", 3);
    return path.size() <= DEEPEST_KEY + 1 &&
           std::none_of(path.begin(), path.end(), [forbidden](const std::u16string& name) {
               return name.find_first_of(forbidden) != std::u16string::npos;
           });
}

RegistryKey& MakeKey(RegistryKey& top, const RegistryPath& path)
{
    RegistryKey* key = &top;
    for (const std::u16string& name : path) {
        key = &key->keys[name];
    }
    return *key;
}

bool RemoveKey(RegistryKey& top, const RegistryPath& path)
{
    const RegistryPath above(path.begin(), path.end() - 1);
    auto* const parent = const_cast<RegistryKey*>(FindKey(top, above));
    return parent != nullptr && parent->keys.erase(path.back()) != 0;
}

} // namespace Platform::Host
