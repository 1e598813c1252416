#include "Tests/Support/RegistryKey.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

void ExpectUntouchedError()
{
    EXPECT_EQ(GetLastError(), UNTOUCHED_ERROR);
}

Bytes ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Key::ExpectNothingUnlessOpened() const
{
    EXPECT_TRUE(error_ == ERROR_SUCCESS || (key_ == nullptr && disposition_ == NO_DISPOSITION)) << error_;
}

DWORD SetValue(HKEY key, LPCWSTR name, DWORD type, const Bytes& data, std::size_t count)
{
    return Call([&] {
        return RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                              static_cast<DWORD>(std::min(count, data.size())));
    });
}

std::optional<std::pair<DWORD, Bytes>> GetValue(HKEY key, LPCWSTR name)
{
    DWORD type = 0;
    DWORD size = 0;
    if (Call([&] { return RegQueryValueExW(key, name, nullptr, &type, nullptr, &size); }) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    Bytes data(size, '\0');
    auto* const room = reinterpret_cast<BYTE*>(data.data());
    EXPECT_EQ(Call([&] { return RegQueryValueExW(key, name, nullptr, nullptr, room, &size); }),
              DWORD{ERROR_SUCCESS});
    return std::pair(type, data);
}
