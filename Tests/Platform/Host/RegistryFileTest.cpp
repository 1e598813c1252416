// The registry's file: its form, what becomes of damaged ones and of changes that cannot be saved, what
// others do to it.
#include "Platform/Host/Control.h"
#include "Platform/Host/RegistryText.h"
#include "Platform/Host/Utf.h"
#include "Platform/Host/WholeFile.h"
#include "Tests/Platform/RegistrySample.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

namespace {

using namespace Platform::Host;
using namespace std::literals;

class RegistryFile : public testing::Test {
protected:
    RegistryFile() { SetRegistryFile(file_); }
    ~RegistryFile() override { SetRegistryFile(""); }

    [[nodiscard]] Bytes Content() const { return ReadFile(file_); }
    void Put(const Bytes& content) const { std::ofstream(file_, std::ios::binary) << content; }

    ScratchFolder scratch_;
    const std::filesystem::path file_ = scratch_.Path() / "registry.reg";
};

DWORD Change(const Bytes& data)
{
    return SetValue(HKEY_USERS, u"v", REG_BINARY, data);
}

DWORD Open(HKEY key, LPCWSTR path, bool creates = false)
{
    return Key(key, path, KEY_READ, creates).Error();
}

Bytes Look()
{
    return GetValue(HKEY_USERS, u"v").value_or(std::pair(REG_BINARY, "nothing")).second;
}

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
    const Bytes header = "Windows Registry Editor Version 5.00\n";
    const Bytes key = header + "[HKEY_CURRENT_USER\\K]\n";
    const Bytes older = "REGEDIT4\n[HKEY_CURRENT_USER\\K]\n";
    Bytes deepest = header + "[HKEY_USERS";
    for (int i = 0; i < 512; ++i) {
        deepest += "\\k";
    }
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
        // values
        {key + R"(  "a" = "x\\\"\q" ; comment)", "a=1:x\0\\\0\"\0q\0\0\0 "s},
        {key + "\"a\"=\"x\"\n\"A\"=DWORD: 2a ;\n\"a\"=dword:00000042", "a=4:B\0\0\0 "s},
        {key + "\"a\"=hex:41\n\"b\"=hex:42\n\"A\"=-", "b=3:B "},
        {key + "\"\"=hex:41\n@=-", ""},
        {key + "\"" + Bytes(16383, 'a') + "\"=-", ""},
        {key + "\"" + Bytes(16384, 'a') + "\"=-", "line 3"},
        {header + "[HKEY_CURRENT_USER\\" + Bytes(256, 'k') + "]", "line 2"},
        {header + "[HKEY_CURRENT_USER\\K\0]"s, "line 2"},
        {deepest + "]", ""},
        {deepest + "\\k]", "line 2"},
        {key + "\"a\"=\"x\0\""s, "line 3"},
        {key + "\"a\\\0\"=hex:"s, "line 3"},
        {key + "\"a\"=hex:41\\\n,42", "line 3"},
        {key + "\"a\"=hex:41,\\ x\n42", "line 3"},
        // bytes
        {key + "\"a\"=HEX(A0):41, 4 ,\\ ; more\n\n;\n  43,\n\"b\"=hex:", "a=160:A\x04"
                                                                         "C b=3: "},
        {key + "\"a\"=hex:\\\n41\n\"b\"=hex(00000002):42", "a=3:A b=2:B "},
        {key + "\"a\"=hex:41,\\\n;\n", "line 4"},
        // the older form's texts
        {older + "\"a\"=hex(2):41,e4,00\n\"b\"=hex(7):41,0,0\n\"c\"=hex(1):42\n\"d\"=hex:41\n\"e\"=hex(2):",
         "a=2:A\0\xE4\0\0\0 b=7:A\0\0\0\0\0 c=1:B\0\0\0 d=3:A e=2: "s},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(Read(text), expected) << text;
    }
    // Lines that are refused, with bars between them: of keys, of values.
    std::istringstream keys(R"([-HKEY_CURRENT_USER]|[HKCU\K]|[\HKEY_CURRENT_USER\K]|[HKEY_CURRENT_USER\K|[]|)"
                            R"([HKEY_CURRENT_USER\K] x|"a"=hex:41)");
    for (Bytes line; std::getline(keys, line, '|');) {
        EXPECT_EQ(Read(header + line), "line 2") << line;
    }
    std::istringstream values(
        R"(a=hex:41|"a":hex:41|"a=hex:41|"a"=|"a"=x|"a"="x|"a"="x\|"a"="x" y|"a"=- y|"a"=dword:|)"
        R"("a"=dword:123456789|"a"=hex():41|"a"=hex(123456789):41|"a"=hex(1:41|"a"=hex41|"a"=hex:412|)"
        R"("a"=hex:,41|"a"=hex:41,,42|"a"=hex:41 42)");
    for (Bytes line; std::getline(values, line, '|');) {
        EXPECT_EQ(Read(key + line), "line 3") << line;
    }
}

TEST_F(RegistryFile, HasTheFormOfThePlatformsTool)
{
    const Key tests(HKEY_CURRENT_USER, Key::TESTS, KEY_ALL_ACCESS, true);
    for (const RegistrySampleValue& value : RegistrySample()) {
        SetValue(Key(tests, value.key, KEY_ALL_ACCESS, true), value.name, value.type, value.data);
    }
    EXPECT_EQ(Content(), ReadFile(BuiltProgram("RegistrySample.reg")));
    SetRegistryFile(file_); // read again
    for (const RegistrySampleValue& value : RegistrySample()) {
        EXPECT_EQ(GetValue(Key(tests, value.key, KEY_READ), value.name), std::pair(value.type, value.data));
    }

    for (const Bytes& data :
         {""s, "a"s, "a\0b\0"s, "a\0\0\0b\0\0\0"s, "a\0\0\0\0\0"s, "\n\0\0\0"s, "a\0\0\0b"s}) {
        for (const DWORD type : {REG_SZ, REG_DWORD, REG_EXPAND_SZ}) {
            EXPECT_EQ(SetValue(HKEY_USERS, u"odd", type, data + "xxxx", data.size()), ERROR_SUCCESS);
            SetRegistryFile(file_);
            EXPECT_EQ(GetValue(HKEY_USERS, u"odd"), std::pair(type, data));
        }
    }
}

TEST_F(RegistryFile, IsReadAgainWhenAnotherHasTakenItsPlace)
{
    const Bytes text = "REGEDIT4\n[HKEY_USERS]\n\"v\"=hex:";
    const auto putAt = [&](std::filesystem::file_time_type time, const Bytes& data) {
        Put(text + data);
        std::filesystem::last_write_time(file_, time);
    };
    const auto start = std::filesystem::file_time_type::clock::now();
    putAt(start, "41");
    EXPECT_EQ(Look(), "A");
    putAt(start, "42,43");
    EXPECT_EQ(Look(), "BC");
    putAt(start + 1s, "44,45");
    EXPECT_EQ(Look(), "DE");
    const std::filesystem::path other = scratch_.Path() / "other";
    std::filesystem::rename(file_, other);
    putAt(start + 1s, "46,47");
    EXPECT_EQ(Look(), "FG");
    std::filesystem::rename(other, file_);
    const Key made(HKEY_CURRENT_USER, u"k\\b", KEY_READ, true); // the other's value stays
    SetRegistryFile(file_);
    EXPECT_EQ(Look(), "DE");

    const Key gone(HKEY_CURRENT_USER, u"k\\b", KEY_ALL_ACCESS);
    std::filesystem::remove(file_);
    EXPECT_EQ(SetValue(gone, u"v", REG_BINARY, "1"), ERROR_KEY_DELETED);
    EXPECT_EQ(Open(HKEY_CURRENT_USER, u"k"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Open(HKEY_CURRENT_USER, nullptr), ERROR_SUCCESS);
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
        for (const bool creates : {false, true}) {
            EXPECT_EQ(Open(HKEY_CURRENT_USER, u"new", creates), ERROR_BADDB);
        }
        EXPECT_EQ(Call([&] { return RegDeleteValueW(open, u"v"); }), ERROR_BADDB);
        EXPECT_EQ(Call([&] { return RegDeleteTreeW(HKEY_CURRENT_USER, nullptr); }), ERROR_BADDB);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              file_.native() + ":5: damaged registry: half a character at the end\n");
    EXPECT_EQ(Content(), damaged);
    Put(damaged.substr(0, damaged.size() - 1));
    EXPECT_EQ(SetValue(open, u"v", REG_BINARY, "1"), ERROR_SUCCESS);

    std::filesystem::resize_file(file_, (64 << 20) + 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Change("1"), ERROR_BADDB);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              file_.native() + ":1: damaged registry: more than 64 MiB\n");
}

// What is in the way: a folder in the place of the new file, of the lock, of the file itself; a pipe or
// device there; a file in the place of the folder.
TEST_F(RegistryFile, IsWholeAndTheChangeUndoneWhenItCannotBeSaved)
{
    const DWORD error = ERROR_ACCESS_DENIED;
    for (const char* obstacle : {"registry.reg.new", "registry.reg.lock"}) {
        SetRegistryFile(file_);
        const Key key(HKEY_CURRENT_USER, u"k", KEY_ALL_ACCESS, true);
        SetValue(key, u"v", REG_BINARY, "before");
        const Bytes before = Content();
        std::filesystem::remove(scratch_.Path() / obstacle);
        std::filesystem::create_directory(scratch_.Path() / obstacle);
        EXPECT_EQ(SetValue(key, u"v", REG_BINARY, "after"), error) << obstacle;
        EXPECT_EQ(Open(key, u"below", true), error) << obstacle;
        EXPECT_EQ(Call([&] { return RegDeleteTreeW(HKEY_CURRENT_USER, u"k"); }), error) << obstacle;
        EXPECT_EQ(Key(HKEY_CURRENT_USER, u"k", KEY_READ, true).Disposition(), REG_OPENED_EXISTING_KEY);
        EXPECT_EQ(GetValue(key, u"v"), std::pair(REG_BINARY, Bytes("before"))) << obstacle;
        EXPECT_EQ(Content(), before);
        std::filesystem::remove(scratch_.Path() / obstacle);
    }
    std::filesystem::remove(file_);
    std::filesystem::create_directory(file_);
    const std::filesystem::path pipe = scratch_.Path() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::filesystem::path& inTheWay : {file_, pipe, scratch_.Path() / "none/"}) {
        SetRegistryFile(inTheWay);
        EXPECT_EQ(Change("1"), error) << inTheWay;
    }
    EXPECT_FALSE(std::filesystem::exists(scratch_.Path() / "none"));
    SetRegistryFile("/dev/null");
    EXPECT_EQ(Open(HKEY_CURRENT_USER, u"k"), error);
    SetRegistryFile(file_ / "made" / "with it" / "registry.reg");
    EXPECT_EQ(Open(HKEY_CURRENT_USER, u"k", true), ERROR_SUCCESS);
    SetRegistryFile(file_ / "made/with it/registry.reg/in a file");
    EXPECT_EQ(Open(HKEY_CURRENT_USER, u"k"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Open(HKEY_CURRENT_USER, u"k", true), ERROR_PATH_NOT_FOUND);
}

TEST_F(RegistryFile, KeepsItsModeAndTheLinksToIt)
{
    const std::filesystem::path folder = scratch_.Path();
    std::filesystem::create_symlink("registry.reg", folder / "relative");
    std::filesystem::create_symlink(folder / "relative", folder / "absolute");
    std::ofstream(folder / "registry.reg.new") << Bytes(10000, 'x'); // what a crash left
    std::filesystem::permissions(folder / "registry.reg.new", std::filesystem::perms(0644));
    for (const auto mode : {std::filesystem::perms(0600), std::filesystem::perms(0666)}) {
        SetRegistryFile(folder / "absolute"); // read again
        EXPECT_EQ(Change("1"), ERROR_SUCCESS);
        EXPECT_EQ(std::filesystem::status(file_).permissions(), mode);
        std::filesystem::permissions(file_, std::filesystem::perms(0666));
    }
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "absolute"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "relative"));
    EXPECT_TRUE(std::filesystem::remove(folder / "registry.reg.lock"));
    SetRegistryFile(file_);
    EXPECT_EQ(Look(), "1");

    // In a process that the host lets write what it may alone, as root is not.
    const auto changeAsUser = [&] {
        constexpr uid_t nobody = 65534;
        const bool isUser =
            getuid() != 0 || (chown(folder.c_str(), nobody, nobody) == 0 && setuid(nobody) == 0);
        _exit(isUser ? static_cast<int>(Change("2")) : 99);
    };
    for (const auto& [mode, error] : {std::pair(0444, ERROR_ACCESS_DENIED), std::pair(0666, ERROR_SUCCESS)}) {
        std::filesystem::permissions(file_, std::filesystem::perms(mode));
        EXPECT_EXIT(changeAsUser(), testing::ExitedWithCode(static_cast<int>(error)), "");
        EXPECT_EQ(Look(), error == ERROR_SUCCESS ? "2" : "1");
    }
}

TEST_F(RegistryFile, IsSeenWhileAnotherChangesIt)
{
    EXPECT_EQ(Change("1"), ERROR_SUCCESS);
    std::optional<FileLock> other(std::in_place, file_, 0ms);
    EXPECT_EQ(other->Error(), ERROR_SUCCESS);
    EXPECT_EQ(FileLock(file_, 20ms).Error(), ERROR_SHARING_VIOLATION);
    DWORD error = ERROR_GEN_FAILURE;
    std::thread writer([&] { error = Change("2"); });
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(Look(), "1");
    other.reset();
    writer.join();
    EXPECT_EQ(error, ERROR_SUCCESS);
    EXPECT_EQ(Look(), "2");
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
    EXPECT_EQ(Open(deepest, u"k", true), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Open(deepest, u"k"), ERROR_FILE_NOT_FOUND);
    SetRegistryFile(file_);
    EXPECT_EQ(Open(HKEY_CURRENT_USER, path.c_str()), ERROR_SUCCESS);
    EXPECT_EQ(Open(HKEY_CURRENT_USER, std::u16string(256, u'k').c_str(), true), ERROR_INVALID_PARAMETER);
    for (const char16_t* name : {u"line\nend", u"line\rend"}) {
        EXPECT_EQ(Open(HKEY_CURRENT_USER, name, true), ERROR_INVALID_PARAMETER);
    }
    HKEY key = nullptr;
    for (const auto& [options, result] : {std::pair(DWORD{1}, &key), std::pair(DWORD{0}, PHKEY{nullptr})}) {
        EXPECT_EQ(
            RegCreateKeyExW(HKEY_CURRENT_USER, u"a", 0, nullptr, options, KEY_READ, nullptr, result, nullptr),
            LSTATUS{ERROR_INVALID_PARAMETER});
    }
}

TEST_F(RegistryFile, ForeignHandlesAreRefused)
{
    const StartedProcess process({.program = ToPlatform(BuiltProgram("RegistryWriter.exe"))});
    auto* const foreign = static_cast<HKEY>(process.Handle());
    EXPECT_EQ(Call([&] { return RegCloseKey(foreign); }), ERROR_INVALID_HANDLE);
    EXPECT_EQ(Open(foreign, nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(WaitForSingleObject(process.Handle(), 20000), WAIT_OBJECT_0);
    EXPECT_NE(process.ExitCode(), STILL_ACTIVE);
}

std::string Variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

TEST(RegistryPlace, IsTheUsersDataFolderOrInMemory)
{
    const ScratchFolder scratch;
    const std::string root = scratch.Path();
    SetCurrentDirectoryW(ToPlatform(root).c_str());
    SetRegistryFile(std::nullopt);
    if (std::getenv("PLATFORM_HOST_REGISTRY") != nullptr) {
        SetRegistryFile("");
        GTEST_SKIP() << "the environment says where the registry is";
    }
    const std::string before[] = {Variable("XDG_DATA_HOME"), Variable("HOME")};
    // The two variables, and the file below the scratch folder; "": none.
    const std::string rows[][3] = {
        {root + "/data", root + "/home", "data/brenvault/registry.reg"},
        {"relative", root + "/home", "home/.local/share/brenvault/registry.reg"},
        {"", root + "/home", "home/.local/share/brenvault/registry.reg"},
        {"", "", ""},
        {"", "relative", ""},
    };
    for (const auto& [dataFolder, home, file] : rows) {
        setenv("XDG_DATA_HOME", dataFolder.c_str(), 1);
        setenv("HOME", home.c_str(), 1);
        SetRegistryFile(std::nullopt);
        EXPECT_EQ(Key(HKEY_CURRENT_USER, u"k", KEY_READ, true).Disposition(), REG_CREATED_NEW_KEY);
        EXPECT_EQ(std::filesystem::is_empty(root), file.empty());
        EXPECT_TRUE(std::filesystem::exists(scratch.Path() / file)) << file;
        SetRegistryFile("");
        std::filesystem::remove_all(scratch.Path() / "data");
        std::filesystem::remove_all(scratch.Path() / "home");
    }
    setenv("XDG_DATA_HOME", before[0].c_str(), 1);
    setenv("HOME", before[1].c_str(), 1);
    EXPECT_STREQ(std::getenv("PLATFORM_HOST_REGISTRY"), ""); // for what is started
    EXPECT_EQ(Open(HKEY_CURRENT_USER, u"k"), ERROR_FILE_NOT_FOUND);

    SetRegistryFile("relative");
    const StartedProcess writer({.program = ToPlatform(BuiltProgram("RegistryWriter.exe"))});
    EXPECT_EQ(Change("1"), ERROR_SUCCESS);
    EXPECT_EQ(WaitForSingleObject(writer.Handle(), 60000), WAIT_OBJECT_0);
    EXPECT_EQ(writer.ExitCode(), 0u);
    SetRegistryFile("");
    EXPECT_TRUE(std::filesystem::is_empty(root));
}

} // namespace
