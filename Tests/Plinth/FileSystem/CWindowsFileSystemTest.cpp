#include "Plinth/FileSystem/CWindowsFileSystem.h"
#include "Plinth/Streams/CBufferedStream.h"
#include "Plinth/Streams/CWindowsFileStream.h"
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Plinth/FileSystem/FileTree.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace Plinth {
namespace {

constexpr std::uint32_t READ_EXISTING = MODE_OPEN_EXISTING | MODE_READ | MODE_SHARE_READ;
constexpr std::uint32_t READ_IF_THERE = READ_EXISTING | MODE_MISSING_OK;
constexpr std::uint32_t READ_AND_WRITE = MODE_READ | MODE_WRITE;

using Paths = std::vector<std::string>;

// A path that leads to the name and is longer than any buffer on the stack, in bytes and in units.
std::string LongPathTo(const std::string& name)
{
    std::string path;
    for (int i = 0; i < 150; ++i) {
        path += "\xE2\x82\xAC/../";
    }
    return path + name;
}

class FileSystem : public testing::Test {
protected:
    // What `stream` is then, with its position, or the error.
    std::string Opened(const std::string& path, std::uint32_t mode)
    {
        stream.reset();
        return ResultOf(path, [&]() -> std::string {
            stream.reset(files.OpenStream(path.c_str(), mode));
            if (stream == nullptr) {
                return "null";
            }
            EXPECT_EQ(stream->GetName().CStr(), FullPath(path));
            auto* const buffered = dynamic_cast<CBufferedStream*>(stream.get());
            EXPECT_NE(buffered == nullptr, dynamic_cast<CWindowsFileStream*>(stream.get()) == nullptr);
            const char* const kind = buffered == nullptr     ? "file "
                                     : buffered->IsReading() ? "reader "
                                                             : "writer ";
            return kind + std::to_string(stream->GetPosition());
        });
    }
    std::string Loaded(const std::string& path, std::uint32_t mode)
    {
        return ResultOf(path,
                        [&] { return files.LoadFile(memory, path.c_str(), mode) ? "loaded" : "false"; });
    }

    // Of an error the kind, and the name where that is not the full path.
    template <typename Function>
    std::string ResultOf(const std::string& path, const Function& function)
    {
        try {
            return function();
        } catch (const CFileException& exception) {
            const std::string name = exception.fileName.CStr();
            return "error " + std::to_string(exception.kind) + (name == FullPath(path) ? "" : " of " + name);
        }
    }
    [[nodiscard]] std::string FullPath(const std::string& path) const
    {
        CString fullPath;
        return files.GetFullPath(fullPath, path.c_str()).CStr();
    }
    std::string Listed(const char* directory, std::uint32_t flags = 0)
    {
        std::set<CString> names;
        files.ListDirectory(names, directory, flags);
        std::string all;
        for (const CString& name : names) {
            all += name.CStr() + std::string(" ");
        }
        return all;
    }
    CFileInfo InfoOf(const std::string& path)
    {
        CFileInfo info(true, true, 1, 2);
        files.GetFileInfo(info, path.c_str(), 3);
        CString root("before");
        files.GetDirectoryRoot(root, path.c_str(), 5);
        EXPECT_EQ(root.CStr(), info.Exists() && info.IsDirectory() ? tree.Root() : "") << path;
        EXPECT_EQ(files.IsDirectory(path.c_str(), 0), info.Exists() && info.IsDirectory()) << path;
        return info;
    }

    FileTree tree;
    CWindowsFileSystem files{tree.Root().c_str(), false};
    CMemoryStream memory;
    std::unique_ptr<IStream> stream;
};

TEST(FileSystemPaths, AreJoinedAndCut)
{
    const char* const fullPaths[][3] = {
        {"", "", ""},
        {"", "/a//b//", R"(\a\\b\)"},
        {"/", "a", "a"},
        {"C:/Data/", "a/b.txt/", R"(C:\Data\a\b.txt)"},
        {"C:/Data\\/", "a", "C:\\Data\\a"},
        {"C:\\", "a", "C:a"},
        {"C:\\Data", "", "C:\\Data"},
        {"C:\\Data", "\\a", R"(C:\Data\\a)"},
    };
    for (const auto& [root, path, fullPath] : fullPaths) {
        CString result(path);
        EXPECT_EQ(&CWindowsFileSystem(root, false).GetFullPath(result, result), &result);
        EXPECT_STREQ(result.CStr(), fullPath) << root;
    }
    const char* const relativePaths[][3] = {
        {"C:/Data/", "c:\\data\\x", "\\x"},
        {"C:\\Data", "D:\\x", nullptr},
        {"C:\\Data", "C:\\Dat", nullptr},
        {"C:\\Data", "C:/Data/x", nullptr},
        {"C:\\Data", "C:\\DATAx", "x"},
        {"C:\\Data", "c:\\data", ""},
        {"", "/x/", "/x/"},
        {"\xC3\xA4", "\xC3\x84x", nullptr},
    };
    for (const auto& [root, path, relative] : relativePaths) {
        CString result(path);
        EXPECT_EQ(CWindowsFileSystem(root, false).MakeRelative(result), relative != nullptr) << path;
        EXPECT_STREQ(result.CStr(), relative != nullptr ? relative : path);
    }
}

// The root of a drive keeps its separator in one of the joins only.
TEST_F(FileSystem, TakesADriveForARoot)
{
    const ScratchDrive drive;
    std::filesystem::create_directories(drive.Root() / "sub");
    std::ofstream(drive.Root() / "file") << "text";
    ASSERT_TRUE(SetCurrentDirectoryW(WIDE("X:\\sub")));
    files.SetRoot("X:/", false);
    EXPECT_EQ(Loaded("file", READ_EXISTING), "loaded");
    EXPECT_STREQ(memory.GetName().CStr(), "X:\\file");
    EXPECT_EQ(Listed("/"), "file sub ");
    files.MakeDirectory("d", false);
    files.MakeDirectory("e/f", true); // its levels are looked for elsewhere than they are made
    EXPECT_EQ(Listed("sub"), "d e ");
    EXPECT_FALSE(files.EraseDirectory("d"));
    EXPECT_TRUE(files.EraseDirectory("/sub/d"));
    EXPECT_TRUE(files.EraseFile("/file"));
    files.SetRoot("", false);
    EXPECT_EQ(Listed("X:") + Listed("X:\\/"), "e sub ");
    CFileInfo info;
    files.GetFileInfo(info, "e", 0);
    EXPECT_TRUE(info.IsDirectory());
    files.GetFileInfo(info, "", 0);
    EXPECT_FALSE(info.Exists());
    SetCurrentDirectoryW(ToPlatform(tree.Native("")).c_str());
}

TEST_F(FileSystem, ListsADirectory)
{
    for (const char* name : {"d/b", "d/A", "d/\xE2\x82\xAC.x"}) {
        tree.Write(name, "");
    }
    tree.MakeFolder("d/c");
    const char* const names[] = {"A b c \xE2\x82\xAC.x ", "A b \xE2\x82\xAC.x ", "c ", ""};
    for (std::uint32_t flags = 0; flags < 4; ++flags) {
        EXPECT_EQ(Listed("d/", flags), names[flags]);
    }
    EXPECT_EQ(Listed("") + Listed("missing") + Listed("d/b") + Listed("d/*"), "");
    EXPECT_EQ(Listed("/"), "d ");
    std::set<CString> twice = {"0", "A"};
    files.ListDirectory(twice, "D", 1);
    EXPECT_EQ(twice.size(), 4u);
    files.SetRoot("", true); // an index is not asked
    EXPECT_EQ(Listed((tree.Root() + "\\d").c_str(), 2), names[2]);
}

TEST_F(FileSystem, TellsWhatIsThere)
{
    tree.Write("d/b.txt", "12345");
    tree.Write("d/c.txt", "123");
    const auto time = std::filesystem::last_write_time(tree.Native("d/b.txt"));
    const auto seconds = std::chrono::floor<std::chrono::seconds>(std::chrono::file_clock::to_sys(time));
    for (const std::string& path :
         Paths{"d/b.txt", "D\\B.TXT", "d/b*", "d/?.txt", "\\d/b.txt/", LongPathTo("d/b.txt")}) {
        const CFileInfo info = InfoOf(path);
        EXPECT_TRUE(info.Exists() && !info.IsDirectory() && info.size == 5) << path;
        EXPECT_EQ(info.time / 10000000 - 11644473600, seconds.time_since_epoch().count());
    }
    for (const std::string& path : Paths{"d", "D/", "", LongPathTo("d")}) {
        EXPECT_TRUE(InfoOf(path).Exists() && InfoOf(path).IsDirectory()) << path;
    }
    for (const char* path : {"missing", "missing/b", "d/b.txt/x", "x*"}) {
        const CFileInfo info = InfoOf(path);
        EXPECT_EQ(info.time + info.size + (info.exists ? 1 : 0) + (info.isDirectory ? 1 : 0), 0u) << path;
    }
}

TEST_F(FileSystem, MakesAndErasesDirectories)
{
    files.MakeDirectory("", true);
    files.MakeDirectory("a/b", false);
    EXPECT_EQ(tree.All().size(), 0u);
    files.MakeDirectory("/a//b\\c/", true);
    files.MakeDirectory("A/b/d", true);
    files.MakeDirectory("e/", false);
    files.MakeDirectory(LongPathTo("f").c_str(), false);
    tree.Write("file", "");
    files.MakeDirectory("file/x/y", true);
    Paths names;
    for (const auto& entry : tree.All()) {
        names.push_back(entry.first);
    }
    EXPECT_EQ(names, (Paths{"a", "a/b", "a/b/c", "a/b/d", "e", "f", "file"}));
    for (const char* refused : {"", "a", "missing", "file/x", "*"}) {
        EXPECT_FALSE(files.EraseDirectory(refused) || files.EraseFile(refused)) << refused;
    }
    EXPECT_FALSE(files.EraseDirectory("file"));
    for (const std::string& erased : Paths{"/a/b/c", "e/", LongPathTo("f")}) {
        EXPECT_TRUE(files.EraseDirectory(erased.c_str())) << erased;
    }
    EXPECT_TRUE(files.EraseFile(LongPathTo("file").c_str()));
    EXPECT_EQ(tree.All().size(), 3u);
}

TEST_F(FileSystem, OpensTheStreamThatTheModeAsksFor)
{
    struct Row {
        std::uint32_t mode;
        std::string ofNew; // a file that was not there
        std::string ofOld;
        std::string oldContent; // with "xy" written
    };
    const std::string old = "0123456789";
    const Row rows[] = {
        {READ_IF_THERE, "null", "reader 0", old},
        {MODE_DEFAULT, "error 2", "reader 0", old},
        {READ_IF_THERE | MODE_UNBUFFERED_READ, "null", "file 0", old},
        {READ_EXISTING | MODE_WRITE, "error 2", "file 0", "xy23456789"},
        {MODE_OPEN_EXISTING | MODE_WRITE | MODE_UNBUFFERED_READ, "error 2", "writer 0", "xy23456789"},
        {MODE_CREATE_ALWAYS | MODE_WRITE | MODE_SHARE_READ, "writer 0", "writer 0", "xy"},
        {MODE_CREATE_NEW | READ_AND_WRITE | MODE_MISSING_OK, "file 0", "error 1", old},
        {MODE_APPEND | READ_AND_WRITE, "file 0", "file 10", "0123456789xy"},
        {MODE_APPEND | MODE_WRITE, "writer 0", "writer 0", "0123456789xy"},
        {MODE_APPEND | MODE_READ, "reader 0", "reader 0", old},
        {MODE_OPEN_EXISTING | MODE_SHARE_READ, "error 2", "writer 0", old},
        {MODE_READ, "error 1 of name", "error 1 of name", old},
        {MODE_MISSING_OK | MODE_WRITE, "error 1 of name", "error 1 of name", old},
    };
    for (const Row& row : rows) {
        for (const bool isOld : {false, true}) {
            std::filesystem::remove(tree.Native("name"));
            if (isOld) {
                tree.Write("name", old);
            }
            EXPECT_EQ(Opened("name", row.mode), isOld ? row.ofOld : row.ofNew) << row.mode;
            const bool writes = stream != nullptr && (row.mode & MODE_WRITE) != 0 && row.mode != MODE_DEFAULT;
            if (writes) {
                stream->Write("xy", 2);
            }
            stream.reset();
            EXPECT_EQ(tree.Content("name"), isOld ? row.oldContent : writes ? "xy" : "") << row.mode;
            EXPECT_EQ(std::filesystem::exists(tree.Native("name")), tree.IsFree("name"));
        }
    }
}

TEST_F(FileSystem, LoadsWholeFiles)
{
    const std::string large((std::size_t{1} << 20) + 1, 'x');
    const std::string path = LongPathTo("large");
    tree.Write("large", large);
    tree.Write("empty", "");
    for (const std::uint32_t mode : {READ_IF_THERE, MODE_DEFAULT, MODE_CREATE_ALWAYS | MODE_WRITE}) {
        EXPECT_EQ(Loaded(path, mode), "loaded");
        EXPECT_TRUE(large == std::string(memory.GetData(), memory.GetData() + memory.GetSize()));
        EXPECT_EQ(memory.GetPosition(), 0u);
        EXPECT_EQ(memory.GetName().CStr(), FullPath(path));
        EXPECT_EQ(Loaded("empty/", mode), "loaded");
        EXPECT_EQ(memory.GetSize(), 0u);
        EXPECT_EQ(memory.GetName().CStr(), FullPath("empty"));
    }
    const std::pair<std::uint32_t, const char*> modes[] = {
        {READ_IF_THERE, "false"}, {READ_EXISTING, "error 2"}, {MODE_READ, "error 1 of missing"}};
    for (const auto& [mode, result] : modes) {
        memory.SetSize(5);
        const std::uint32_t capacity = memory.GetCapacity();
        EXPECT_EQ(Loaded("missing", mode), result);
        EXPECT_EQ(memory.GetSize(), mode == MODE_READ ? 5u : 0u);
        EXPECT_EQ(memory.GetCapacity(), capacity);
    }
}

TEST_F(FileSystem, BuffersAMebibyte)
{
    tree.Write("file", "text");
    const CString path("file");
    const TraceCapture trace;
    for (const bool isEnough : {false, true}) {
        const HeapWatch watch({.largest = (std::size_t{1} << 20) - (isEnough ? 0 : 1)});
        try {
            stream.reset(files.OpenStream(path, READ_EXISTING));
            EXPECT_TRUE(isEnough);
        } catch (const CException&) {
            EXPECT_EQ(watch.Failures(), isEnough ? 0u : 1u);
            EXPECT_TRUE(tree.IsFree("file"));
        }
    }
}

TEST_F(FileSystem, SharesReadingWhereTheModeSaysNothing)
{
    tree.Write("file", "text");
    for (const bool holderWrites : {false, true}) {
        const std::unique_ptr<IStream> holder(files.OpenStream(
            "file", READ_EXISTING | MODE_SHARE_WRITE | (holderWrites ? MODE_WRITE : MODE_MISSING_OK)));
        EXPECT_EQ(Loaded("file", MODE_DEFAULT), holderWrites ? "error 1" : "loaded");
        EXPECT_EQ(Opened("file", MODE_DEFAULT), holderWrites ? "error 1" : "reader 0");
        stream.reset();
    }
}

TEST_F(FileSystem, ReadsToWhereAFileWasCutMeanwhile)
{
    constexpr std::uint32_t block = 1 << 20;
    std::string bytes(block + 100, 'x');
    tree.Write("file", bytes);
    ASSERT_EQ(Opened("file", READ_EXISTING | MODE_SHARE_WRITE), "reader 0");
    stream->Read(bytes.data(), 10, 0);
    std::filesystem::resize_file(tree.Native("file"), block + 5);
    const auto read = [&] { return std::to_string(stream->Read(bytes.data(), block + 90, 0)); };
    EXPECT_EQ(ResultOf("file", read), "error 3");
    EXPECT_EQ(stream->GetPosition(), block + 5);
}

TEST_F(FileSystem, OpensRawFiles)
{
    tree.Write("file", "12345");
    for (const std::uint32_t offset : {0u, 2u, 5u, 6u, 0x80000000u, UINT32_MAX}) {
        HANDLE file = nullptr;
        std::uint32_t size = 77;
        EXPECT_EQ(files.OpenRawFile(file, size, "file", offset), offset <= 5);
        EXPECT_EQ(size, offset <= 5 ? 5u : 0u);
        if (offset <= 5) {
            char bytes[9] = {};
            DWORD done = 0;
            EXPECT_TRUE(::ReadFile(file, bytes, 8, &done, nullptr));
            EXPECT_EQ(bytes, std::string("12345").substr(offset));
            EXPECT_EQ(Opened("file", READ_EXISTING), "reader 0");
            EXPECT_EQ(Opened("file", MODE_OPEN_EXISTING | MODE_WRITE | MODE_SHARE_READ), "error 1");
            EXPECT_TRUE(files.CloseRawFile(file));
        }
        EXPECT_EQ(file == INVALID_HANDLE_VALUE, offset > 5);
        EXPECT_TRUE(tree.IsFree("file")) << offset;
    }
}

// What no operation can work on; only streams and loading tell why.
TEST_F(FileSystem, FailsQuietlyOrByNameAndKind)
{
    tree.Write("folder/x", "");
    tree.Write("held", "text");
    const std::unique_ptr<IStream> holder(files.OpenStream("held", MODE_OPEN_EXISTING | MODE_READ));
    const std::pair<std::string, const char*> rows[] = {
        // the kinds of the error
        {"folder", "1"},
        {"held", "1"},
        {std::string(300, 'x'), "12"}, // too long, or not found for that
        {std::string(40000, 'x'), "12"},
        {"ill-formed\xFF", "2"},
        {"missing/x", "2"},
        {"held/x", "2"},
        {"x*", "1"},
    };
    for (const auto& [name, kinds] : rows) {
        const bool isThere = name == "folder" || name == "held";
        for (const std::string& error : {Opened(name, READ_EXISTING), Loaded(name, READ_EXISTING),
                                         Opened(name, MODE_OPEN_EXISTING | MODE_WRITE)}) {
            EXPECT_EQ(error.substr(0, error.size() - 1), "error ") << name;
            EXPECT_NE(std::strchr(kinds, error.back()), nullptr) << name;
        }
        HANDLE file = nullptr;
        std::uint32_t size = 77;
        EXPECT_FALSE(files.OpenRawFile(file, size, name.c_str(), 0)) << name;
        EXPECT_TRUE(file == INVALID_HANDLE_VALUE && size == 0) << name;
        EXPECT_EQ(InfoOf(name).Exists(), isThere);
        EXPECT_FALSE(files.EraseFile(name.c_str()) || files.EraseDirectory(name.c_str())) << name;
        EXPECT_EQ(Listed(name.c_str()), name == "folder" ? "x " : "") << name;
    }
    EXPECT_EQ(Opened("gr\xC3\xBC\xC3\x9F.ini", MODE_CREATE_NEW | MODE_WRITE), "writer 0");
    EXPECT_TRUE(tree.All().contains("gr\xC3\xBC\xC3\x9F.ini"));
}

} // namespace
} // namespace Plinth
