// The platform calls of the file system: their order, and each of them and each heap block failing in turn.
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
#include <set>
#include <string>
#include <vector>

namespace Plinth {
namespace {

using Platform::Host::GateRule;
using Platform::Host::GateWatch;

CString root; // longer than the buffers on the stack
CMemoryStream memory;

void Open(CWindowsFileSystem& files, const char* path, std::uint32_t mode)
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
    {"OpenStream, reading", [](auto& files) { Open(files, "file", MODE_DEFAULT); },
     "CreateFileW CloseHandle ", false, true},
    {"OpenStream, missing", [](auto& files) { Open(files, "none", 0x10113); }, "CreateFileW ", false, true},
    {"OpenStream, appending", [](auto& files) { Open(files, "file", MODE_APPEND | MODE_WRITE); },
     "CreateFileW SetFilePointer CloseHandle ", false, true},
    {"OpenStream, new and indexed",
     [](auto& files) {
         Open(files, "new", MODE_CREATE_NEW | MODE_WRITE | MODE_READ);
         EXPECT_TRUE(!files.IsDirectory("new", 0));
     },
     "CreateFileW CloseHandle FindFirstFileW FindClose ", true, true},
    {"LoadFile", [](auto& files) { files.LoadFile(memory, "sub/inner", MODE_DEFAULT); },
     "CreateFileW GetFileSize ReadFile CloseHandle ", true, true},
    {"GetDirectoryRoot",
     [](auto& files) {
         CString found("before");
         files.GetDirectoryRoot(found, "sub", 0);
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
         files.ListDirectory(names, "sub", 0);
         EXPECT_TRUE(names.empty() || names == std::set<CString>{"inner"});
     },
     "FindFirstFileW FindNextFileW FindNextFileW FindNextFileW FindClose "},
    {"OpenRawFile",
     [](auto& files) {
         HANDLE file = nullptr;
         std::uint32_t size = 7;
         if (files.OpenRawFile(file, size, "file", 1)) {
             files.CloseRawFile(file);
         }
         EXPECT_EQ(size, file == INVALID_HANDLE_VALUE ? 0u : 5u);
     },
     "CreateFileW GetFileSize SetFilePointer CloseHandle "},
    {"MakeDirectory", [](auto& files) { files.MakeDirectory("sub/x/y", true); },
     "FindFirstFileW FindClose FindFirstFileW CreateDirectoryW FindFirstFileW CreateDirectoryW "},
    {"EraseFile", [](auto& files) { files.EraseFile("file"); }, "DeleteFileW "},
    {"EraseDirectory", [](auto& files) { files.EraseDirectory("empty"); }, "RemoveDirectoryW "},
    {"GetFullPath",
     [](auto& files) {
         CString path("file");
         files.GetFullPath(path, path);
         EXPECT_GT(path.GetLength(), root.GetLength());
     },
     ""},
    {"SetRoot of the same, without an index", [](auto& files) { files.SetRoot(root, false); }, ""},
};

// A file system over a new tree.
struct Site {
    explicit Site(const Operation& operation)
    {
        std::string name;
        for (int i = 0; i < 320; ++i) {
            name += i % 80 == 0 && i != 0 ? "/\xE2\x82\xAC" : "\xE2\x82\xAC";
        }
        for (const std::string& folder : {std::string(), name + "/"}) { // where half a path would lead
            tree.Write(folder + "file", "12345");
            tree.Write(folder + "sub/inner", "123");
            tree.MakeFolder(folder + "empty");
        }
        root = tree.Root().c_str();
        files.emplace(root, false);
        files->GetFullPath(root, name.c_str());
        SetCurrentDirectoryW(ToPlatform(tree.Native("")).c_str());
        if (std::string(operation.name) != "SetRoot") {
            files->SetRoot(root, operation.isIndexed);
        }
        before = tree.All();
    }

    // Nothing but what the operation is for was made or erased, and all that was opened is closed.
    void Check(const std::map<std::string, std::string>& wanted)
    {
        EXPECT_EQ(CountInheritedHandles(), handles);
        const auto after = tree.All();
        for (const auto& entry : after) {
            EXPECT_TRUE(before.contains(entry.first) || wanted.contains(entry.first)) << entry.first;
        }
        for (const auto& [name, content] : before) {
            EXPECT_TRUE(after.contains(name) ? after.at(name) == content : !wanted.contains(name)) << name;
        }
    }

    void ExpectWholeIndex()
    {
        files->SetRoot(root, true);
        for (const char* name : {".", "file", "sub", "sub/.", "sub/inner", "empty", "empty/."}) {
            CFileInfo info;
            files->GetFileInfo(info, name, 0);
            EXPECT_TRUE(info.exists) << name;
        }
    }

    FileTree tree;
    std::optional<CWindowsFileSystem> files;
    std::map<std::string, std::string> before;
    const int handles = CountInheritedHandles();
};

std::string FileCalls(const GateWatch& watch)
{
    std::string calls;
    for (const std::string& call : watch.Calls()) {
        for (const char* part : {"File", "Find", "Directory", "Handle"}) {
            if (call.find(part) != std::string::npos) {
                calls += call + " ";
                break;
            }
        }
    }
    return calls;
}

// One call fails, or it and all later ones of its function.
void FailCall(const Operation& operation, const GateRule& rule,
              const std::map<std::string, std::string>& wanted, unsigned& reached)
{
    Site site(operation);
    unsigned opened = 0;
    unsigned closed = 0;
    {
        const GateWatch watch(rule);
        try {
            operation.run(*site.files);
        } catch (const CFileException&) {
            EXPECT_TRUE(operation.throws) << operation.name << rule.function;
        } catch (const CException&) {
            EXPECT_EQ(rule.function, "MultiByteToWideChar") << operation.name;
        }
        reached += watch.Failed() ? 1U : 0U;
        opened = watch.Count("FindFirstFileW") + watch.Count("CreateFileW");
        closed = watch.Count("FindClose") + watch.Count("CloseHandle");
        if (rule.function == "FindFirstFileW" || rule.function == "CreateFileW") {
            opened -= rule.lasting ? watch.Count(rule.function) - rule.ordinal + 1 : 1;
        }
    }
    EXPECT_LE(closed, opened) << operation.name << rule.function << rule.ordinal;
    if (!rule.function.ends_with("Close") && rule.function != "CloseHandle") {
        site.Check(wanted);
    }
}

TEST(FileSystemCalls, ComeInOrderAndFailInTurn)
{
    for (const Operation& operation : OPERATIONS) {
        Site site(operation);
        std::vector<std::string> calls;
        {
            const GateWatch watch;
            operation.run(*site.files);
            EXPECT_EQ(FileCalls(watch), operation.calls) << operation.name;
            calls = watch.Calls();
        }
        unsigned points = 0;
        unsigned reached = 0;
        std::map<std::string, unsigned> ordinals;
        for (const std::string& call : calls) {
            const unsigned ordinal = ++ordinals[call];
            for (const bool lasting : {false, true}) {
                FailCall(operation, {call, ordinal, ERROR_ACCESS_DENIED, lasting}, site.tree.All(), reached);
                ++points;
            }
        }
        std::cout << operation.name << ": failures at " << reached << " of " << points << " points\n";
        EXPECT_EQ(reached, points) << operation.name;
    }
}

TEST(FileSystemCalls, HaveWholePathsWithoutMemory)
{
    const TraceCapture trace;
    for (const Operation& operation : OPERATIONS) {
        std::optional<Site> site(std::in_place, operation);
        operation.run(*site->files); // the pool has the names from now on
        const auto wanted = site->tree.All();
        FailingInTurn points(operation.name);
        while (points.Next()) {
            site.emplace(operation);
            const bool done = points.Try([&] { operation.run(*site->files); });
            site->Check(wanted);
            if (!done) {
                site->ExpectWholeIndex();
            }
        }
    }
}

TEST(FileSystemCalls, AreNoneForWhatTheIndexKnows)
{
    Site site({"GetFileInfo", nullptr, "", true});
    for (const char* path : {"file", "/SUB\\Inner", "missing", "empty/"}) {
        CFileInfo info;
        const CString text(path);
        const HeapWatch heap;
        const GateWatch calls;
        site.files->GetFileInfo(info, text, 0);
        EXPECT_EQ(heap.Blocks() + calls.Points(), 0u) << path;
    }
}

} // namespace
} // namespace Plinth
