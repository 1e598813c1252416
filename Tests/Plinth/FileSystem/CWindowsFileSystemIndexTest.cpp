// The index of a file system, held against what is on the disk.
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Plinth/FileSystem/FileTree.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace Plinth {
namespace {

constexpr std::uint64_t STAMP = 0x01C000000000000A;
constexpr std::uint32_t MISSING_IS_FINE = MODE_OPEN_EXISTING | MODE_WRITE | MODE_MISSING_OK;

class IndexedFileSystem : public testing::Test {
protected:
    CFileInfo InfoOf(const std::string& path)
    {
        CFileInfo info(true, true, 1, 2);
        files.GetFileInfo(info, path.c_str(), 0);
        return info;
    }
    // "-" for nothing, "\" for a folder, else the size.
    std::string Told(const std::string& path)
    {
        const CFileInfo info = InfoOf(path);
        EXPECT_TRUE(info.exists || (!info.isDirectory && info.size + info.time == 0)) << path;
        return !info.exists ? "-" : info.isDirectory ? "\\" : std::to_string(info.size);
    }
    void Write(const std::string& path, std::uint32_t mode, const std::string& text = "")
    {
        const std::unique_ptr<IStream> stream(files.OpenStream(path.c_str(), mode));
        if (stream != nullptr && !text.empty()) {
            stream->Write(text.data(), static_cast<std::uint32_t>(text.size()));
        }
    }

    // The path with its ASCII letters and separators in other forms.
    std::string Varied(std::string path)
    {
        for (char& byte : path) {
            const char lower = FoldLower(byte);
            if (random() % 2 == 0) {
                byte = lower >= 'a' && lower <= 'z' ? static_cast<char>(byte ^ 0x20) : FoldSlash(byte);
            }
        }
        return path;
    }
    std::string RandomName()
    {
        static const char* const pieces[] = {"a",  "B",        "zZ",         ".",
                                             "~ ", "\xC3\xA4", "\xC3\x84[]", "\xF0\x9F\x98\x80"};
        std::string name;
        for (std::size_t count = 1 + random() % 4; count != 0; --count) {
            name += pieces[random() % std::size(pieces)];
        }
        return name + "e" + std::to_string(random() % 1000);
    }
    void Grow(const std::string& folder, int levels)
    {
        for (std::size_t count = random() % 6; count != 0; --count) {
            tree.Write(folder + RandomName(), std::string(random() % 100, 'x'));
        }
        for (std::size_t count = levels != 0 ? 1 + random() % 3 : 0; count != 0; --count) {
            const std::string name = folder + RandomName();
            tree.MakeFolder(name);
            Grow(name + "/", levels - 1);
        }
    }

    // Everything on the disk is told, and nothing beside it.
    void ExpectWhatIsOnTheDisk(bool isNew)
    {
        using namespace std::chrono;
        const auto all = tree.All();
        for (const auto& [name, content] : all) {
            const std::string told = content == "\\" ? content : std::to_string(content.size());
            const auto time = floor<seconds>(file_clock::to_sys(last_write_time(tree.Native(name))));
            const auto toldTime = static_cast<std::int64_t>(InfoOf(name).time / 10000000 - 11644473600);
            EXPECT_TRUE((!isNew && content == "\\") || toldTime == time.time_since_epoch().count()) << name;
            for (const char* around : {"", "/", "\\", "\\/\\"}) {
                EXPECT_EQ(Told(std::string(random() % 3, '\\') + Varied(name) + around), told) << name;
            }
            EXPECT_EQ(Told(name + "\\."), told == "\\" ? "\\" : "-");
            for (const std::string& missing :
                 {name + "x", name + "\\x", "x\\" + name, "/" + name, name + "\\..", name.substr(1),
                  tree.Root() + "\\" + name, name + "\\.\\.", "." + name}) {
                EXPECT_EQ(Told(missing), "-") << missing;
            }
        }
        for (const char* path : {".", "\\\\.", "./", ".\\"}) {
            EXPECT_EQ(Told(path), "\\") << path;
        }
        for (const char* path : {"", "\\", "/", "..", "*", "?", "/."}) {
            EXPECT_EQ(Told(path), "-") << path;
        }
    }

    std::mt19937 random{5};
    FileTree tree;
    CWindowsFileSystem files;
};

TEST_F(IndexedFileSystem, TellsWhatIsOnTheDisk)
{
    for (int level = 0; level < 4; ++level) {
        Grow("", level);
        tree.MakeFolder("empty" + std::to_string(level));
        files.SetRoot((tree.Root() + "/x").c_str(), true); // there is none: another root with nothing below
        EXPECT_EQ(Told("."), "-");
        files.SetRoot((tree.Root() + "/").c_str(), true);
        ExpectWhatIsOnTheDisk(true);
    }
    for (const auto& [name, content] : tree.All()) {
        if (content != "\\") {
            constexpr std::uint32_t kinds[] = {1, 3, 4, 5, 6}; // all but MODE_CREATE_NEW
            const std::uint32_t access = random() % 2 == 0 ? MODE_READ | MODE_WRITE : MODE_WRITE;
            Write(Varied(name), kinds[random() % 5] | access, std::string(random() % 200, 'y'));
            Write(name + "new", MODE_CREATE_NEW | MODE_WRITE, std::string(random() % 200, 'y'));
        }
    }
    ExpectWhatIsOnTheDisk(false);
    for (const auto& [name, content] : tree.All()) {
        if (content != "\\" && random() % 2 == 0) {
            std::filesystem::remove(tree.Native(name));
            EXPECT_EQ(Told(Varied(name)), std::to_string(content.size())) << name;
        }
    }
    files.SetRoot("", false);
    files.SetRoot(tree.Root().c_str(), true);
    ExpectWhatIsOnTheDisk(true);
}

TEST_F(IndexedFileSystem, LearnsOnlyOfWhatItOpensForWriting)
{
    using Rows = std::vector<std::pair<const char*, const char*>>;
    const auto expect = [&](const Rows& rows) {
        for (const auto& [path, told] : rows) {
            EXPECT_EQ(Told(path), told) << path;
        }
    };
    tree.Write("a/b.txt", "12345");
    tree.Write("a/c.txt", "12345");
    tree.Write("a/other", "12345");
    tree.MakeFolder("swapped");
    files.SetRoot(tree.Root().c_str(), true);
    files.MakeDirectory("new", true);
    tree.Write("a/other", "123");
    tree.Write("a/late", "12");
    tree.Write("a/b.txt", "1");
    Write("a/b.txt", MODE_OPEN_EXISTING | MODE_READ); // not for writing
    expect({{"a/b.txt", "5"}});
    EXPECT_TRUE(files.EraseFile("a/b.txt"));
    expect({{"new", "-"}, {"a/other", "5"}, {"a/late", "-"}, {"a/b.txt", "5"}});

    EXPECT_THROW(Write("a/gone", MODE_OPEN_EXISTING | MODE_WRITE), CFileException);
    EXPECT_THROW(Write("new", MODE_OPEN_ALWAYS | MODE_WRITE), CFileException);
    std::filesystem::remove(tree.Native("swapped"));
    tree.Write("swapped", "12");
    for (const char* name : {"A/LATE", "a/b.txt", "a/none", "made", "swapped"}) {
        Write(name, MISSING_IS_FINE); // what is gone is stale from now on, and as it was
    }
    expect(
        {{"a/gone", "-"}, {"new", "-"}, {"a/late", "2"}, {"a/b.txt", "5"}, {"a/NONE", "0"}, {"made", "0"}});
    EXPECT_EQ(InfoOf("a/none").time, 0u);
    EXPECT_EQ(Told("swapped"), "\\"); // a folder stays one
    EXPECT_EQ(InfoOf("swapped").size, 2u);
    tree.Write("a/b.txt", "123456");
    tree.Write("a/none", "1");
    tree.MakeFolder("made");
    expect({{"A/B.TXT", "6"}, {"a/none", "1"}, {"made", "\\"}});
    tree.Write("a/b.txt", "1"); // it is no longer stale
    expect({{"a/b.txt", "6"}});

    const std::unique_ptr<IStream> stream(files.OpenStream("a/c.txt", MODE_APPEND | MODE_READ | MODE_WRITE));
    stream->SetTime(STAMP);
    EXPECT_EQ(InfoOf("a/c.txt").time, STAMP);
    stream->Write("6", 1);
    expect({{"a/c.txt", "5"}}); // written after the refreshing
}

TEST_F(IndexedFileSystem, LoadsWhatItKnows)
{
    tree.Write("known", "12345");
    tree.Write("gone", "123");
    files.SetRoot(tree.Root().c_str(), true);
    tree.Write("unknown", "12");
    files.EraseFile("gone");
    CMemoryStream stream;
    EXPECT_TRUE(files.LoadFile(stream, "\\KNOWN/", MODE_DEFAULT));
    EXPECT_FALSE(files.LoadFile(stream, "unknown", MODE_DEFAULT));
    EXPECT_THROW(files.LoadFile(stream, "unknown", MODE_READ), CFileException);
    EXPECT_EQ(stream.GetSize(), 5u);
    EXPECT_THROW(files.LoadFile(stream, "gone", MODE_DEFAULT), CFileException);
    EXPECT_EQ(stream.GetSize(), 0u);
}

TEST_F(IndexedFileSystem, IsScannedForAnotherRootAlone)
{
    tree.Write("a/b", "12345");
    const std::string root = tree.Root();
    std::string otherCase = root;
    otherCase[0] = static_cast<char>(otherCase[0] ^ 0x20); // the drive's
    files.SetRoot(root.c_str(), true);
    tree.Write("a/c", "12345");
    struct Row {
        std::string root;
        bool useIndex;
        const char* path;
        const char* told;
    };
    const Row rows[] = {
        {root + "/", true, "a/c", "-"}, // the same
        {root, false, "a/c", "5"},      // the disk
        {root, true, "a/c", "-"},
        {otherCase, true, "a/c", "5"}, // another text
        {root, false, "a/c", "5"},
        {root, true, "a/c", "-"},
        {root + "/a/..", true, "a/c", "5"}, // another text
        {root + "/a", false, "c", "5"},
        {root + "/a", true, "c", "-"}, // the same again, and never scanned
        {root, true, "a/c", "5"},
        {root + "/a", true, "c", "5"},
    };
    for (const Row& row : rows) {
        files.SetRoot(row.root.c_str(), row.useIndex);
        EXPECT_EQ(Told(row.path), row.told) << row.root << row.useIndex;
    }
    files.SetRoot(root.c_str(), false);
    Write("unseen", MODE_CREATE_NEW | MODE_WRITE);
    files.SetRoot(root.c_str(), true);
    EXPECT_EQ(Told("unseen"), "-");
    const ScratchDrive drive;
    std::ofstream(drive.Root() / "file") << "text";
    for (const char* driveRoot : {"X:", "X:\\", ""}) { // without a root, that of the current drive
        ASSERT_TRUE(SetCurrentDirectoryW(WIDE("X:\\")));
        files.SetRoot(driveRoot, true);
        EXPECT_EQ(Told("file"), "4");
        EXPECT_EQ(Told("."), "-"); // the platform does not list it
        SetCurrentDirectoryW(ToPlatform(tree.Native("")).c_str());
    }
}

} // namespace
} // namespace Plinth
