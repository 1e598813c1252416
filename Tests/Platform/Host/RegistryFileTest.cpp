// The registry's file: its form, what becomes of damaged ones and of changes that cannot be saved, what
// others do to it.
#include "Platform/Host/Control.h"
#include "Platform/Host/RegistryText.h"
#include "Platform/Host/Utf.h"
#include "Tests/Platform/RegistrySample.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace {

using namespace Platform::Host;

class RegistryFile : public testing::Test {
protected:
    RegistryFile() { SetRegistryFile(file_); }
    ~RegistryFile() override { SetRegistryFile(""); }

    [[nodiscard]] Bytes Content() const
    {
        std::ifstream file(file_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    void Put(const Bytes& content) const { std::ofstream(file_, std::ios::binary) << content; }

    ScratchFolder scratch_;
    const std::filesystem::path file_ = scratch_.Path() / "registry.reg";
};

// The values of the key K as a file has them, or the line of its fault.
std::string Read(const Bytes& bytes)
{
    RegistryKey top;
    RegistryTextFault fault;
    if (!ReadRegistryText(bytes, top, fault)) {
        return "line " + std::to_string(fault.line);
    }
    const RegistryKey* const key = FindKey(top, {u"HKEY_CURRENT_USER", u"K"});
    std::string result;
    for (const auto& [name, value] : key != nullptr ? key->values : RegistryKey().values) {
        result += ToUtf8(name) + '=' + std::to_string(value.type) + ':' +
                  Bytes(value.data.begin(), value.data.end()) + ' ';
    }
    return result;
}

// What people and older tools write: values of the key K, or the line of the fault.
TEST(RegistryText, IsReadAsTheToolsDoOrRefused)
{
    using namespace std::string_literals;
    const Bytes header = "Windows Registry Editor Version 5.00\n";
    const Bytes key = header + "[HKEY_CURRENT_USER\\K]\n";
    const Bytes older = "REGEDIT4\n[HKEY_CURRENT_USER\\K]\n";
    const std::pair<Bytes, Bytes> rows[] = {
        // encodings, headers, line ends
        {key + "\"a\"=hex:41", "a=3:A "},
        {"\xEF\xBB\xBF" + key + "\"\xC3\xA4\"=hex:41", "\xC3\xA4=3:A "},
        {BytesOf(u"\uFEFFWindows Registry Editor Version 5.00\r[HKEY_CURRENT_USER\\K]\r\"\u00E4\"=hex:41"),
         "\xC3\xA4=3:A "},
        {older + "\"\xE4\"=hex:41", "\xC3\xA4=3:A "},
        {key + "\"a\"=hex:41\r\r\n\n\"b\"=hex:42\r", "a=3:A b=3:B "},
        {header, ""},
        {"", "line 1"},
        {"\n" + key, "line 1"},
        {"Windows Registry Editor Version 5.001\n", "line 1"},
        {"\xEF\xBB\xBF", "line 1"},
        {key + ";\n\"\xE4\"=hex:41", "line 4"},
        {BytesOf(u"\uFEFFREGEDIT4\n\n") + "x", "line 3"},
        // keys
        {key + "\"a\"=hex:41\n[hkey_current_user\\k\\] ; again\n@=hex:42", "=3:B a=3:A "},
        {header + "\n [HKEY_CURRENT_USER\\\\K\\a]b]\n\n[HKEY_CURRENT_USER\\K];\n\"a\"=hex:41", "a=3:A "},
        {key + "\"a\"=hex:41\n[-HKEY_CURRENT_USER\\K]\n[-HKEY_CURRENT_USER\\none\\x]", ""},
        {key + "[-HKEY_CURRENT_USER\\K\\x]\n\"a\"=hex:41", "line 4"},
        {header + "[-HKEY_CURRENT_USER]", "line 2"},
        {header + "[HKCU\\K]", "line 2"},
        {header + "[\\HKEY_CURRENT_USER\\K]", "line 2"},
        {header + "[HKEY_CURRENT_USER\\K", "line 2"},
        {header + "[]", "line 2"},
        {header + "[HKEY_CURRENT_USER\\K] x", "line 2"},
        {header + "[HKEY_CURRENT_USER\\" + Bytes(256, 'k') + "]", "line 2"},
        {header + "[HKEY_CURRENT_USER\\K\0]"s, "line 2"},
        // values
        {header + "\"a\"=hex:41", "line 2"},
        {key + R"(  "a" = "x\\\"\q" ; comment)", "a=1:x\0\\\0\"\0q\0\0\0 "s},
        {key + "\"a\"=\"x\"\n\"A\"=DWORD: 2a ;\n\"a\"=dword:00000042", "a=4:B\0\0\0 "s},
        {key + "\"a\"=hex:41\n\"b\"=hex:42\n\"A\"=-", "b=3:B "},
        {key + "\"\"=hex:41\n@=-", ""},
        {key + "\"" + Bytes(16383, 'a') + "\"=-", ""},
        {key + "\"" + Bytes(16384, 'a') + "\"=-", "line 3"},
        {key + "a=hex:41", "line 3"},
        {key + "\"a\":hex:41", "line 3"},
        {key + "\"a=hex:41", "line 3"},
        {key + "\"a\"=", "line 3"},
        {key + "\"a\"=x", "line 3"},
        {key + R"("a"="x)", "line 3"},
        {key + R"("a"="x\)", "line 3"},
        {key + "\"a\"=\"x\0\""s, "line 3"},
        {key + "\"a\\\0\"=hex:"s, "line 3"},
        {key + R"("a"="x" y)", "line 3"},
        {key + "\"a\"=- y", "line 3"},
        {key + "\"a\"=dword:", "line 3"},
        {key + "\"a\"=dword:123456789", "line 3"},
        // bytes
        {key + "\"a\"=HEX(A0):41, 4 ,\\ ; more\n\n;\n  43,\n\"b\"=hex:", "a=160:A\x04"
                                                                         "C b=3: "},
        {key + "\"a\"=hex:\\\n41\n\"b\"=hex(00000002):42", "a=3:A b=2:B "},
        {key + "\"a\"=hex():41", "line 3"},
        {key + "\"a\"=hex(123456789):41", "line 3"},
        {key + "\"a\"=hex(1:41", "line 3"},
        {key + "\"a\"=hex41", "line 3"},
        {key + "\"a\"=hex:412", "line 3"},
        {key + "\"a\"=hex:,41", "line 3"},
        {key + "\"a\"=hex:41,,42", "line 3"},
        {key + "\"a\"=hex:41 42", "line 3"},
        {key + "\"a\"=hex:41\\\n,42", "line 3"},
        {key + "\"a\"=hex:41,\\ x\n42", "line 3"},
        {key + "\"a\"=hex:41,\\\n;\n", "line 4"},
        // the older form's texts
        {older + "\"a\"=hex(2):41,e4,00\n\"b\"=hex(7):41,0,0\n\"c\"=hex(1):42\n\"d\"=hex:41\n\"e\"=hex(2):",
         "a=2:A\0\xE4\0\0\0 b=7:A\0\0\0\0\0 c=1:B\0\0\0 d=3:A e=2: "s},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(Read(text), expected) << text;
    }
}

TEST(RegistryText, KeysLieUpTo512Deep)
{
    for (const auto& [depth, expected] :
         {std::pair(512, std::string()), std::pair(513, std::string("line 2"))}) {
        Bytes text = "REGEDIT4\n[HKEY_USERS";
        for (int i = 0; i < depth; ++i) {
            text += "\\k";
        }
        EXPECT_EQ(Read(text + "]"), expected) << depth;
    }
}

TEST_F(RegistryFile, HasTheFormOfThePlatformsTool)
{
    const Bytes lossyForTheTool[] = {"",
                                     "a",
                                     Bytes("a\0b\0", 4),
                                     Bytes("a\0\0\0b\0\0\0", 8),
                                     Bytes("a\0\0\0\0\0", 6),
                                     Bytes("\n\0\0\0", 4),
                                     Bytes("a\0\0\0b", 5)};
    for (const RegistrySampleValue& value : RegistrySample()) {
        const Key tests(HKEY_CURRENT_USER, Key::TESTS, KEY_ALL_ACCESS, true);
        SetValue(Key(tests, value.key, KEY_ALL_ACCESS, true), value.name, value.type, value.data);
    }
    std::ifstream sample(BuiltProgram("RegistrySample.reg"), std::ios::binary);
    EXPECT_EQ(Content(), Bytes(std::istreambuf_iterator<char>(sample), {}));

    const Key key(HKEY_USERS, u"Odd", KEY_ALL_ACCESS, true);
    for (const Bytes& data : lossyForTheTool) {
        for (const DWORD type : {REG_SZ, REG_DWORD, REG_EXPAND_SZ}) {
            EXPECT_EQ(Call([&] {
                          return RegSetValueExW(key, u"odd", 0, type,
                                                reinterpret_cast<const BYTE*>((data + "xxxx").data()),
                                                static_cast<DWORD>(data.size()));
                      }),
                      ERROR_SUCCESS);
            SetRegistryFile(file_); // read again
            EXPECT_EQ(GetValue(Key(HKEY_USERS, u"odd", KEY_READ), u"odd"), std::pair(type, data));
        }
    }
}

TEST_F(RegistryFile, IsReadAgainWhenAnotherHasTakenItsPlace)
{
    const Bytes text = "REGEDIT4\n[HKEY_CURRENT_USER\\K\\B]\n\"v\"=hex:";
    Put(text + "41");
    const Key key(HKEY_CURRENT_USER, u"k\\b", KEY_ALL_ACCESS);
    EXPECT_EQ(GetValue(key, u"v"), std::pair(REG_BINARY, Bytes("A")));
    Put(text + "42,43");
    EXPECT_EQ(GetValue(key, u"v"), std::pair(REG_BINARY, Bytes("BC")));
    std::ofstream(scratch_.Path() / "other") << text + "44,45";
    std::filesystem::rename(scratch_.Path() / "other", file_);
    EXPECT_EQ(GetValue(key, u"v"), std::pair(REG_BINARY, Bytes("DE")));
    SetValue(key, u"w", REG_BINARY, "1"); // the other's value stays
    SetRegistryFile(file_);
    EXPECT_EQ(GetValue(Key(HKEY_CURRENT_USER, u"K\\B", KEY_READ), u"v"), std::pair(REG_BINARY, Bytes("DE")));

    const Key gone(HKEY_CURRENT_USER, u"k\\b", KEY_ALL_ACCESS);
    std::filesystem::remove(file_);
    EXPECT_EQ(SetValue(gone, u"v", REG_BINARY, "1"), ERROR_KEY_DELETED);
    EXPECT_EQ(Key(HKEY_CURRENT_USER, u"k", KEY_READ).Error(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Key(HKEY_CURRENT_USER, nullptr, KEY_READ).Error(), ERROR_SUCCESS);
}

TEST_F(RegistryFile, IsNeverOverwrittenWhenDamaged)
{
    Key open(HKEY_CURRENT_USER, u"k", KEY_ALL_ACCESS, true);
    const Bytes damaged = Content() + "?";
    Put(damaged);
    testing::internal::CaptureStderr();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(SetValue(open, u"v", REG_BINARY, "1"), ERROR_BADDB);
        EXPECT_FALSE(GetValue(open, u"v"));
        EXPECT_EQ(Key(HKEY_CURRENT_USER, u"k", KEY_READ).Error(), ERROR_BADDB);
        EXPECT_EQ(Key(HKEY_CURRENT_USER, u"new", KEY_READ, true).Error(), ERROR_BADDB);
        EXPECT_EQ(Call([&] { return RegDeleteValueW(open, u"v"); }), ERROR_BADDB);
        EXPECT_EQ(Call([&] { return RegDeleteTreeW(HKEY_CURRENT_USER, nullptr); }), ERROR_BADDB);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              file_.native() + ":5: damaged registry: half a character at the end\n");
    EXPECT_EQ(Content(), damaged);
    Put(damaged.substr(0, damaged.size() - 1));
    EXPECT_EQ(SetValue(open, u"v", REG_BINARY, "1"), ERROR_SUCCESS);
}

// What is in the way: a folder in the place of the new file, of the lock, of the file itself; a file in the
// place of the folder.
TEST_F(RegistryFile, IsWholeAndTheChangeUndoneWhenItCannotBeSaved)
{
    const std::pair<const char*, DWORD> rows[] = {{"registry.reg.new", ERROR_ACCESS_DENIED},
                                                  {"registry.reg.lock", ERROR_ACCESS_DENIED}};
    for (const auto& [obstacle, error] : rows) {
        SetRegistryFile(file_);
        const Key key(HKEY_CURRENT_USER, u"k", KEY_ALL_ACCESS, true);
        SetValue(key, u"v", REG_BINARY, "before");
        const Bytes before = Content();
        std::filesystem::remove(scratch_.Path() / obstacle);
        std::filesystem::create_directory(scratch_.Path() / obstacle);
        EXPECT_EQ(SetValue(key, u"v", REG_BINARY, "after"), error) << obstacle;
        EXPECT_EQ(Key(key, u"below", KEY_READ, true).Error(), error) << obstacle;
        EXPECT_EQ(Call([&] { return RegDeleteTreeW(HKEY_CURRENT_USER, u"k"); }), error) << obstacle;
        EXPECT_EQ(Key(HKEY_CURRENT_USER, u"k", KEY_READ, true).Disposition(), REG_OPENED_EXISTING_KEY);
        EXPECT_EQ(GetValue(key, u"v"), std::pair(REG_BINARY, Bytes("before"))) << obstacle;
        EXPECT_EQ(Content(), before);
        std::filesystem::remove(scratch_.Path() / obstacle);
    }
    std::filesystem::remove(file_);
    std::filesystem::create_directory(file_);
    EXPECT_EQ(Key(HKEY_CURRENT_USER, u"k", KEY_READ, true).Error(), ERROR_ACCESS_DENIED);
    SetRegistryFile("/dev/null");
    EXPECT_EQ(Key(HKEY_CURRENT_USER, u"k", KEY_READ).Error(), ERROR_ACCESS_DENIED);
    SetRegistryFile(file_ / "made" / "with it" / "registry.reg");
    EXPECT_EQ(Key(HKEY_CURRENT_USER, u"k", KEY_READ, true).Error(), ERROR_SUCCESS);
    SetRegistryFile(file_ / "made/with it/registry.reg/in a file");
    EXPECT_EQ(Key(HKEY_CURRENT_USER, u"k", KEY_READ).Error(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Key(HKEY_CURRENT_USER, u"k", KEY_READ, true).Error(), ERROR_PATH_NOT_FOUND);
}

TEST_F(RegistryFile, IsWholeWhenWritingItBreaksOff)
{
    const Key tests(HKEY_CURRENT_USER, Key::TESTS, KEY_ALL_ACCESS, true);
    SetValue(Key(tests, u"Shared", KEY_ALL_ACCESS, true), u"large", REG_BINARY, Bytes(2000, 'x'));
    const Bytes before = Content();
    // A shell that lets its programs write 512 bytes to a file.
    const StartedProcess writer({.program = u"Z:\\bin\\sh",
                                 .commandLine = u"sh -c \"trap '' XFSZ; ulimit -f 1; exec \\\"$0\\\"\" \"" +
                                                FromHost(BuiltProgram("RegistryWriter.exe").native()) +
                                                u"\""});
    EXPECT_EQ(WaitForSingleObject(writer.Handle(), 60000), WAIT_OBJECT_0);
    EXPECT_EQ(writer.ExitCode(), 20u);
    EXPECT_EQ(Content(), before);
    EXPECT_FALSE(std::filesystem::exists(file_.native() + ".new"));
}

TEST_F(RegistryFile, LimitsOfKeysAreThePlatforms)
{
    std::u16string path = u"k";
    for (int i = 1; i < 512; ++i) {
        path += u"\\k";
    }
    const Key deepest(HKEY_CURRENT_USER, path.c_str(), KEY_ALL_ACCESS, true);
    EXPECT_EQ(deepest.Error(), ERROR_SUCCESS);
    EXPECT_EQ(Key(deepest, u"k", KEY_READ, true).Error(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Key(deepest, u"k", KEY_READ).Error(), ERROR_FILE_NOT_FOUND);
    SetRegistryFile(file_);
    EXPECT_EQ(Key(HKEY_CURRENT_USER, path.c_str(), KEY_READ).Error(), ERROR_SUCCESS);
    EXPECT_EQ(Key(HKEY_CURRENT_USER, std::u16string(256, u'k').c_str(), KEY_READ, true).Error(),
              ERROR_INVALID_PARAMETER);
    for (const char16_t* name : {u"line\nend", u"line\rend"}) {
        EXPECT_EQ(Key(HKEY_CURRENT_USER, name, KEY_READ, true).Error(), ERROR_INVALID_PARAMETER);
    }
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"a", 0, nullptr, 1, KEY_READ, nullptr, &key, nullptr),
              LSTATUS{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"a", 0, nullptr, 0, KEY_READ, nullptr, nullptr, nullptr),
              LSTATUS{ERROR_INVALID_PARAMETER});
}

TEST_F(RegistryFile, ForeignHandlesAreRefused)
{
    const StartedProcess process({.program = ToPlatform(BuiltProgram("RegistryWriter.exe"))});
    auto* const foreign = static_cast<HKEY>(process.Handle());
    EXPECT_EQ(Call([&] { return RegCloseKey(foreign); }), ERROR_INVALID_HANDLE);
    EXPECT_EQ(Key(foreign, nullptr, KEY_READ).Error(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(WaitForSingleObject(process.Handle(), 20000), WAIT_OBJECT_0);
    EXPECT_NE(process.ExitCode(), STILL_ACTIVE);
}

// A variable of a test's environment.
class Variable {
public:
    Variable(const char* name, const std::string& value) : name_(name)
    {
        const char* const before = std::getenv(name);
        before_ = before != nullptr ? std::optional<std::string>(before) : std::nullopt;
        setenv(name, value.c_str(), 1);
    }
    ~Variable()
    {
        if (before_) {
            setenv(name_, before_->c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* name_;
    std::optional<std::string> before_;
};

TEST(RegistryPlace, IsTheUsersDataFolderOrInMemory)
{
    const ScratchFolder scratch;
    const std::string root = scratch.Path();
    struct Row {
        std::string dataFolder, home;
        const char* file; // below the scratch folder; null: none
    };
    const Row rows[] = {
        {root + "/data", root + "/home", "data/brenvault/registry.reg"},
        {"relative", root + "/home", "home/.local/share/brenvault/registry.reg"},
        {"", root + "/home", "home/.local/share/brenvault/registry.reg"},
        {"", "", nullptr},
    };
    for (const Row& row : rows) {
        const Variable dataFolder("XDG_DATA_HOME", row.dataFolder);
        const Variable home("HOME", row.home);
        SetRegistryFile(std::nullopt);
        if (std::getenv("PLATFORM_HOST_REGISTRY") != nullptr) {
            SetRegistryFile("");
            GTEST_SKIP() << "the environment says where the registry is";
        }
        EXPECT_EQ(Key(HKEY_CURRENT_USER, u"k", KEY_READ, true).Disposition(), REG_CREATED_NEW_KEY);
        EXPECT_EQ(!std::filesystem::is_empty(root), row.file != nullptr);
        EXPECT_TRUE(row.file == nullptr || std::filesystem::exists(scratch.Path() / row.file)) << row.file;
        SetRegistryFile("");
        for (const auto& entry : std::filesystem::directory_iterator(root)) {
            std::filesystem::remove_all(entry);
        }
    }
    EXPECT_STREQ(std::getenv("PLATFORM_HOST_REGISTRY"), ""); // for what is started
    EXPECT_EQ(Key(HKEY_CURRENT_USER, u"k", KEY_READ).Error(), ERROR_FILE_NOT_FOUND);
}

} // namespace
