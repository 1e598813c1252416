#include "Plinth/Config/RegistryValues.h"
#include "Plinth/Text/CWideString.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/FailingInTurn.h"
#include "Tests/Support/RegistryKey.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace Plinth {
namespace {

constexpr auto LOCAL_MACHINE = RegistryRoot::LocalMachine;
constexpr auto CURRENT_USER = RegistryRoot::CurrentUser;
constexpr auto BOTH = RegistryRoot::CurrentUserThenLocalMachine;
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

using TypeAndData = std::pair<DWORD, Bytes>;

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
    EXPECT_TRUE(SetRegString(HKEY_CURRENT_USER, KEY, "sub", "text",
                             "Gr\xC3\xBC\xC3\x9F"
                             "e"));
    EXPECT_TRUE(SetRegString(HKEY_CURRENT_USER, "Software\\Brenvault Tests\\", "sub", "empty", ""));
    EXPECT_TRUE(SetRegDword(CURRENT_USER, KEY, "sub", "number", 0x01020304));
    EXPECT_TRUE(SetRegDword(CURRENT_USER, "Software\\Brenvault Tests\\sub", "", "", 7));
    EXPECT_TRUE(SetRegBinary(CURRENT_USER, "SOFTWARE\\brenvault tests\\sub", nullptr, "bytes", data, 3));
    EXPECT_TRUE(SetRegBinary(CURRENT_USER, KEY, "sub", "nothing", nullptr, 0));
    EXPECT_EQ(Stored(HKEY_CURRENT_USER, WIDE("text")),
              (TypeAndData{REG_SZ, TerminatedBytesOf(WIDE("Gr\u00FC\u00DFe"))}));
    EXPECT_EQ(Stored(HKEY_CURRENT_USER, WIDE("empty")), (TypeAndData{REG_SZ, Bytes(2, '\0')}));
    EXPECT_EQ(Stored(HKEY_CURRENT_USER, WIDE("number")), (TypeAndData{REG_DWORD, "\4\3\2\1"}));
    EXPECT_EQ(Stored(HKEY_CURRENT_USER, WIDE("")), (TypeAndData{REG_DWORD, Bytes("\7\0\0\0", 4)}));
    EXPECT_EQ(Stored(HKEY_CURRENT_USER, WIDE("bytes")), (TypeAndData{REG_BINARY, Bytes("\0\1\xFF", 3)}));
    EXPECT_EQ(Stored(HKEY_CURRENT_USER, WIDE("nothing")), (TypeAndData{REG_BINARY, ""}));
    EXPECT_FALSE(HasKey(HKEY_LOCAL_MACHINE, Key::TESTS));
}

TEST_F(RegistryValues, AreReadAsTextsWhenTheyAre)
{
    const WideText longest(1022, 'x');
    const Bytes longestBytes = BytesOf(longest) + Bytes(2, '\0');
    struct Row {
        const char* name;
        DWORD type;
        Bytes data;
        const char* text; // null: it is none
    };
    const std::string longestText(1022, 'x');
    const std::string unterminated(1023, 'x');
    const Row rows[] = {
        {"whole", REG_SZ, TerminatedBytesOf(WIDE("\u20ACx")), "\xE2\x82\xACx"},
        {"without terminator", REG_SZ, BytesOf(WIDE("ab")), "ab"},
        {"a zero inside", REG_SZ, TerminatedBytesOf({WIDE("a\0b"), 3}), "a"},
        {"half a character", REG_SZ, BytesOf(WIDE("ab")) + "c", "ab"},
        {"half of one", REG_SZ, "a", ""},
        {"nothing", REG_SZ, "", ""},
        {"1022 characters", REG_SZ, longestBytes, longestText.c_str()},
        {"1023 without terminator", REG_SZ, BytesOf(longest) + "x" + Bytes(1, '\0'), unterminated.c_str()},
        {"1023 characters", REG_SZ, longestBytes + Bytes(2, '\0'), nullptr},
        {"64 KiB", REG_SZ, Bytes(65536, 'x'), nullptr},
        {"to be expanded", REG_EXPAND_SZ, TerminatedBytesOf(WIDE("a")), nullptr},
        {"several", REG_MULTI_SZ, TerminatedBytesOf({WIDE("a\0"), 2}), nullptr},
        {"number", REG_DWORD, Bytes(4, 1), nullptr},
        {"bytes", REG_BINARY, TerminatedBytesOf(WIDE("a")), nullptr},
        {"no type", REG_NONE, "", nullptr},
    };
    for (const Row& row : rows) {
        Store(HKEY_CURRENT_USER, WIDE("v"), row.type, row.data);
        CString text("what was there before");
        EXPECT_EQ(GetRegString(HKEY_CURRENT_USER, KEY, "sub", "V", text), row.text != nullptr) << row.name;
        EXPECT_STREQ(text.CStr(), row.text != nullptr ? row.text : "") << row.name;
        text = "before";
        EXPECT_EQ(GetRegStringFallback(CURRENT_USER, KEY, "sub", "v", text), row.text != nullptr) << row.name;
        EXPECT_STREQ(text.CStr(), row.text != nullptr ? row.text : "") << row.name;
    }
    CString text("before");
    EXPECT_FALSE(GetRegString(HKEY_CURRENT_USER, KEY, "sub", "absent", text));
    EXPECT_STREQ(text.CStr(), "");
    text = "before";
    EXPECT_FALSE(GetRegString(HKEY_CURRENT_USER, KEY, "no such key", "v", text));
    EXPECT_STREQ(text.CStr(), "");
}

TEST_F(RegistryValues, AreReadAsNumbersAndBytesWhenTheyAre)
{
    struct Row {
        DWORD type;
        Bytes data;
        bool number;
        bool bytes;
    };
    const Row rows[] = {
        {REG_DWORD, "\4\3\2\1", true, false},
        {REG_DWORD, "\4", true, false},
        {REG_DWORD, "", true, false},
        {REG_DWORD, Bytes(5, 1), false, false},
        {REG_BINARY, "\4\3\2\1", false, true},
        {REG_BINARY, "", false, true},
        {REG_BINARY, Bytes(5, 1), false, true},
        {REG_BINARY, Bytes(6, 1), false, false},
        {REG_SZ, TerminatedBytesOf(WIDE("1")), false, false},
    };
    for (const Row& row : rows) {
        Store(HKEY_CURRENT_USER, WIDE("v"), row.type, row.data);
        std::uint32_t number = 42;
        std::uint32_t expected = 0;
        std::memcpy(&expected, row.data.data(), std::min<std::size_t>(row.data.size(), 4));
        EXPECT_EQ(GetRegDword(HKEY_CURRENT_USER, KEY, "sub", "v", number), row.number);
        EXPECT_EQ(number, row.number ? expected : 42u);
        char buffer[5] = {};
        EXPECT_EQ(GetRegBinary(CURRENT_USER, KEY, "sub", "v", buffer, sizeof(buffer)), row.bytes);
        EXPECT_TRUE(!row.bytes || std::memcmp(buffer, row.data.data(), row.data.size()) == 0);
    }
}

TEST_F(RegistryValues, RefuseArgumentsThatNameNothing)
{
    struct Row {
        bool root;
        const char* key;
        const char* name;
    };
    const Row rows[] = {
        {false, KEY, "v"}, {true, nullptr, "v"}, {true, "", "v"}, {true, KEY, nullptr}, {true, KEY, ""}};
    for (const auto& [hasRoot, key, name] : rows) {
        auto* const root = hasRoot ? HKEY_CURRENT_USER : nullptr;
        const RegistryRoot selector = hasRoot ? CURRENT_USER : NO_ROOT;
        CString text("before");
        std::uint32_t number = 42;
        char byte = 'x';
        EXPECT_FALSE(SetRegString(root, key, "sub", name, "x"));
        EXPECT_FALSE(SetRegStringFallback(selector, key, "sub", name, "x"));
        EXPECT_FALSE(SetRegBinary(selector, key, "sub", name, &byte, 1));
        EXPECT_FALSE(GetRegString(root, key, "sub", name, text));
        EXPECT_FALSE(GetRegStringFallback(selector, key, "sub", name, text));
        EXPECT_FALSE(GetRegDword(root, key, "sub", name, number));
        EXPECT_FALSE(GetRegDwordFallback(selector, key, "sub", name, number));
        EXPECT_FALSE(GetRegBinary(selector, key, "sub", name, &byte, 1));
        const bool defaultValue = hasRoot && key == KEY && name != nullptr;
        EXPECT_EQ(SetRegDword(selector, key, "sub", name, 1), defaultValue);
        EXPECT_EQ(GetOrCreateRegDword(selector, key, "sub", name, number), defaultValue);
        EXPECT_STREQ(text.CStr(), "before");
        EXPECT_EQ(number, 42u);
        EXPECT_EQ(HasKey(HKEY_CURRENT_USER, Key::TESTS), defaultValue);
    }
}

TEST_F(RegistryValues, FallBackToTheSecondRoot)
{
    struct Row {
        RegistryRoot root;
        HKEY key; // of the first attempt
        HKEY writes;
        bool machineIsRead;
        bool userIsRead;
        bool plain; // whether the functions without fallback succeed
    };
    const Row rows[] = {
        {LOCAL_MACHINE, HKEY_LOCAL_MACHINE, HKEY_LOCAL_MACHINE, true, false, true},
        {CURRENT_USER, HKEY_CURRENT_USER, HKEY_CURRENT_USER, false, true, true},
        {BOTH, HKEY_CURRENT_USER, HKEY_CURRENT_USER, true, true, true},
        {ONLY_FALLBACK, nullptr, HKEY_CURRENT_USER, false, true, false},
        {static_cast<RegistryRoot>(4), nullptr, nullptr, false, false, false},
        {NO_ROOT, nullptr, nullptr, false, false, false},
    };
    for (const Row& row : rows) {
        Clean();
        EXPECT_EQ(RootKeyOf(row.root), row.key);
        EXPECT_EQ(SetRegStringFallback(row.root, KEY, "sub", "v", "x"), row.writes != nullptr);
        for (auto* const root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
            EXPECT_EQ(Stored(root, WIDE("v")).has_value(), row.writes == root);
        }
        Clean();
        EXPECT_EQ(SetRegDword(row.root, KEY, "sub", "v", 1), row.plain);
        EXPECT_EQ(SetRegBinary(row.root, KEY, "sub", "b", "x", 1), row.plain);
        char byte = 0;
        EXPECT_EQ(GetRegBinary(row.root, KEY, "sub", "b", &byte, 1), row.plain);
        for (auto* const root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
            Clean();
            Store(root, WIDE("text"), REG_SZ, TerminatedBytesOf(WIDE("x")));
            Store(root, WIDE("number"), REG_DWORD, "\4\3\2\1");
            CString text;
            std::uint32_t number = 0;
            const bool isRead = root == HKEY_CURRENT_USER ? row.userIsRead : row.machineIsRead;
            EXPECT_EQ(GetRegStringFallback(row.root, KEY, "sub", "text", text), isRead);
            EXPECT_EQ(GetRegDwordFallback(row.root, KEY, "sub", "number", number), isRead);
            EXPECT_EQ(number, isRead ? 0x01020304u : 0u);
        }
    }
}

TEST_F(RegistryValues, AreCreatedWhenMissing)
{
    std::uint32_t number = 42;
    EXPECT_TRUE(GetOrCreateRegDword(CURRENT_USER, KEY, "sub", "v", number));
    EXPECT_EQ(number, 42u);
    number = 7;
    EXPECT_TRUE(GetOrCreateRegDword(CURRENT_USER, KEY, "sub", "v", number));
    EXPECT_EQ(number, 42u);
    Store(HKEY_CURRENT_USER, WIDE("v"), REG_SZ, "");
    number = 7;
    EXPECT_TRUE(GetOrCreateRegDword(CURRENT_USER, KEY, "sub", "v", number)); // another type is missing too
    EXPECT_EQ(Stored(HKEY_CURRENT_USER, WIDE("v")), (TypeAndData{REG_DWORD, Bytes("\7\0\0\0", 4)}));
    EXPECT_FALSE(GetOrCreateRegDword(ONLY_FALLBACK, KEY, "sub", "absent", number));
    EXPECT_TRUE(GetOrCreateRegDword(ONLY_FALLBACK, KEY, "sub", "v", number));
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
    FailingInTurn reading("GetRegString");
    while (reading.Next()) {
        const TraceCapture trace;
        CString text("before");
        bool read = false;
        EXPECT_TRUE(reading.Try([&] { read = GetRegString(HKEY_CURRENT_USER, KEY, "sub", "v", text); }));
        EXPECT_EQ(text, read ? longText : CString());
    }
    FailingInTurn numbers("GetOrCreateRegDword");
    while (numbers.Next()) {
        const TraceCapture trace;
        std::uint32_t number = 42;
        bool done = false;
        Clean();
        EXPECT_TRUE(numbers.Try([&] {
            done = GetOrCreateRegDword(CURRENT_USER, "Software\\Brenvault Tests\\sub", "", "v", number);
        }));
        EXPECT_EQ(Stored(HKEY_CURRENT_USER, WIDE("v")).has_value(), done);
    }
}

} // namespace
} // namespace Plinth
