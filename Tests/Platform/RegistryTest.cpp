// Keys and values of the registry: paths, names, data, rights, and what other processes see.
#include "Tests/Platform/RegistrySample.h"
#include "Tests/Support/RegistryKey.h"
#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <deque>
#include <tuple>

namespace {

constexpr DWORD SUCCESS = ERROR_SUCCESS; // the platform's constants are macros without a type

class Registry : public testing::Test {
protected:
    Registry() : key_((Clean(), HKEY_CURRENT_USER), Key::TESTS, KEY_ALL_ACCESS, true)
    {
        EXPECT_EQ(key_.Disposition(), DWORD{REG_CREATED_NEW_KEY});
    }
    ~Registry() override { Clean(); }

    static void Clean() { RegDeleteTreeW(HKEY_CURRENT_USER, Key::TESTS); }

    static DWORD Open(HKEY key, LPCWSTR path) { return Key(key, path, KEY_READ).Error(); }
    static DWORD DeleteValue(HKEY key, LPCWSTR name)
    {
        return Call([&] { return RegDeleteValueW(key, name); });
    }
    static DWORD DeleteTree(HKEY key, LPCWSTR path)
    {
        return Call([&] { return RegDeleteTreeW(key, path); });
    }

    ScratchRegistry registry_;
    Key key_;
};

TEST_F(Registry, PathsAreCutAtBackslashes)
{
    // The last path leads to the same key.
    const std::tuple<LPCWSTR, DWORD, LPCWSTR> rows[] = {
        {WIDE("a\\b\\c"), REG_CREATED_NEW_KEY, WIDE("A\\B\\\\C\\")},
        {WIDE("a\\B\\"), REG_OPENED_EXISTING_KEY, WIDE("a\\b")},
        {WIDE("a\\\\d\\\\"), REG_CREATED_NEW_KEY, WIDE("a\\d")},
        {WIDE("\u00C4\u0416\u0131"), REG_CREATED_NEW_KEY, WIDE("\u00E4\u0436\u0131")},
        {WIDE(" x .\t*?<>|\"/;[]"), REG_CREATED_NEW_KEY, WIDE(" X .\t*?<>|\"/;[]")},
        {WIDE("..\\."), REG_CREATED_NEW_KEY, WIDE("..")},
    };
    for (const auto& [path, disposition, same] : rows) {
        EXPECT_EQ(Key(key_, path, KEY_READ, true).Disposition(), disposition) << ToUtf8(path);
        EXPECT_EQ(Open(key_, path), SUCCESS) << ToUtf8(path);
        EXPECT_EQ(Open(key_, same), SUCCESS) << ToUtf8(same);
    }
    for (const LPCWSTR path : {WIDE("\\a"), WIDE("\\")}) {
        EXPECT_EQ(Open(key_, path), DWORD{ERROR_BAD_PATHNAME});
        EXPECT_EQ(Key(key_, path, KEY_READ, true).Error(), DWORD{ERROR_BAD_PATHNAME});
    }
    for (const LPCWSTR path : {WIDE("missing"), WIDE("a\\missing\\b"), WIDE("I"), WIDE("\u00C4\u0416I")}) {
        EXPECT_EQ(Open(key_, path), DWORD{ERROR_FILE_NOT_FOUND}) << ToUtf8(path);
    }
}

TEST_F(Registry, AnEmptyPathIsTheKeyItself)
{
    SetValue(key_, WIDE("v"), REG_BINARY, "x");
    for (const LPCWSTR path : {LPCWSTR{nullptr}, WIDE("")}) {
        const Key again(key_, path, KEY_READ);
        EXPECT_NE(static_cast<HKEY>(again), static_cast<HKEY>(key_));
        EXPECT_TRUE(GetValue(again, WIDE("v")));
        EXPECT_TRUE(GetValue(Key(key_, path, KEY_READ, true), WIDE("v")));

        EXPECT_EQ(static_cast<HKEY>(Key(HKEY_CURRENT_USER, path, KEY_READ)), HKEY_CURRENT_USER);
        const Key root(HKEY_CURRENT_USER, path, KEY_READ, true);
        EXPECT_NE(static_cast<HKEY>(root), HKEY_CURRENT_USER);
        EXPECT_EQ(Open(root, Key::TESTS), SUCCESS);
        EXPECT_NE(static_cast<HKEY>(Key(root, path, KEY_READ)), static_cast<HKEY>(root));
    }
    for (HKEY root : {HKEY_CLASSES_ROOT, HKEY_LOCAL_MACHINE, HKEY_USERS}) {
        EXPECT_EQ(Open(root, WIDE("")), SUCCESS);
    }
}

TEST_F(Registry, NamesHaveALongestLength)
{
    for (const auto& [length, error] :
         {std::pair(255, SUCCESS), std::pair(257, DWORD{ERROR_INVALID_PARAMETER})}) {
        const WideText path = WIDE("p\\") + WideText(static_cast<std::size_t>(length), 'k');
        EXPECT_EQ(Key(key_, path.c_str(), KEY_READ, true).Error(), error) << length;
        EXPECT_EQ(Key(key_, (path + WIDE("\\below")).c_str(), KEY_READ, true).Error(), error) << length;
        EXPECT_EQ(Open(key_, path.c_str()), error) << length;
    }
    const WideText longest(16383, 'v');
    EXPECT_EQ(SetValue(key_, longest.c_str(), REG_SZ, "1234"), SUCCESS);
    EXPECT_TRUE(GetValue(key_, longest.c_str()));
    const WideText tooLong = longest + WIDE("v");
    EXPECT_EQ(SetValue(key_, tooLong.c_str(), REG_SZ, "1234"), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_FALSE(GetValue(key_, tooLong.c_str()));
    EXPECT_EQ(DeleteValue(key_, tooLong.c_str()), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(Registry, ValuesComeBackAsTheyWereSet)
{
    for (const RegistrySampleValue& value : RegistrySample()) {
        const Key key(key_, value.key, KEY_ALL_ACCESS, true);
        EXPECT_EQ(SetValue(key, value.name, value.type, value.data), SUCCESS);
    }
    for (const RegistrySampleValue& value : RegistrySample()) {
        const Key key(key_, value.key, KEY_READ);
        EXPECT_EQ(GetValue(key, value.name), std::pair(value.type, value.data)) << ToUtf8(value.name);
    }
    // A name keeps the case it was made with or not, but there is one value of it; null is the default one's.
    SetValue(key_, WIDE("\u00E4b"), REG_SZ, BytesOf(WIDE("1")));
    SetValue(key_, WIDE("\u00C4B"), REG_DWORD, "1234");
    EXPECT_EQ(GetValue(key_, WIDE("\u00E4b")), std::pair(DWORD{REG_DWORD}, Bytes("1234")));
    SetValue(key_, nullptr, REG_BINARY, "default");
    EXPECT_EQ(GetValue(key_, WIDE("")), std::pair(DWORD{REG_BINARY}, Bytes("default")));
    for (const LPCWSTR name : {WIDE("\u00C4b"), WIDE("")}) {
        EXPECT_EQ(DeleteValue(key_, name), SUCCESS);
        EXPECT_EQ(DeleteValue(key_, name), DWORD{ERROR_FILE_NOT_FOUND});
    }
    EXPECT_EQ(DeleteValue(key_, nullptr), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(Registry, ATextGetsItsTerminatorWhereTheCountLeavesItOut)
{
    // Bytes said to be there, and bytes stored.
    const std::tuple<DWORD, LPCWSTR, DWORD, DWORD> rows[] = {
        {REG_SZ, WIDE("abc"), 6, 8},   {REG_EXPAND_SZ, WIDE("abc"), 6, 8}, {REG_MULTI_SZ, WIDE("abc"), 6, 8},
        {REG_SZ, WIDE("abc"), 8, 8},   {REG_SZ, WIDE("abcd"), 6, 6},       {REG_SZ, WIDE("ab"), 5, 7},
        {REG_SZ, WIDE("abcd"), 5, 5},  {REG_SZ, WIDE("abc"), 0, 0},        {REG_BINARY, WIDE("abc"), 6, 6},
        {REG_LINK, WIDE("abc"), 6, 6}, {REG_NONE, WIDE("abc"), 6, 6},      {REG_SZ, WIDE("ab\0"), 6, 6},
    };
    for (const auto& [type, text, count, stored] : rows) {
        const Bytes room = BytesOf(text + WideText(2, 0)); // an odd count reaches behind the terminator
        EXPECT_EQ(SetValue(key_, WIDE("v"), type, room, count), SUCCESS);
        EXPECT_EQ(GetValue(key_, WIDE("v")), std::pair(type, room.substr(0, stored))) << type << ' ' << count;
    }
    for (const DWORD type : {DWORD{REG_SZ}, DWORD{REG_BINARY}}) {
        EXPECT_EQ(Call([&] { return RegSetValueExW(key_, WIDE("v"), 0, type, nullptr, 0); }), SUCCESS);
        EXPECT_EQ(GetValue(key_, WIDE("v")), std::pair(type, Bytes()));
        EXPECT_EQ(Call([&] { return RegSetValueExW(key_, WIDE("v"), 0, type, nullptr, 4); }),
                  DWORD{ERROR_NOACCESS});
        EXPECT_EQ(GetValue(key_, WIDE("v")), std::pair(type, Bytes()));
    }
}

TEST_F(Registry, QueriesFillTheRoomOrSayWhatTheyNeed)
{
    const Bytes abc = BytesOf(WIDE("abc")).substr(0, 6);
    const Bytes zero(2, '\0');
    // The room, and all that was written; "": it did not fit.
    const std::tuple<DWORD, Bytes, DWORD, Bytes> rows[] = {
        {REG_SZ, abc, 8, abc + zero},
        {REG_SZ, abc, 7, abc},
        {REG_SZ, abc, 6, abc},
        {REG_SZ, abc, 5, ""},
        {REG_SZ, abc, 0, ""},
        {REG_SZ, abc + zero, 20, abc + zero},
        {REG_EXPAND_SZ, abc, 9, abc + zero},
        {REG_MULTI_SZ, abc, 9, abc + zero},
        {REG_SZ, abc.substr(0, 5), 7, abc.substr(0, 5) + zero},
        {REG_SZ, abc.substr(0, 5), 6, abc.substr(0, 5)},
        {REG_SZ, "a", 3, "a" + zero},
        {REG_BINARY, abc, 20, abc},
        {REG_LINK, abc, 20, abc},
        {REG_DWORD, "1234", 4, "1234"},
        {REG_DWORD, "1234", 3, ""},
    };
    for (const auto& [type, data, available, expected] : rows) {
        SetValue(key_, WIDE("v"), type, data + "xx", data.size()); // no terminator follows
        Bytes room(30, '#');
        auto* const bytes = reinterpret_cast<BYTE*>(room.data());
        DWORD typeRead = 99;
        DWORD size = available;
        EXPECT_EQ(Call([&] { return RegQueryValueExW(key_, WIDE("V"), nullptr, &typeRead, bytes, &size); }),
                  expected.empty() ? DWORD{ERROR_MORE_DATA} : SUCCESS);
        EXPECT_EQ(room, expected + Bytes(30 - expected.size(), '#')) << type << ' ' << available;
        EXPECT_EQ(size, data.size());
        EXPECT_EQ(typeRead, type);
    }
}

TEST_F(Registry, QueriesTakeWhatIsAskedFor)
{
    SetValue(key_, WIDE("v"), REG_DWORD, "1234");
    struct Row {
        LPCWSTR name;
        bool asksType, asksData, asksSize, reserved;
        DWORD error;
        DWORD size; // in the end, of 9
    };
    const Row rows[] = {
        {WIDE("v"), true, false, true, false, SUCCESS, 4},
        {WIDE("v"), false, false, false, false, SUCCESS, 9},
        {WIDE("v"), false, true, true, false, SUCCESS, 4},
        {WIDE("v"), true, true, false, false, ERROR_INVALID_PARAMETER, 9},
        {WIDE("v"), true, true, true, true, ERROR_INVALID_PARAMETER, 9},
        {WIDE("no"), true, true, true, false, ERROR_FILE_NOT_FOUND, 9},
        {WIDE("no"), true, false, true, false, ERROR_FILE_NOT_FOUND, 0},
    };
    for (const Row& row : rows) {
        DWORD reserved = 0;
        DWORD type = 99;
        DWORD size = 9;
        BYTE data[9] = {};
        EXPECT_EQ(Call([&] {
                      return RegQueryValueExW(key_, row.name, row.reserved ? &reserved : nullptr,
                                              row.asksType ? &type : nullptr, row.asksData ? data : nullptr,
                                              row.asksSize ? &size : nullptr);
                  }),
                  row.error);
        EXPECT_EQ(size, row.size);
        EXPECT_EQ(type, row.asksType && row.error == SUCCESS ? DWORD{REG_DWORD} : 99u);
    }
}

// Every function with a handle of these rights; 0 for success.
TEST_F(Registry, RightsAreTheHandlesForValuesAndNotForKeys)
{
    const std::tuple<REGSAM, DWORD, DWORD> rows[] = {
        {KEY_READ, SUCCESS, ERROR_ACCESS_DENIED},
        {KEY_QUERY_VALUE, SUCCESS, ERROR_ACCESS_DENIED},
        {KEY_WRITE, ERROR_ACCESS_DENIED, SUCCESS},
        {KEY_SET_VALUE, ERROR_ACCESS_DENIED, SUCCESS},
        {KEY_CREATE_SUB_KEY, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED},
        {KEY_ALL_ACCESS, SUCCESS, SUCCESS},
    };
    for (const auto& [access, query, set] : rows) {
        SetValue(key_, WIDE("v"), REG_DWORD, "1234");
        const Key key(key_, WIDE(""), access);
        EXPECT_EQ(Call([&] { return RegQueryValueExW(key, WIDE("v"), nullptr, nullptr, nullptr, nullptr); }),
                  query);
        EXPECT_EQ(SetValue(key, WIDE("v"), REG_DWORD, "5678"), set);
        EXPECT_EQ(DeleteValue(key, WIDE("v")), set);
        EXPECT_EQ(Key(key, WIDE("new\\below"), KEY_READ, true).Disposition(), DWORD{REG_CREATED_NEW_KEY});
        EXPECT_EQ(Key(key, WIDE("new"), KEY_ALL_ACCESS).Error(), SUCCESS);
        EXPECT_EQ(DeleteTree(key, WIDE("new")), SUCCESS);
    }
}

TEST_F(Registry, TreesGoWithAllBelowThem)
{
    const auto fill = [this] {
        SetValue(Key(key_, WIDE("t\\a\\b"), KEY_WRITE, true), WIDE("v"), REG_BINARY, "1");
        SetValue(Key(key_, WIDE("t"), KEY_WRITE), WIDE("v"), REG_BINARY, "1");
        Key(key_, WIDE("beside"), KEY_READ, true).Close();
    };
    fill();
    EXPECT_EQ(DeleteTree(key_, WIDE("t\\missing")), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(DeleteTree(key_, WIDE("missing\\a")), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(DeleteTree(key_, WIDE("\\t")), DWORD{ERROR_BAD_PATHNAME});
    for (const REGSAM access : {REGSAM{KEY_READ}, REGSAM{KEY_WRITE}}) {
        EXPECT_EQ(DeleteTree(Key(key_, WIDE("t\\a\\b"), access), nullptr), DWORD{ERROR_ACCESS_DENIED});
    }
    EXPECT_EQ(DeleteTree(key_, WIDE("T\\A\\")), SUCCESS);
    EXPECT_EQ(Open(key_, WIDE("t\\a")), DWORD{ERROR_FILE_NOT_FOUND});
    for (const LPCWSTR path : {LPCWSTR{nullptr}, WIDE("")}) {
        fill();
        const Key emptied(key_, WIDE("t"), KEY_ALL_ACCESS);
        EXPECT_EQ(DeleteTree(emptied, path), SUCCESS);
        EXPECT_EQ(GetValue(emptied, WIDE("v")), std::nullopt);
        EXPECT_EQ(Open(key_, WIDE("t\\a")), DWORD{ERROR_FILE_NOT_FOUND});
        EXPECT_EQ(SetValue(emptied, WIDE("v"), REG_BINARY, "1"), SUCCESS);
    }
    EXPECT_EQ(Open(key_, WIDE("beside")), SUCCESS);
}

// What every function makes of a handle.
std::deque<DWORD> CallAll(HKEY key)
{
    BYTE data[8] = {};
    DWORD size = sizeof(data);
    const auto name = WIDE("x");
    return {
        Key(key, name, KEY_READ).Error(),
        Key(key, name, KEY_READ, true).Error(),
        Call([&] { return RegSetValueExW(key, name, 0, REG_BINARY, data, 1); }),
        Call([&] { return RegQueryValueExW(key, name, nullptr, nullptr, data, &size); }),
        Call([&] { return RegDeleteValueW(key, name); }),
        Call([&] { return RegDeleteTreeW(key, name); }),
        Call([&] { return RegDeleteTreeW(key, nullptr); }),
    };
}

TEST_F(Registry, ADeletedKeyStaysDeleted)
{
    const Key deleted(key_, WIDE("gone\\below"), KEY_ALL_ACCESS, true);
    RegDeleteTreeW(key_, WIDE("GONE"));
    const std::deque<DWORD> all(7, ERROR_KEY_DELETED);
    EXPECT_EQ(CallAll(deleted), all);
    EXPECT_EQ(Key(deleted, WIDE(""), KEY_READ).Error(), DWORD{ERROR_KEY_DELETED});
    const Key again(key_, WIDE("gone\\below"), KEY_ALL_ACCESS, true);
    EXPECT_EQ(again.Disposition(), DWORD{REG_CREATED_NEW_KEY});
    EXPECT_EQ(CallAll(deleted), all);
    EXPECT_EQ(SetValue(again, WIDE("v"), REG_BINARY, "1"), SUCCESS);
}

TEST_F(Registry, OnlyOpenKeysAreKeys)
{
    const auto close = [](HKEY key) { return Call([&] { return RegCloseKey(key); }); };
    Key key(key_, WIDE("a"), KEY_ALL_ACCESS, true);
    HKEY closed = key;
    key.Close();
    const std::deque<DWORD> all(7, ERROR_INVALID_HANDLE);
    for (HKEY none : {HKEY{nullptr}, closed, reinterpret_cast<HKEY>(0x12345)}) {
        EXPECT_EQ(CallAll(none), all);
        EXPECT_EQ(close(none), DWORD{ERROR_INVALID_HANDLE});
    }
    for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
        EXPECT_EQ(close(root), SUCCESS);
    }
    EXPECT_EQ(WaitForSingleObject(key_, 10), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    Key other(key_, WIDE("a"), KEY_READ);
    EXPECT_TRUE(CloseHandle(other)); // they are handles like all others
    EXPECT_EQ(close(other), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(Call([&] { return RegOpenKeyExW(key_, WIDE("a"), 0, KEY_READ, nullptr); }),
              DWORD{ERROR_INVALID_PARAMETER});
    HKEY result = key_;
    EXPECT_EQ(Call([&] {
                  return RegCreateKeyExW(key_, WIDE("a"), 1, nullptr, 0, KEY_READ, nullptr, &result, nullptr);
              }),
              DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(result, key_);
}

TEST_F(Registry, ProcessesThatWriteAtOnceLoseNothing)
{
    const Key shared(key_, WIDE("Shared"), KEY_ALL_ACCESS, true);
    std::deque<StartedProcess> writers;
    for (const LPCWSTR line : {WIDE("writer A"), WIDE("writer B"), WIDE("writer C")}) {
        writers.emplace_back(
            ProcessOptions{.program = ToPlatform(BuiltProgram("RegistryWriter.exe")), .commandLine = line});
    }
    for (WCHAR name = 'a'; name <= 'a' + 20; ++name) {
        EXPECT_EQ(SetValue(shared, WideText{'D', name}.c_str(), REG_BINARY, "1"), SUCCESS);
    }
    for (const StartedProcess& writer : writers) {
        EXPECT_EQ(WaitForSingleObject(writer.Handle(), 60000), DWORD{WAIT_OBJECT_0});
        EXPECT_EQ(writer.ExitCode(), 0u);
    }
    for (const WCHAR writer : WideText(WIDE("ABCD"))) {
        for (WCHAR name = 'a'; name <= 'a' + 20; ++name) {
            EXPECT_TRUE(GetValue(shared, WideText{writer, name}.c_str())) << char(writer) << char(name);
        }
    }
}

} // namespace
