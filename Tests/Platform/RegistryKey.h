// The registry in tests: the key below which they stay, values as bytes, and calls that must leave the last
// error alone.
#pragma once

#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <string>
#include <utility>

// Data of a value, also to print them.
using Bytes = std::string;

inline Bytes BytesOf(WideTextView text)
{
    Bytes bytes(text.size() * sizeof(WCHAR), '\0');
    std::memcpy(bytes.data(), text.data(), bytes.size());
    return bytes;
}

// Runs a function of the registry and gives its result.
template <typename Function>
DWORD Call(const Function& function)
{
    constexpr DWORD untouched = 77;
    SetLastError(untouched);
    const LSTATUS result = function();
    EXPECT_EQ(GetLastError(), untouched);
    return static_cast<DWORD>(result);
}

// A key that is closed in the end. Null where it could not be opened.
class Key {
public:
    static constexpr LPCWSTR TESTS = WIDE("Software\\Brenvault Tests");

    Key(HKEY from, LPCWSTR path, REGSAM access, bool creates = false)
    {
        error_ = Call([&] {
            return creates ? RegCreateKeyExW(from, path, 0, nullptr, 0, access, nullptr, &key_, &disposition_)
                           : RegOpenKeyExW(from, path, 0, access, &key_);
        });
    }
    ~Key() { Close(); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    operator HKEY() const { return key_; } // NOLINT(google-explicit-constructor): it stands for its handle
    [[nodiscard]] DWORD Error() const { return error_; }
    [[nodiscard]] DWORD Disposition() const { return disposition_; }
    void Close()
    {
        if (HKEY key = std::exchange(key_, nullptr); key != nullptr) {
            RegCloseKey(key);
        }
    }

private:
    HKEY key_ = nullptr;
    DWORD disposition_ = 0;
    DWORD error_;
};

inline DWORD SetValue(HKEY key, LPCWSTR name, DWORD type, const Bytes& data)
{
    return Call([&] {
        return RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                              static_cast<DWORD>(data.size()));
    });
}

// Type and data; nullopt when it cannot be had.
inline std::optional<std::pair<DWORD, Bytes>> GetValue(HKEY key, LPCWSTR name)
{
    DWORD type = 0;
    DWORD size = 0;
    if (Call([&] { return RegQueryValueExW(key, name, nullptr, &type, nullptr, &size); }) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    Bytes data(size, '\0');
    EXPECT_EQ(Call([&] {
                  return RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(data.data()),
                                          &size);
              }),
              DWORD{ERROR_SUCCESS});
    return std::pair(type, data);
}
