#include "Plinth/Config/RegistryValues.h"
#include "Plinth/Text/CWideString.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/FailingInTurn.h"
#include "Tests/Support/RegistryKey.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>

namespace Plinth {
namespace {

constexpr auto CURRENT_USER = RegistryRoot::CurrentUser;
constexpr auto ONLY_FALLBACK = static_cast<RegistryRoot>(3);
constexpr auto NO_ROOT = static_cast<RegistryRoot>(5);
constexpr const char* KEY = "Software\\Brenvault Tests";

class RegistryValues : public testing::Test {
protected:
    RegistryValues() { Clean(); }
    ~RegistryValues() override { Clean(); }

    static void Clean()
    {
        RegDeleteTreeW(HKEY_CURRENT_USER, Key::TESTS);
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, Key::TESTS);
    }

    static bool HasKey(HKEY root, LPCWSTR path) { return Key(root, path, KEY_READ).Error() == ERROR_SUCCESS; }

    // As the platform has it, below one of the tests' keys.
    static std::optional<std::pair<DWORD, Bytes>> Stored(HKEY root, LPCWSTR name)
    {
        return GetValue(Key(root, WIDE("Software\\Brenvault Tests\\sub"), KEY_READ), name);
    }

    // More bytes follow, so that the platform adds no terminator.
    static void Store(HKEY root, LPCWSTR name, DWORD type, const Bytes& data)
    {
        const Bytes more = data + "more";
        const auto size = static_cast<DWORD>(data.size());
        const Key key(root, WIDE("Software\\Brenvault Tests\\sub"), KEY_ALL_ACCESS, true);
        ASSERT_EQ(RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(more.data()), size),
                  LSTATUS{ERROR_SUCCESS});
    }

private:
    ScratchRegistry registry_;
};

TEST(RegistryKeyPath, JoinsKeyAndSubkey)
{
    const std::string longest(600, 'k');
    const std::string rows[][3] = {
        {"a", "b", "a\\b"},     {"a\\", "b", "a\\b"}, {"a", "", "a"},
        {"a\\", "", "a\\"},     {"", "b", "b"},       {"", "", ""},
        {"a", "\\b", "a\\\\b"}, {"a/", "b", "a/\\b"}, {longest, "b", longest + "\\b"}};
    for (const auto& [key, subKey, path] : rows) {
        EXPECT_EQ(RegistryKeyPath(key.c_str(), subKey.c_str()).CStr(), path);
    }
    EXPECT_STREQ(RegistryKeyPath("a", nullptr).CStr(), "a");
    EXPECT_STREQ(RegistryKeyPath(nullptr, "b").CStr(), "b");
    const HeapWatch watch({.largest = 511});
    const CString path = RegistryKeyPath("a", "b");
    EXPECT_EQ(watch.Failures(), 1u);
}

TEST_F(RegistryValues, AreStoredWithTheirTypes)
{
    const std::uint8_t data[] = {0, 1, 0xFF};
    EXPECT_TRUE(SetRegString(HKEY_CURRENT_USER, KEY, "sub", "text", "Gr\xC3\xBC"));
    EXPECT_TRUE(SetRegString(HKEY_CURRENT_USER, "Software\\Brenvault Tests\\", "sub", "empty", ""));
    EXPECT_TRUE(SetRegDword(CURRENT_USER, KEY, "sub", "number", 0x01020304));
    EXPECT_TRUE(SetRegDword(CURRENT_USER, "Software\\Brenvault Tests\\sub", "", "", 7));
    EXPECT_TRUE(SetRegBinary(CURRENT_USER, "SOFTWARE\\brenvault tests\\sub", nullptr, "bytes", data, 3));
    EXPECT_TRUE(SetRegBinary(CURRENT_USER, KEY, "sub", "nothing", nullptr, 0));
    const std::tuple<LPCWSTR, DWORD, Bytes> rows[] = {
        {WIDE("text"), REG_SZ, TerminatedBytesOf(WIDE("Gr\u00FC"))},
        {WIDE("empty"), REG_SZ, Bytes(2, '\0')},
        {WIDE("number"), REG_DWORD, "\4\3\2\1"},
        {WIDE(""), REG_DWORD, Bytes("\7\0\0\0", 4)},
        {WIDE("bytes"), REG_BINARY, Bytes("\0\1\xFF", 3)},
        {WIDE("nothing"), REG_BINARY, ""},
    };
    for (const auto& [name, type, stored] : rows) {
        EXPECT_EQ(Stored(HKEY_CURRENT_USER, name), std::pair(type, stored)) << ToUtf8(name);
    }
    EXPECT_FALSE(HasKey(HKEY_LOCAL_MACHINE, Key::TESTS));
}

TEST_F(RegistryValues, AreReadAsTextsWhenTheyAre)
{
    const Bytes longest = BytesOf(WideText(1022, 'x'));
    const Bytes zero(2, '\0');
    // The text; nullopt: it is none.
    const std::tuple<DWORD, Bytes, std::optional<std::string>> rows[] = {
        {REG_SZ, TerminatedBytesOf(WIDE("\u20ACx")), "\xE2\x82\xACx"},
        {REG_SZ, BytesOf(WIDE("ab")), "ab"},
        {REG_SZ, TerminatedBytesOf({WIDE("a\0b"), 3}), "a"},
        {REG_SZ, BytesOf(WIDE("ab")) + "c", "ab"}, // and half a character
        {REG_SZ, "a", ""},
        {REG_SZ, "", ""},
        {REG_SZ, longest + zero, std::string(1022, 'x')},
        {REG_SZ, longest + Bytes("x\0", 2), std::string(1023, 'x')},
        {REG_SZ, longest + Bytes("x\0", 2) + zero, std::nullopt},
        {REG_SZ, Bytes(65536, 'x'), std::nullopt},
        {REG_EXPAND_SZ, TerminatedBytesOf(WIDE("a")), std::nullopt},
        {REG_MULTI_SZ, TerminatedBytesOf({WIDE("a\0"), 2}), std::nullopt},
        {REG_DWORD, Bytes(4, 1), std::nullopt},
        {REG_BINARY, TerminatedBytesOf(WIDE("a")), std::nullopt},
        {REG_NONE, "", std::nullopt},
    };
    for (const auto& [type, data, expected] : rows) {
        Store(HKEY_CURRENT_USER, WIDE("v"), type, data);
        CString text("what was there before");
        EXPECT_EQ(GetRegString(HKEY_CURRENT_USER, KEY, "sub", "V", text), expected.has_value())
            << data.size();
        EXPECT_EQ(text.CStr(), expected.value_or("")) << data.size();
        text = "before";
        EXPECT_EQ(GetRegStringFallback(CURRENT_USER, KEY, "sub", "v", text), expected.has_value());
        EXPECT_EQ(text.CStr(), expected.value_or(""));
    }
    for (const auto& [subKey, name] : {std::pair("sub", "absent"), std::pair("no such key", "v")}) {
        CString text("before");
        EXPECT_FALSE(GetRegString(HKEY_CURRENT_USER, KEY, subKey, name, text));
        EXPECT_STREQ(text.CStr(), "");
    }
}

TEST_F(RegistryValues, AreReadAsNumbersAndBytesWhenTheyAre)
{
    const std::tuple<DWORD, Bytes, bool, bool> rows[] = {
        {REG_DWORD, "\4\3\2\1", true, false},
        {REG_DWORD, "\4", true, false},
        {REG_DWORD, "", true, false},
        {REG_DWORD, Bytes(5, 1), false, false},
        {REG_BINARY, "\4\3\2\1", false, true},
        {REG_BINARY, "", false, true},
        {REG_BINARY, Bytes(5, 1), false, true},
        {REG_BINARY, Bytes(6, 1), false, false},
        {REG_SZ, "", false, false},
    };
    for (const auto& [type, data, isNumber, areBytes] : rows) {
        Store(HKEY_CURRENT_USER, WIDE("v"), type, data);
        std::uint32_t number = 42;
        std::uint32_t expected = 0;
        std::memcpy(&expected, data.data(), std::min<std::size_t>(data.size(), 4));
        EXPECT_EQ(GetRegDword(HKEY_CURRENT_USER, KEY, "sub", "v", number), isNumber);
        EXPECT_EQ(number, isNumber ? expected : 42u);
        char buffer[5] = {};
        EXPECT_EQ(GetRegBinary(CURRENT_USER, KEY, "sub", "v", buffer, sizeof(buffer)), areBytes);
        EXPECT_TRUE(!areBytes || std::memcmp(buffer, data.data(), data.size()) == 0);
    }
}

TEST_F(RegistryValues, RefuseArgumentsThatNameNothing)
{
    const std::tuple<HKEY, const char*, const char*> rows[] = {{nullptr, KEY, "v"},
                                                               {HKEY_CURRENT_USER, nullptr, "v"},
                                                               {HKEY_CURRENT_USER, "", "v"},
                                                               {HKEY_CURRENT_USER, KEY, nullptr},
                                                               {HKEY_CURRENT_USER, KEY, ""}};
    for (const auto& [root, key, name] : rows) {
        const RegistryRoot selector = root != nullptr ? CURRENT_USER : NO_ROOT;
        CString text("before");
        std::uint32_t number = 42;
        char byte = 'x';
        EXPECT_FALSE(SetRegString(root, key, "sub", name, "x"));
        EXPECT_FALSE(SetRegBinary(selector, key, "sub", name, &byte, 1));
        EXPECT_FALSE(GetRegString(root, key, "sub", name, text));
        EXPECT_FALSE(GetRegDword(root, key, "sub", name, number));
        EXPECT_FALSE(GetRegBinary(selector, key, "sub", name, &byte, 1));
        const bool defaultValue = root != nullptr && key == KEY && name != nullptr;
        EXPECT_EQ(SetRegDword(selector, key, "sub", name, 1), defaultValue);
        EXPECT_EQ(GetOrCreateRegDword(selector, key, "sub", name, number), defaultValue);
        EXPECT_STREQ(text.CStr(), "before");
        EXPECT_EQ(number, 42u);
        EXPECT_EQ(HasKey(HKEY_CURRENT_USER, Key::TESTS), defaultValue);
    }
}

TEST_F(RegistryValues, FallBackToTheSecondRoot)
{
    // The key of the first attempt, or null where the functions without fallback fail; the one that is
    // written; whether the machine's and the user's are read.
    const std::tuple<RegistryRoot, HKEY, HKEY, bool, bool> rows[] = {
        {RegistryRoot::LocalMachine, HKEY_LOCAL_MACHINE, HKEY_LOCAL_MACHINE, true, false},
        {CURRENT_USER, HKEY_CURRENT_USER, HKEY_CURRENT_USER, false, true},
        {RegistryRoot::CurrentUserThenLocalMachine, HKEY_CURRENT_USER, HKEY_CURRENT_USER, true, true},
        {ONLY_FALLBACK, nullptr, HKEY_CURRENT_USER, false, true},
        {static_cast<RegistryRoot>(4), nullptr, nullptr, false, false},
        {NO_ROOT, nullptr, nullptr, false, false},
    };
    for (const auto& [selector, first, writes, machineIsRead, userIsRead] : rows) {
        const bool plain = first != nullptr;
        Clean();
        EXPECT_EQ(RootKeyOf(selector), first);
        EXPECT_EQ(SetRegStringFallback(selector, KEY, "sub", "v", "x"), writes != nullptr);
        EXPECT_EQ(SetRegDword(selector, KEY, "sub", "n", 1), plain);
        EXPECT_EQ(SetRegBinary(selector, KEY, "sub", "b", "x", 1), plain);
        char byte = 0;
        EXPECT_EQ(GetRegBinary(selector, KEY, "sub", "b", &byte, 1), plain);
        for (auto* const root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
            EXPECT_EQ(Stored(root, WIDE("v")).has_value(), writes == root);
            EXPECT_EQ(Stored(root, WIDE("n")).has_value(), first == root);
            EXPECT_EQ(Stored(root, WIDE("b")).has_value(), first == root);
        }
        for (auto* const root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
            Clean();
            Store(root, WIDE("text"), REG_SZ, TerminatedBytesOf(WIDE("x")));
            Store(root, WIDE("number"), REG_DWORD, "\4\3\2\1");
            CString text;
            std::uint32_t number = 0;
            const bool isRead = root == HKEY_CURRENT_USER ? userIsRead : machineIsRead;
            EXPECT_EQ(GetRegStringFallback(selector, KEY, "sub", "text", text), isRead);
            EXPECT_EQ(GetRegDwordFallback(selector, KEY, "sub", "number", number), isRead);
            EXPECT_EQ(number, isRead ? 0x01020304u : 0u);
        }
    }
}

TEST_F(RegistryValues, AreCreatedWhenMissing)
{
    const std::tuple<RegistryRoot, const char*, bool, std::uint32_t> rows[] = {
        {CURRENT_USER, "v", true, 7},    {CURRENT_USER, "v", true, 7},  {CURRENT_USER, "text", true, 9},
        {CURRENT_USER, "text", true, 9}, {ONLY_FALLBACK, "v", true, 7}, {ONLY_FALLBACK, "absent", false, 9},
    };
    Store(HKEY_CURRENT_USER, WIDE("text"), REG_SZ, ""); // another type is missing too
    std::uint32_t number = 7;
    for (const auto& [root, name, found, expected] : rows) {
        EXPECT_EQ(GetOrCreateRegDword(root, KEY, "sub", name, number), found) << name;
        EXPECT_EQ(number, expected);
        number += 2;
    }
}

TEST_F(RegistryValues, AreWholeOrFailWithoutMemory)
{
    const CString longText("a text that takes a block of its own, as every part of the path does");
    const std::string longKey =
        std::string(KEY) + '\\' + std::string(200, 'a') + '\\' + std::string(200, 'b');
    const CString longPath = RegistryKeyPath(longKey.c_str(), std::string(200, 'c').c_str());
    FailingInTurn writing("SetRegString");
    while (writing.Next()) {
        const TraceCapture trace;
        Clean();
        bool written = false;
        EXPECT_TRUE(writing.Try([&] {
            written = SetRegString(HKEY_CURRENT_USER, longKey.c_str(), longPath.CStr() + longKey.size() + 1,
                                   "v", longText);
        }));
        const Key key(HKEY_CURRENT_USER, CWideString(longPath).c_str(), KEY_READ);
        EXPECT_EQ(GetValue(key, WIDE("v")).has_value(), written);
        const Key above(HKEY_CURRENT_USER, CWideString(longKey.c_str()).c_str(), KEY_READ);
        EXPECT_FALSE(GetValue(above, WIDE("v"))); // as a path that was cut would have it
    }
    EXPECT_TRUE(SetRegString(HKEY_CURRENT_USER, KEY, "sub", "text", longText));
    FailingInTurn reading("GetRegString");
    while (reading.Next()) {
        const TraceCapture trace;
        CString text("before");
        bool read = false;
        EXPECT_TRUE(reading.Try([&] { read = GetRegString(HKEY_CURRENT_USER, KEY, "sub", "text", text); }));
        EXPECT_EQ(text, read ? longText : CString());
    }
    FailingInTurn numbers("GetOrCreateRegDword");
    while (numbers.Next()) {
        const TraceCapture trace;
        std::uint32_t number = 42;
        bool done = false;
        Clean();
        EXPECT_TRUE(numbers.Try([&] { done = GetOrCreateRegDword(CURRENT_USER, KEY, "sub", "v", number); }));
        EXPECT_EQ(Stored(HKEY_CURRENT_USER, WIDE("v")).has_value(), done);
    }
}

} // namespace
} // namespace Plinth
