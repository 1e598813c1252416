// The platform calls of the file system: their order, and each of them and each heap block failing in turn.
#include "Platform/Host/Gate.h"
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Plinth/FileSystem/FileTree.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/FailingInTurn.h"

#include <gtest/gtest.h>

#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Plinth {
namespace {

using Platform::Host::GateWatch;

// Made while there is memory.
const CString FILE_PATH("file");
const CString NEW("new");
const CString MISSING("missing");
const CString SUB("sub");
const CString INNER("sub/inner");
const CString DEEP("x/y");
const CString EMPTY("empty");
const std::set<CString> NAMES = {"inner"};
CString root; // longer than the buffers on the stack
CMemoryStream memory;

CFileInfo InfoOf(CWindowsFileSystem& files, const CString& path)
{
    CFileInfo info;
    files.GetFileInfo(info, path, 0);
    return info;
}

void Open(CWindowsFileSystem& files, const CString& path, std::uint32_t mode)
{
    delete files.OpenStream(path, mode);
}

struct Operation {
    const char* name;
    void (*run)(CWindowsFileSystem& files);
    const char* calls;
    bool isIndexed = false;
    bool throws = false; // not for lack of memory alone
};

const Operation OPERATIONS[] = {
    {"OpenStream, reading", [](auto& files) { Open(files, FILE_PATH, MODE_DEFAULT); },
     "CreateFileW CloseHandle ", false, true},
    {"OpenStream, missing", [](auto& files) { Open(files, MISSING, 0x10113); }, "CreateFileW ", false, true},
    {"OpenStream, appending", [](auto& files) { Open(files, FILE_PATH, MODE_APPEND | MODE_WRITE); },
     "CreateFileW SetFilePointer CloseHandle ", false, true},
    {"OpenStream, new and indexed",
     [](auto& files) {
         Open(files, NEW, MODE_CREATE_NEW | MODE_WRITE | MODE_READ);
         EXPECT_TRUE(!files.IsDirectory(NEW, 0));
     },
     "CreateFileW CloseHandle FindFirstFileW FindClose ", true, true},
    {"LoadFile", [](auto& files) { files.LoadFile(memory, INNER, MODE_DEFAULT); },
     "CreateFileW GetFileSize SetFilePointer ReadFile CloseHandle ", true, true},
    {"GetDirectoryRoot",
     [](auto& files) {
         CString found;
         files.GetDirectoryRoot(found, SUB, 0);
         EXPECT_TRUE(found == root || found.IsEmpty());
     },
     "FindFirstFileW FindClose "},
    {"SetRoot", [](auto& files) { files.SetRoot(root, true); },
     "FindFirstFileW FindNextFileW FindNextFileW FindFirstFileW FindNextFileW FindNextFileW FindClose "
     "FindNextFileW FindNextFileW FindFirstFileW FindNextFileW FindNextFileW FindNextFileW FindClose "
     "FindNextFileW FindClose "},
    {"ListDirectory",
     [](auto& files) {
         std::set<CString> names;
         files.ListDirectory(names, SUB, 0);
         EXPECT_TRUE(names.empty() || names == NAMES);
     },
     "FindFirstFileW FindNextFileW FindNextFileW FindNextFileW FindClose "},
    {"OpenRawFile",
     [](auto& files) {
         HANDLE file = nullptr;
         std::uint32_t size = 7;
         if (files.OpenRawFile(file, size, FILE_PATH, 1)) {
             files.CloseRawFile(file);
         }
         EXPECT_EQ(size, file == INVALID_HANDLE_VALUE ? 0u : 5u);
     },
     "CreateFileW GetFileSize SetFilePointer CloseHandle "},
    {"MakeDirectory", [](auto& files) { files.MakeDirectory(DEEP, true); },
     "FindFirstFileW CreateDirectoryW FindFirstFileW CreateDirectoryW "},
    {"EraseFile", [](auto& files) { files.EraseFile(FILE_PATH); }, "DeleteFileW "},
    {"EraseDirectory", [](auto& files) { files.EraseDirectory(EMPTY); }, "RemoveDirectoryW "},
    {"GetFullPath",
     [](auto& files) {
         CString path;
         files.GetFullPath(path, FILE_PATH);
         EXPECT_EQ(path.GetLength(), root.GetLength() + 5);
     },
     ""},
    {"SetRoot of the same, without an index", [](auto& files) { files.SetRoot(root, false); }, ""},
};

// A file system over a tree that is made anew after a change.
class FileSystemCalls : public testing::Test {
protected:
    using Names = std::map<std::string, std::string>;

    void Prepare(const Operation& operation)
    {
        if (!tree_ || tree_->All() != before_) {
            MakeTree();
        }
        files.emplace(tree_->Root().c_str(), false);
        if (std::string_view(operation.name) != "SetRoot") {
            files->SetRoot(root, operation.isIndexed);
        }
    }

    // Nothing but what the operation is for was made or erased, and all that was opened is closed.
    void Check(const Operation& operation, const Names& wanted, int unclosed = 0)
    {
        EXPECT_LE(CountInheritedHandles(), handles_ + unclosed) << operation.name;
        handles_ = CountInheritedHandles();
        const auto tree = std::exchange(tree_, unclosed != 0 ? nullptr : tree_);
        const Names after = tree->All();
        for (const auto& entry : after) {
            EXPECT_TRUE(before_.contains(entry.first) || wanted.contains(entry.first)) << entry.first;
        }
        for (const auto& [name, content] : before_) {
            EXPECT_TRUE(after.contains(name) ? after.at(name) == content : !wanted.contains(name)) << name;
        }
    }

    Names Run(const Operation& operation)
    {
        Prepare(operation);
        operation.run(*files);
        return tree_->All();
    }

    std::optional<CWindowsFileSystem> files;

private:
    void MakeTree()
    {
        std::string name;
        for (int i = 0; i < 320; ++i) {
            name += i % 80 == 0 && i != 0 ? "/\xE2\x82\xAC" : "\xE2\x82\xAC";
        }
        tree_ = std::make_shared<FileTree>();
        for (const std::string& folder : {std::string(), name + "/"}) { // half a path would lead to the first
            tree_->Write(folder + "file", "12345");
            tree_->Write(folder + "sub/inner", "123");
            tree_->MakeFolder(folder + "empty");
        }
        before_ = tree_->All();
        root = (tree_->Root() + "\\" + name).c_str();
        root.Replace('/', '\\');
        SetCurrentDirectoryW(ToPlatform(tree_->Native("")).c_str());
    }

    std::shared_ptr<FileTree> tree_;
    Names before_;
    int handles_ = CountInheritedHandles();
};

// Without those that cannot fail.
std::vector<std::string> CallsOf(const GateWatch& watch)
{
    std::vector<std::string> calls = watch.Calls();
    std::erase_if(calls, [](const std::string& call) { return call == "GetLastError" || call[0] > 'Z'; });
    return calls;
}

std::string FileCalls(const GateWatch& watch)
{
    std::string all;
    for (const std::string& call : CallsOf(watch)) {
        all += call.ends_with("Byte") || call.ends_with("WideChar") ? "" : call + " ";
    }
    return all;
}

int FailedCloses(const GateWatch& watch, unsigned ordinal, bool isLasting)
{
    int count = 0;
    unsigned number = 0;
    for (const std::string& call : CallsOf(watch)) {
        const bool fails = ++number == ordinal || (isLasting && number > ordinal && ordinal != 0);
        count += fails && (call == "CloseHandle" || call == "FindClose") ? 1 : 0;
    }
    EXPECT_EQ(number, watch.Points());
    return count;
}

TEST_F(FileSystemCalls, ComeInOrder)
{
    for (const Operation& operation : OPERATIONS) {
        Prepare(operation);
        const GateWatch watch;
        operation.run(*files);
        EXPECT_EQ(FileCalls(watch), operation.calls) << operation.name;
    }
}

TEST_F(FileSystemCalls, FailInTurn)
{
    for (const Operation& operation : OPERATIONS) {
        const Names wanted = Run(operation);
        unsigned points = 1;
        unsigned reached = 0;
        for (unsigned round = 0; round <= points * 2; ++round) {
            Prepare(operation);
            int unclosed = 0;
            {
                const unsigned ordinal = (round + 1) / 2;
                const bool isLasting = round % 2 == 0;
                const GateWatch watch(
                    {.ordinal = ordinal, .error = ERROR_ACCESS_DENIED, .lasting = isLasting});
                try {
                    operation.run(*files);
                } catch (const CFileException&) {
                    EXPECT_TRUE(operation.throws && watch.Failed()) << operation.name;
                } catch (const CException&) { // a conversion's lack of memory
                    EXPECT_TRUE(watch.Failed()) << operation.name;
                }
                points = round == 0 ? watch.Points() : points;
                reached += watch.Failed() ? 1U : 0U;
                unclosed = FailedCloses(watch, ordinal, isLasting);
            }
            Check(operation, wanted, unclosed);
        }
        std::cout << operation.name << ": failures at " << reached << " of " << points * 2 << " points\n";
        EXPECT_EQ(reached, points * 2) << operation.name;
    }
}

TEST_F(FileSystemCalls, HaveWholePathsWithoutMemory)
{
    const TraceCapture trace;
    for (const Operation& operation : OPERATIONS) {
        const Names wanted = Run(operation); // the pool has the names from now on
        FailingInTurn points(operation.name);
        while (points.Next()) {
            Prepare(operation);
            const bool done = points.Try([&] { operation.run(*files); });
            Check(operation, wanted);
            if (!done && std::string_view(operation.name) == "SetRoot") {
                files->SetRoot(root, true);
                for (const char* name : {".", "file", "sub", "sub/.", "sub/inner", "empty", "empty/."}) {
                    EXPECT_TRUE(InfoOf(*files, name).exists) << name;
                }
            }
        }
    }
}

TEST_F(FileSystemCalls, AreNoneForWhatTheIndexKnows)
{
    Prepare({"GetFileInfo", nullptr, "", true});
    for (const CString path : {"file", "/SUB\\Inner", "missing", "empty/"}) {
        const HeapWatch heap;
        const GateWatch calls;
        InfoOf(*files, path);
        EXPECT_EQ(heap.Blocks() + calls.Points(), 0u) << path.CStr();
    }
}

} // namespace
} // namespace Plinth
