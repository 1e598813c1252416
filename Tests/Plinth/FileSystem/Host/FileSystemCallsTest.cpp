// The platform calls and the heap blocks of the file system, each of them failing in turn.
#include "Platform/Host/Drives.h"
#include "Platform/Host/Gate.h"
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Plinth/FileSystem/FileTree.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/FailingInTurn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Plinth {
namespace {

using Platform::Host::GateWatch;

// Made while there is memory.
const CString OLD("file");
const CString NEW("new");
const CString SUB("sub");
const CString INNER("sub/inner");
const CString DEEP("x/y");
const CString EMPTY("empty");
const std::string LEVEL = std::string(249, 'n') + "\xE2\x82\xAC\xE2\x82\xAC";
const std::string HALF = LEVEL + '\\' + LEVEL; // the root from its drive, or what half of it would tell again
const CString PARENT(("X:\\" + LEVEL).c_str());
const CString ROOT(("X:\\" + HALF).c_str()); // longer than the buffers on the stack
CMemoryStream memory;

using Files = CWindowsFileSystem&;

bool Exists(Files files, const CString& path)
{
    CFileInfo info;
    files.GetFileInfo(info, path, 0);
    return info.Exists();
}

void Open(Files files, const CString& path, std::uint32_t mode)
{
    const std::unique_ptr<IStream> stream(files.OpenStream(path, mode));
    char byte = '1';
    if (stream != nullptr && (mode & MODE_WRITE) != 0 && mode != MODE_DEFAULT) {
        stream->Write(&byte, 1);
    } else if (stream != nullptr) {
        stream->Read(&byte, 1, 0);
    }
    EXPECT_EQ(byte, '1');
}

void OpenNew(Files files)
{
    Open(files, NEW, MODE_CREATE_NEW | MODE_WRITE | MODE_READ);
    EXPECT_TRUE(Exists(files, NEW));
}

void Load(Files files)
{
    EXPECT_TRUE(files.LoadFile(memory, INNER, MODE_DEFAULT) && memory.GetSize() == 3);
}

void FindRoot(Files files)
{
    CString found;
    files.GetDirectoryRoot(found, SUB, 0);
    EXPECT_TRUE(found == ROOT || found.IsEmpty());
}

void List(Files files)
{
    std::set<CString> names;
    files.ListDirectory(names, SUB, 0);
    EXPECT_TRUE(names.empty() || std::string("inner") == names.begin()->CStr());
}

void OpenRaw(Files files)
{
    HANDLE file = nullptr;
    std::uint32_t size = 7;
    if (files.OpenRawFile(file, size, OLD, 1)) {
        files.CloseRawFile(file);
    }
    EXPECT_EQ(size, file == INVALID_HANDLE_VALUE ? 0u : 5u);
}

void Complete(Files files)
{
    CString path;
    EXPECT_EQ(files.GetFullPath(path, OLD).GetLength(), ROOT.GetLength() + 5);
}

void SetRoot(Files files)
{
    files.SetRoot(PARENT, true);
}

struct Operation {
    const char* name;
    void (*run)(Files files);
    bool isIndexed = false;
    bool throws = false; // not for lack of memory alone
};

const Operation OPERATIONS[] = {
    {"OpenStream, reading", [](Files files) { Open(files, OLD, MODE_DEFAULT); }, false, true},
    {"OpenStream, missing", [](Files files) { Open(files, NEW, 0x10113); }, false, true},
    {"OpenStream, appending", [](Files files) { Open(files, OLD, MODE_APPEND | MODE_WRITE); }, false, true},
    {"OpenStream, new and indexed", OpenNew, true, true},
    {"LoadFile", Load, true, true},
    {"GetDirectoryRoot", FindRoot},
    {"SetRoot", SetRoot, true},
    {"ListDirectory", List},
    {"OpenRawFile", OpenRaw},
    {"MakeDirectory", [](Files files) { files.MakeDirectory(DEEP, true); }},
    {"EraseFile", [](Files files) { files.EraseFile(OLD); }},
    {"EraseDirectory", [](Files files) { files.EraseDirectory(EMPTY); }},
    {"GetFullPath", Complete},
};

class FileSystemCalls : public testing::Test {
protected:
    using Names = std::map<std::string, std::string>;

    ~FileSystemCalls() override { Platform::Host::RemoveDrive('X'); }

    // A file system over a tree that is made anew after a change.
    void Prepare(const Operation& operation)
    {
        if (tree_ == nullptr) {
            MakeTree();
        }
        files.emplace(operation.run == SetRoot ? "X:" : ROOT, operation.isIndexed);
    }

    Names NamesAfter(const Operation& operation)
    {
        Prepare(operation);
        operation.run(*files);
        Names names = tree_->All();
        tree_ = nullptr;
        return names;
    }

    static bool IsIn(const Names& names, const Names::value_type& entry)
    {
        const auto place = names.find(entry.first);
        return place != names.end() && place->second == entry.second;
    }

    // Nothing but what the operation is for was made or erased, and all that was opened is closed.
    void Check(const Operation& operation, const Names& wanted, unsigned closes = 0)
    {
        const int left = CountInheritedHandles() - handles_;
        EXPECT_LE(left, static_cast<int>(closes)) << operation.name;
        const Names after = tree_->All();
        for (const auto& entry : after) { // a new file may still be empty
            const bool isNew =
                entry.second.empty() && !before_.contains(entry.first) && wanted.contains(entry.first);
            EXPECT_TRUE(isNew || IsIn(wanted, entry) || IsIn(before_, entry))
                << operation.name << ' ' << entry.first;
        }
        for (const auto& [name, content] : before_) {
            EXPECT_TRUE(after.contains(name) || !wanted.contains(name)) << operation.name << ' ' << name;
        }
        handles_ += left;
        tree_ = left != 0 || after != before_ ? nullptr : tree_; // a new one where files are held
    }

    // Where a root could not be set, all is as before, an index included. The second time all is made.
    void CheckIndex(bool done)
    {
        ExpectIndexed({"trap", HALF}, !done);
        if (!done) {
            SetRoot(*files);
            ExpectIndexed({".", "file", "sub", "sub/.", "sub/inner", "empty", "empty/."}, true, LEVEL + '/');
            ExpectIndexed({"trap", HALF}, false);
        }
    }
    // Told without a platform call.
    void ExpectIndexed(const std::vector<std::string>& names, bool isThere, const std::string& folder = "")
    {
        for (const std::string& name : names) {
            const GateWatch calls;
            EXPECT_EQ(Exists(*files, (folder + name).c_str()), isThere) << name;
            EXPECT_EQ(calls.Count("FindFirstFileW"), 0u) << name;
        }
    }

    std::optional<CWindowsFileSystem> files;

private:
    void MakeTree()
    {
        tree_ = std::make_shared<FileTree>();
        Platform::Host::SetDrive('X', tree_->Native("").native());
        SetCurrentDirectoryW(u"X:\\");
        tree_->Write("trap", "");
        // Half a path would lead to the first.
        for (const std::string& folder :
             {std::string(), (std::filesystem::path(LEVEL) / LEVEL / "").string()}) {
            tree_->Write(folder + "file", folder.empty() ? "trap" : "12345");
            tree_->Write(folder + "sub/inner", folder.empty() ? "trap" : "123");
            tree_->MakeFolder(folder + "empty");
        }
        before_ = tree_->All();
    }

    std::shared_ptr<FileTree> tree_;
    Names before_;
    int handles_ = CountInheritedHandles();
};

TEST_F(FileSystemCalls, FailInTurn)
{
    for (const Operation& operation : OPERATIONS) {
        const Names wanted = NamesAfter(operation);
        unsigned points = 1;
        unsigned reached = 0;
        for (unsigned round = 0; round <= points * 2; ++round) {
            Prepare(operation);
            unsigned closes = 0;
            {
                const GateWatch watch(
                    {.ordinal = (round + 1) / 2, .error = ERROR_ACCESS_DENIED, .lasting = round % 2 == 0});
                try {
                    operation.run(*files);
                } catch (const CFileException&) {
                    EXPECT_TRUE(operation.throws && watch.Failed()) << operation.name;
                } catch (const CException&) { // a conversion's lack of memory
                    EXPECT_TRUE(watch.Failed()) << operation.name;
                }
                points = round == 0 ? watch.Points() : points;
                reached += watch.Failed() ? 1U : 0U;
                closes = watch.Failed() ? watch.Count("CloseHandle") + watch.Count("FindClose") : 0;
                closes = round % 2 == 0 ? closes : std::min(closes, 1u);
            }
            Check(operation, wanted, closes);
        }
        std::cout << operation.name << ": failures at " << reached << " of " << points * 2 << " points\n";
        EXPECT_EQ(reached, points * 2) << operation.name;
    }
}

TEST_F(FileSystemCalls, HaveWholePathsWithoutMemory)
{
    const TraceCapture trace;
    for (const Operation& operation : OPERATIONS) {
        const Names wanted = NamesAfter(operation); // the pool has the names from now on
        FailingInTurn points(operation.name);
        while (points.Next()) {
            Prepare(operation);
            const bool done = points.Try([&] { operation.run(*files); });
            Check(operation, wanted);
            if (operation.run == SetRoot) {
                CheckIndex(done);
            }
        }
    }
}

TEST_F(FileSystemCalls, LeaveNoNameOutThatCannotBeConverted)
{
    bool failed = true;
    for (unsigned ordinal = 1; failed; ++ordinal) {
        Prepare({"SetRoot", SetRoot, true});
        bool done = true;
        {
            const GateWatch watch({.function = "WideCharToMultiByte", .ordinal = ordinal});
            try {
                SetRoot(*files);
            } catch (const CException&) {
                done = false;
            }
            failed = watch.Failed();
        }
        EXPECT_NE(done, failed);
        CheckIndex(done);
    }
}

TEST_F(FileSystemCalls, AreNoneForWhatTheIndexKnows)
{
    Prepare({"GetFileInfo", nullptr, true});
    const std::pair<CString, bool> paths[] = {
        {"file", true}, {"/SUB", false}, {"SUB/inner/", true}, {"", false}};
    for (const auto& [path, isThere] : paths) {
        const HeapWatch heap;
        const GateWatch calls;
        EXPECT_EQ(Exists(*files, path), isThere) << path.CStr();
        EXPECT_EQ(heap.Blocks() + calls.Points(), 0u) << path.CStr();
    }
}

} // namespace
} // namespace Plinth
