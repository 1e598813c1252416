// The platform calls of the file system: their order, and each of them and each heap block failing in turn.
#include "Platform/Host/Drives.h"
#include "Platform/Host/Gate.h"
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Plinth/FileSystem/FileTree.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/FailingInTurn.h"

#include <gtest/gtest.h>

#include <iostream>
#include <memory>
#include <optional>
#include <string>

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
const CString DRIVE("X:");
CString root; // longer than the buffers on the stack
CMemoryStream memory;

void Open(CWindowsFileSystem& files, const CString& path, std::uint32_t mode)
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

bool Exists(CWindowsFileSystem& files, const CString& path)
{
    CFileInfo info;
    files.GetFileInfo(info, path, 0);
    return info.Exists();
}

struct Operation {
    const char* name;
    void (*run)(CWindowsFileSystem& files);
    const char* calls; // null: of no interest
    bool isIndexed = false;
    bool throws = false; // not for lack of memory alone
};

const Operation OPERATIONS[] = {
    {"OpenStream, reading", [](auto& files) { Open(files, OLD, MODE_DEFAULT); },
     "CreateFileW ReadFile CloseHandle ", false, true},
    {"OpenStream, missing", [](auto& files) { Open(files, NEW, 0x10113); }, "CreateFileW ", false, true},
    {"OpenStream, appending", [](auto& files) { Open(files, OLD, MODE_APPEND | MODE_WRITE); },
     "CreateFileW SetFilePointer WriteFile CloseHandle ", false, true},
    {"OpenStream, new and indexed",
     [](auto& files) {
         Open(files, NEW, MODE_CREATE_NEW | MODE_WRITE | MODE_READ);
         EXPECT_TRUE(Exists(files, NEW));
     },
     "CreateFileW WriteFile CloseHandle FindFirstFileW FindClose ", true, true},
    {"LoadFile",
     [](auto& files) { EXPECT_TRUE(files.LoadFile(memory, INNER, MODE_DEFAULT) && memory.GetSize() == 3); },
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
    {"SetRoot, deep", [](auto& files) { files.SetRoot(DRIVE, true); }, nullptr},
    {"ListDirectory",
     [](auto& files) {
         std::set<CString> names;
         files.ListDirectory(names, SUB, 0);
         EXPECT_TRUE(names.empty() || std::string("inner") == names.begin()->CStr());
     },
     "FindFirstFileW FindNextFileW FindNextFileW FindNextFileW FindClose "},
    {"OpenRawFile",
     [](auto& files) {
         HANDLE file = nullptr;
         std::uint32_t size = 7;
         if (files.OpenRawFile(file, size, OLD, 1)) {
             files.CloseRawFile(file);
         }
         EXPECT_EQ(size, file == INVALID_HANDLE_VALUE ? 0u : 5u);
     },
     "CreateFileW GetFileSize SetFilePointer CloseHandle "},
    {"MakeDirectory", [](auto& files) { files.MakeDirectory(DEEP, true); },
     "FindFirstFileW CreateDirectoryW FindFirstFileW CreateDirectoryW "},
    {"EraseFile", [](auto& files) { files.EraseFile(OLD); }, "DeleteFileW "},
    {"EraseDirectory", [](auto& files) { files.EraseDirectory(EMPTY); }, "RemoveDirectoryW "},
    {"GetFullPath",
     [](auto& files) {
         CString path;
         EXPECT_EQ(files.GetFullPath(path, OLD).GetLength(), root.GetLength() + 5);
     },
     ""},
};

class FileSystemCalls : public testing::Test {
protected:
    using Names = std::map<std::string, std::string>;

    // A file system over a tree that is made anew after a change.
    void Prepare(const Operation& operation)
    {
        if (tree_ == nullptr || tree_->All() != before_) {
            MakeTree();
        }
        files.emplace(tree_->Root().c_str(), false);
        if (std::string_view(operation.name) != "SetRoot") {
            files->SetRoot(root, operation.isIndexed);
        }
    }

    Names NamesAfter(const Operation& operation)
    {
        Prepare(operation);
        operation.run(*files);
        return tree_->All();
    }

    // Nothing but what the operation is for was made or erased, and all that was opened is closed.
    void Check(const Operation& operation, const Names& wanted, unsigned closes = 0)
    {
        const int left = CountInheritedHandles() - handles_;
        EXPECT_LE(left, static_cast<int>(closes)) << operation.name;
        const Names after = tree_->All();
        for (const auto& entry : after) {
            EXPECT_TRUE(before_.contains(entry.first) || wanted.contains(entry.first)) << entry.first;
        }
        for (const auto& [name, content] : before_) {
            const auto now = after.find(name);
            const auto wish = wanted.find(name);
            if (now == after.end()) {
                EXPECT_TRUE(wish == wanted.end()) << name;
            } else if (now->second != content) {
                EXPECT_TRUE(wish != wanted.end() && now->second == wish->second) << name;
            }
        }
        handles_ += left;
        tree_ = left != 0 ? nullptr : tree_; // its files are held
    }

    ~FileSystemCalls() override { Platform::Host::RemoveDrive('X'); }

    std::optional<CWindowsFileSystem> files;

private:
    void MakeTree()
    {
        std::string name;
        for (int i = 0; i < 320; ++i) {
            name += i % 80 == 79 ? "\\" : "\xE2\x82\xAC";
        }
        tree_ = std::make_shared<FileTree>();
        Platform::Host::SetDrive('X', tree_->Native("").native());
        SetCurrentDirectoryW(u"X:\\");
        root = ("X:\\" + name).c_str();
        root.RemoveTrailingSeparator();
        ReplaceChar(name.data(), '\\', '/');
        for (const std::string& folder : {std::string(), name}) { // half a path would lead to the first
            tree_->Write(folder + "file", folder.empty() ? "trap" : "12345");
            tree_->Write(folder + "sub/inner", folder.empty() ? "trap" : "123");
            tree_->MakeFolder(folder + "empty");
        }
        tree_->Write("trap", "");
        before_ = tree_->All();
    }

    std::shared_ptr<FileTree> tree_;
    Names before_;
    int handles_ = CountInheritedHandles();
};

std::string FileCalls(const GateWatch& watch)
{
    std::string all;
    for (const std::string& call : watch.Calls()) {
        const bool isOther =
            call[0] > 'Z' || call == "GetLastError" || call.find("Wide") != std::string::npos;
        all += isOther ? "" : call + " ";
    }
    return all;
}

TEST_F(FileSystemCalls, ComeInOrderAndFailInTurn)
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
                EXPECT_TRUE(round != 0 || operation.calls == nullptr || FileCalls(watch) == operation.calls)
                    << FileCalls(watch);
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
            if (done && std::string_view(operation.name) == "SetRoot") {
                EXPECT_FALSE(Exists(*files, "trap"));
            } else if (!done && std::string_view(operation.name).starts_with("SetRoot")) {
                operation.run(*files);
                const std::string from = operation.calls == nullptr ? root.CStr() + 3 + std::string("/") : "";
                for (const char* name : {".", "file", "sub", "sub/.", "sub/inner", "empty", "empty/."}) {
                    EXPECT_TRUE(Exists(*files, (from + name).c_str())) << name;
                }
            }
        }
    }
}

TEST_F(FileSystemCalls, AreNoneForWhatTheIndexKnows)
{
    Prepare({"GetFileInfo", nullptr, "", true});
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
