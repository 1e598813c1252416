// The registry. Its keys and values lie in one text file of the platform's export form;
// docs/platform-layer.md tells where, and which tools read it.
//
// The functions give the error as their result, ERROR_SUCCESS for none, and leave the last error alone.
#pragma once

#include "Platform/Host/Api/Processes.h"
#include "Platform/Host/Api/Types.h"

using HKEY = struct HKEY__*;
using PHKEY = HKEY*;
using LSTATUS = LONG;
using REGSAM = DWORD;

namespace Platform::Host {

// The predefined keys are numbers with the sign carried into the upper half.
inline HKEY PredefinedKey(DWORD number)
{
    return reinterpret_cast<HKEY>(static_cast<std::intptr_t>(static_cast<LONG>(number)));
}

} // namespace Platform::Host

#define HKEY_CLASSES_ROOT (Platform::Host::PredefinedKey(0x80000000))
#define HKEY_CURRENT_USER (Platform::Host::PredefinedKey(0x80000001))
#define HKEY_LOCAL_MACHINE (Platform::Host::PredefinedKey(0x80000002))
#define HKEY_USERS (Platform::Host::PredefinedKey(0x80000003))

constexpr DWORD REG_NONE = 0;
constexpr DWORD REG_SZ = 1;
constexpr DWORD REG_EXPAND_SZ = 2;
constexpr DWORD REG_BINARY = 3;
constexpr DWORD REG_DWORD = 4;
constexpr DWORD REG_DWORD_BIG_ENDIAN = 5;
constexpr DWORD REG_LINK = 6;
constexpr DWORD REG_MULTI_SZ = 7;
constexpr DWORD REG_QWORD = 11;

constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
constexpr REGSAM KEY_SET_VALUE = 0x0002;
constexpr REGSAM KEY_CREATE_SUB_KEY = 0x0004;
constexpr REGSAM KEY_ENUMERATE_SUB_KEYS = 0x0008;
constexpr REGSAM KEY_READ = 0x20019;
constexpr REGSAM KEY_WRITE = 0x20006;
constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;

constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
constexpr DWORD REG_CREATED_NEW_KEY = 1;
constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

// The path is parts between backslashes, found whatever their letter case; a null or empty one is the key
// itself, with the access asked for. After a failure `*result` is null, and what it was where no key was
// looked for because of another parameter.
LSTATUS WINAPI RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result);

// Opens, or creates with all that is missing above it. Class and security attributes are ignored. A failure
// leaves the disposition alone.
LSTATUS WINAPI RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR keyClass, DWORD options,
                               REGSAM access, LPSECURITY_ATTRIBUTES securityAttributes, PHKEY result,
                               LPDWORD disposition);

// A null or empty name is the key's default value. Data are bytes of any type and count. A text whose count
// leaves its terminator out is stored with it: the character behind the count is looked at.
LSTATUS WINAPI RegSetValueExW(HKEY key, LPCWSTR valueName, DWORD reserved, DWORD type, const BYTE* data,
                              DWORD dataSize);

// `dataSize` takes the room there is and gives the bytes that the value has. ERROR_MORE_DATA: they do not
// fit, and nothing is written. A text stored without terminator gets one where there is room. With null data
// `*dataSize` becomes 0 even when the call fails; where it is null too, the result tells whether the value is
// there.
LSTATUS WINAPI RegQueryValueExW(HKEY key, LPCWSTR valueName, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                LPDWORD dataSize);

LSTATUS WINAPI RegDeleteValueW(HKEY key, LPCWSTR valueName);

// The key with all below it; with a null path all that is in the key, which stays.
LSTATUS WINAPI RegDeleteTreeW(HKEY key, LPCWSTR subKey);

// Predefined keys are never closed, and closing them succeeds.
LSTATUS WINAPI RegCloseKey(HKEY key);
