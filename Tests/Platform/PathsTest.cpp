// Current directory, module path and the shell's path functions, as the real platform has them.
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <tuple>

namespace {

constexpr DWORD UNTOUCHED = 77;

// The last error behind a change of the current directory; UNTOUCHED when it went well.
DWORD Enter(const WideText& folder)
{
    SetLastError(UNTOUCHED);
    const BOOL entered = SetCurrentDirectoryW(folder.c_str());
    EXPECT_EQ(entered != FALSE, GetLastError() == UNTOUCHED) << ToUtf8(folder);
    return GetLastError();
}

TEST(Paths, RemoveFileSpecTakesTheLastPart)
{
    const std::tuple<WideText, WideText, BOOL> rows[] = {
        {WIDE("C:\\a\\b.exe"), WIDE("C:\\a"), TRUE},
        {WIDE("C:\\a\\"), WIDE("C:\\a"), TRUE},
        {WIDE("C:\\a"), WIDE("C:\\"), TRUE},
        {WIDE("C:\\"), WIDE("C:\\"), FALSE},
        {WIDE("C:a"), WIDE("C:"), TRUE},
        {WIDE("C:"), WIDE("C:"), FALSE},
        {WIDE("C:\\a\\\\b"), WIDE("C:\\a\\"), TRUE},
        {WIDE("C:/a\\b"), WIDE("C:/a"), TRUE},
        {WIDE("a/b"), WIDE(""), TRUE},
        {WIDE("\\a"), WIDE("\\"), TRUE},
        {WIDE("\\"), WIDE("\\"), FALSE},
        {WIDE("\\\\server\\share\\a"), WIDE("\\\\server\\share"), TRUE},
        {WIDE("\\\\server"), WIDE("\\\\"), TRUE},
        {WIDE("\\\\"), WIDE("\\\\"), FALSE},
        {WIDE("\\\\?\\C:\\a"), WIDE("\\\\?\\C:\\"), TRUE},
        {WIDE("::a"), WIDE(":"), TRUE},
        {WIDE(""), WIDE(""), FALSE},
    };
    for (const auto& [whole, rest, removed] : rows) {
        WideText path = whole;
        SetLastError(UNTOUCHED);
        EXPECT_EQ(PathRemoveFileSpecW(path.data()), removed) << ToUtf8(whole);
        EXPECT_EQ(ToUtf8(path.c_str()), ToUtf8(rest)) << ToUtf8(whole);
        EXPECT_EQ(GetLastError(), UNTOUCHED);
    }
    EXPECT_FALSE(PathRemoveFileSpecW(nullptr));
}

TEST(Paths, AppendJoinsAndResolvesDots)
{
    const WideText rows[][3] = {
        {WIDE("C:\\a"), WIDE("b\\c.exe"), WIDE("C:\\a\\b\\c.exe")},
        {WIDE("C:\\a\\"), WIDE("b"), WIDE("C:\\a\\b")},
        {WIDE("C:\\"), WIDE("b"), WIDE("C:\\b")},
        {WIDE("C:"), WIDE("b"), WIDE("C:\\b")},
        {WIDE("C:\\a"), WIDE("\\b"), WIDE("C:\\a\\b")},
        {WIDE("C:\\a"), WIDE("\\\\b"), WIDE("\\\\b")},
        {WIDE("C:\\a"), WIDE("D:\\b"), WIDE("D:\\b")},
        {WIDE("C:\\a"), WIDE("..\\..\\b"), WIDE("C:\\b")},
        {WIDE("C:\\a\\.\\c"), WIDE("b\\\\d"), WIDE("C:\\a\\c\\b\\\\d")},
        {WIDE("C:\\a"), WIDE(".."), WIDE("C:\\")},
        {WIDE("C:\\a/x"), WIDE("b/"), WIDE("C:\\a/x\\b/")},
        {WIDE("\\\\s\\h"), WIDE("b"), WIDE("\\\\s\\h\\b")},
        {WIDE("C:\\a"), WIDE(""), WIDE("C:\\a")},
        {WIDE(""), WIDE("b"), WIDE("b")},
        {WIDE(""), WIDE(""), WIDE("\\")},
        {WIDE("C:\\a "), WIDE(" b"), WIDE("C:\\a \\ b")},
    };
    for (const auto& [folder, more, result] : rows) {
        WideText path = folder;
        path.resize(MAX_PATH);
        SetLastError(UNTOUCHED);
        EXPECT_TRUE(PathAppendW(path.data(), more.c_str()));
        EXPECT_EQ(ToUtf8(path.c_str()), ToUtf8(result)) << ToUtf8(folder) << " + " << ToUtf8(more);
        EXPECT_EQ(GetLastError(), UNTOUCHED);
    }
}

TEST(Paths, AppendFailsBeyondTheLongestPath)
{
    for (const auto& [more, length] : {std::pair(WIDE("b"), 257), std::pair(WIDE("..\\b"), 254)}) {
        for (int beyond = 0; beyond < 2; ++beyond) {
            WideText path =
                WideText(WIDE("C:\\")) + WideText(static_cast<std::size_t>(length + beyond - 3), 'a');
            path.resize(2000);
            EXPECT_EQ(PathAppendW(path.data(), more) != FALSE, beyond == 0);
            EXPECT_EQ(path[0] == 0, beyond == 1);
        }
    }
    WideText path(WIDE("C:\\a"));
    EXPECT_FALSE(PathAppendW(path.data(), nullptr));
    EXPECT_FALSE(PathAppendW(nullptr, WIDE("a")));
    EXPECT_EQ(ToUtf8(path), "C:\\a");
}

TEST(Paths, TheCurrentDirectoryIsCompletedAndTestedAsItIsSet)
{
    const ScratchFolder scratch;
    const WideText root = ToPlatform(scratch.Path());
    std::filesystem::create_directories(scratch.Path() / WIDE("Inner Folder") / WIDE("\u00dcber"));
    std::ofstream(scratch.Path() / "file") << "x";
    ASSERT_EQ(Enter(root), UNTOUCHED);
    const WideText umlaut = WIDE("\\Inner Folder\\\u00dcber");
    // The current directory afterwards is relative to the scratch folder.
    const std::tuple<WideText, DWORD, WideText> rows[] = {
        {WIDE("Inner Folder"), UNTOUCHED, WIDE("\\Inner Folder")},
        {WIDE("\u00dcber\\"), UNTOUCHED, umlaut},
        {WIDE("..\\..\\INNER folder/.\\\u00fcBER"), UNTOUCHED, WIDE("\\INNER folder\\\u00fcBER")},
        {root, UNTOUCHED, WIDE("")},
        {WIDE("Inner Folder. ."), UNTOUCHED, WIDE("\\Inner Folder")},
        {root + WIDE("\\\\Inner Folder.\\\\\u00dcber"), UNTOUCHED, umlaut},
        {WIDE("missing"), ERROR_FILE_NOT_FOUND, umlaut},
        {WIDE("missing\\folder"), ERROR_PATH_NOT_FOUND, umlaut},
        {root + WIDE("\\file\\"), ERROR_INVALID_NAME, umlaut},
        {root + WIDE("\\file"), ERROR_DIRECTORY, umlaut},
        {root + WIDE("\\file\\x"), ERROR_PATH_NOT_FOUND, umlaut},
        {WIDE("Q:\\"), ERROR_PATH_NOT_FOUND, umlaut},
        {WIDE("a*b"), ERROR_INVALID_NAME, umlaut},
        {WIDE(""), ERROR_INVALID_NAME, umlaut},
        {WideText(WIDE("\\\\?\\")) + root, UNTOUCHED, WIDE("")},
    };
    for (const auto& [folder, error, below] : rows) {
        EXPECT_EQ(Enter(folder), error) << ToUtf8(folder);
        EXPECT_EQ(ToUtf8(OwnFolder()), ToUtf8(root + below)) << ToUtf8(folder);
    }
    const auto length = static_cast<DWORD>(root.size());
    WideText buffer(length + 2, '#');
    SetLastError(UNTOUCHED);
    EXPECT_EQ(GetCurrentDirectoryW(length, buffer.data()), length + 1);
    EXPECT_EQ(GetCurrentDirectoryW(0, nullptr), length + 1);
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(GetCurrentDirectoryW(length + 1, buffer.data()), length);
    EXPECT_EQ(buffer[length], 0);
    EXPECT_EQ(GetLastError(), UNTOUCHED);
    EXPECT_EQ(SetCurrentDirectoryW(nullptr), FALSE);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_NAME);
}

TEST(Paths, ADriveRootKeepsItsBackslash)
{
    const ScratchDrive drive;
    std::filesystem::create_directory(drive.Root() / "folder");
    ASSERT_EQ(Enter(WIDE("X:\\folder")), UNTOUCHED);
    for (const LPCWSTR path : {WIDE(".."), WIDE("\\"), WIDE("X:\\..\\.."), WIDE("X:"), WIDE("folder\\..")}) {
        EXPECT_EQ(Enter(path), UNTOUCHED);
        EXPECT_EQ(ToUtf8(OwnFolder()), "X:\\") << ToUtf8(path);
    }
    ASSERT_EQ(Enter(ToPlatform(std::filesystem::temp_directory_path())), UNTOUCHED);
}

// Both forms of GetModuleFileName, told apart by the buffer.
DWORD ModulePath(HMODULE module, WideText& path, DWORD size)
{
    return GetModuleFileNameW(module, path.data(), size);
}

DWORD ModulePath(HMODULE module, std::string& path, DWORD size)
{
    return GetModuleFileNameA(module, path.data(), size);
}

std::string AsUtf8(const WideText& path)
{
    return ToUtf8(path);
}

std::string AsUtf8(const std::string& path)
{
    return path;
}

template <typename Text>
class ModulePaths : public testing::Test {
};
using Texts = testing::Types<WideText, std::string>;
TYPED_TEST_SUITE(ModulePaths, Texts);

TYPED_TEST(ModulePaths, AreCutToTheirBuffer)
{
    TypeParam path(2000, '#');
    const DWORD length = ModulePath(nullptr, path, 2000);
    ASSERT_GT(length, 4u);
    EXPECT_EQ(path[length], 0);
    path.resize(length);
    WideText wide(2000, '#');
    wide.resize(ModulePath(nullptr, wide, 2000));
    EXPECT_EQ(AsUtf8(path), ToUtf8(wide));
    EXPECT_TRUE(std::filesystem::equivalent(ToNative(wide), BuiltProgram("PlatformTests.exe")));
    for (const DWORD size : {length + 1, length, DWORD{1}}) {
        TypeParam cut(2000, '#');
        SetLastError(UNTOUCHED);
        EXPECT_EQ(ModulePath(nullptr, cut, size), std::min(size, length));
        EXPECT_EQ(GetLastError(), size > length ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER) << size;
        EXPECT_EQ(cut.substr(0, size - 1), path.substr(0, size - 1));
        EXPECT_EQ(cut[size], '#');
    }
    SetLastError(UNTOUCHED);
    EXPECT_EQ(ModulePath(reinterpret_cast<HMODULE>(&path), path, length), 0u);
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
}

} // namespace
