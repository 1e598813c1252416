// The registry in tests: the key below which they stay, values as bytes, and calls that must leave the last
// error alone.
#pragma once

#include "Tests/Support/WideText.h"

#include <cstring>
#include <filesystem>
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

// The same with a terminator.
inline Bytes TerminatedBytesOf(WideTextView text)
{
    return BytesOf(text) + Bytes(sizeof(WCHAR), '\0');
}

constexpr DWORD UNTOUCHED_ERROR = 77;

// Fails the test when the last error is another.
void ExpectUntouchedError();

Bytes ReadFile(const std::filesystem::path& path);

// Runs a function of the registry and gives its result.
template <typename Function>
DWORD Call(const Function& function)
{
    SetLastError(UNTOUCHED_ERROR);
    const LSTATUS result = function();
    ExpectUntouchedError();
    return static_cast<DWORD>(result);
}

// A key that is closed in the end. Where it could not be opened the test fails unless it has become null, and
// the disposition is as before; Wine lets both be for a null handle.
class Key {
public:
    static constexpr LPCWSTR TESTS = WIDE("Software\\Brenvault Tests");
    static constexpr DWORD NO_DISPOSITION = 99;

    Key(HKEY from, LPCWSTR path, REGSAM access, bool creates = false)
    {
        error_ = Call([&] {
            return creates ? RegCreateKeyExW(from, path, 0, nullptr, 0, access, nullptr, &key_, &disposition_)
                           : RegOpenKeyExW(from, path, 0, access, &key_);
        });
        if (from != nullptr) {
            ExpectNothingUnlessOpened();
        }
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
    void ExpectNothingUnlessOpened() const;

    HKEY key_ = reinterpret_cast<HKEY>(0x12345);
    DWORD disposition_ = NO_DISPOSITION;
    DWORD error_;
};

// Says that the data are `count` bytes, where it is given.
DWORD SetValue(HKEY key, LPCWSTR name, DWORD type, const Bytes& data, std::size_t count = Bytes::npos);

// Type and data; nullopt when it cannot be had.
std::optional<std::pair<DWORD, Bytes>> GetValue(HKEY key, LPCWSTR name);
