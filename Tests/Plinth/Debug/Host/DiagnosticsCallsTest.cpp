// The platform's calls behind reports, dumps and symbols: their order, and what comes of each that fails.
#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Plinth/Debug/Clipboard.h"
#include "Plinth/Debug/ErrorReport.h"
#include "Plinth/Debug/Minidump.h"
#include "Plinth/Debug/StackDump.h"
#include "Plinth/Debug/Symbols.h"
#include "Tests/Plinth/Debug/FreshDiagnostics.h"
#include "Tests/Plinth/Debug/Host/ReportCalls.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <fstream>

namespace Plinth {
namespace {

using Platform::Host::GateWatch;

std::vector<Platform::Host::MessageBoxCall> boxes;
std::string debuggerOutput;

class HostDiagnostics : public testing::Test {
protected:
    HostDiagnostics()
    {
        boxes.clear();
        debuggerOutput.clear();
        Platform::Host::SetMessageBoxHook([](const Platform::Host::MessageBoxCall& call) {
            boxes.push_back(call);
            return IDOK;
        });
        Platform::Host::SetDebuggerHook([](const char* text) { debuggerOutput += text; });
        SetMinidumpLocation(ToUtf8(ToPlatform(scratch_.Path())).c_str(), "Host");
    }
    ~HostDiagnostics() override
    {
        Platform::Host::SetMessageBoxHook({});
        Platform::Host::SetDebuggerHook({});
        Platform::Host::SetActiveWindow(nullptr, nullptr);
        Platform::Host::SetModulePath({});
        Platform::Host::SetShownVersion({});
        ClearMinidumpLocation();
    }

    FreshDiagnostics fresh_;
    ScratchFolder scratch_;
};

void ReportAssertion()
{
    ReportError(ReportFlagContinue, "a.cpp", 1, nullptr, nullptr);
}

TEST_F(HostDiagnostics, ReportCallsThePlatformInOrder)
{
    ReportAssertion(); // makes the lock
    Platform::Host::SetActiveWindow(reinterpret_cast<HWND>(16), reinterpret_cast<HWND>(32));
    const GateWatch watch;
    ReportAssertion();
    EXPECT_EQ(CallsOf(watch),
              (Calls{"EnterCriticalSection", "GetLocalTime", "OpenClipboard", "EmptyClipboard", "GlobalAlloc",
                     "GlobalLock", "GlobalUnlock", "SetClipboardData", "CloseClipboard", "GetModuleFileNameA",
                     "GetActiveWindow", "GetLastActivePopup", "MessageBoxA", "GetKeyState",
                     "LeaveCriticalSection"}));
    ASSERT_EQ(boxes.size(), 2u);
    EXPECT_EQ(boxes[0].type, 0x00011010u); // OK, the error icon, system-modal, to the foreground
    EXPECT_FALSE(boxes[0].hasOwner);
    EXPECT_TRUE(boxes[1].hasOwner);
}

TEST_F(HostDiagnostics, ReportGoesOnWithoutAClipboard)
{
    struct Row {
        const char* failing;
        const char* left; // on the clipboard
        bool copied;
    };
    for (const Row& row :
         {Row{"OpenClipboard", "before", false}, Row{"GlobalAlloc", "", true}, Row{"GlobalLock", "", true},
          Row{"SetClipboardData", "", true}, Row{"CloseClipboard", "text", false}}) {
        SCOPED_TRACE(row.failing);
        ASSERT_TRUE(CopyTextToClipboard("before"));
        boxes.clear();
        {
            const GateWatch watch({.function = row.failing, .ordinal = 1});
            EXPECT_EQ(CopyTextToClipboard("text"), row.copied);
            EXPECT_EQ(watch.Count("GlobalAlloc") != 0 && *row.failing != 'C',
                      watch.Count("GlobalFree") != 0 || std::string(row.failing) == "GlobalAlloc");
        }
        char text[16];
        EXPECT_TRUE(PasteTextFromClipboard(text, sizeof(text)));
        EXPECT_STREQ(text, row.left);
        {
            const GateWatch watch({.function = row.failing, .ordinal = 1});
            EXPECT_EQ(PasteTextFromClipboard(text, sizeof(text)), *row.failing == 'G' || *row.failing == 'S');
            EXPECT_STREQ(text, *row.failing == 'C' ? row.left : "");
        }
        const GateWatch watch({.function = row.failing, .ordinal = 1});
        ReportAssertion();
        EXPECT_EQ(boxes.size(), 1u);
    }
}

TEST_F(HostDiagnostics, ThirdChanceGoesToTheDebuggerAlone)
{
    static int level;
    static std::string lines;
    level = 0;
    lines.clear();
    SetReportCallback([](const char* line) {
        lines += line;
        if (++level < 3) {
            ReportError(ReportFlagContinue | ReportFlagDebugError, "a.cpp", 1, nullptr, nullptr);
        }
    });
    ReportAssertion();
    EXPECT_EQ(lines,
              "\nERROR: Second chance DEBUG ERROR!\n"); // each report from inside takes the callback away
    EXPECT_EQ(debuggerOutput, "ERROR: Third chance DEBUG ERROR!\n");
    EXPECT_EQ(boxes.size(), 1u);
}

TEST_F(HostDiagnostics, StackDumpSaysWhatFails)
{
    ASSERT_TRUE(LoadDbgHelp());
    ASSERT_TRUE(InitSymbols());
    const std::string heading = "\nDumping call stack...\n\n";
    const std::string dumped = "Minidump successfully written.\n\n";
    const std::string finished = "Dumping of call stack finished.\n\n";
    const std::pair<const char*, std::string> rows[] = {
        {"DuplicateHandle", ""},
        {"CreateThread", heading + "Failed to create thread for dumping call stack!\n\n"},
        {"GetThreadContext", heading + "Failed to get context for stack dump.\n\n" + dumped + finished},
        {"StackWalk", heading + "Stack dump not available.\n\n" + dumped + finished},
    };
    for (const auto& [failing, lines] : rows) {
        const TraceCapture trace;
        const GateWatch watch({.function = failing, .ordinal = 1});
        DumpCallStack();
        EXPECT_EQ(trace.Text(), lines);
        EXPECT_TRUE(watch.Failed());
        EXPECT_EQ(watch.Count("SuspendThread"), watch.Count("ResumeThread"));
        EXPECT_EQ(stackDumpState.busy, -1);
    }
}

TEST_F(HostDiagnostics, StackDumpCallsThePlatformInOrder)
{
    ASSERT_TRUE(LoadDbgHelp());
    ASSERT_TRUE(InitSymbols());
    const GateWatch watch;
    DumpCallStack();
    EXPECT_EQ(watch.Count("CloseHandle"), 3u); // the file, the second thread, the first one
    Calls calls = CallsOf(watch);
    std::erase(calls, "WaitForSingleObject"); // begins at any time
    EXPECT_EQ(calls, (Calls{"DuplicateHandle", "CreateThread", "OutputDebugStringA", "SuspendThread",
                            "GetThreadContext", "StackWalk", "GetLocalTime", "MultiByteToWideChar",
                            "CreateFileW", "MiniDumpWriteDump", "CloseHandle", "ResumeThread",
                            "OutputDebugStringA", "GetExitCodeThread", "CloseHandle"}));
    EXPECT_EQ(debuggerOutput, "TraceStackDumpThreadProc()...\nTraceStackDumpThreadProc() finished!\n");
}

std::string searchPath; // UTF-8

BOOL WINAPI TakeSearchPath(HANDLE, LPCWSTR path, BOOL invadeProcess)
{
    searchPath = ToUtf8(path);
    return invadeProcess;
}

BOOL WINAPI TakeNarrowSearchPath(HANDLE, const char* path, BOOL invadeProcess)
{
    searchPath = std::string("narrow ") + path;
    return invadeProcess;
}

TEST_F(HostDiagnostics, SymbolsAreLookedForInTheTreeOfTheSources)
{
    struct Row {
        WORD major, minor, servicePack;
        bool isNarrow;
        std::vector<const char*> there;
        std::vector<const char*> searched; // behind the program's own folder
    };
    const char* const devkits = "../../source/devkits/DLLs";
    const char* const farDevkits = "../../../../../source/devkits/DLLs";
    const Row rows[] = {
        {5,
         1,
         2,
         true,
         {"../_dbg/symbols/WinXPSP2", "../../symbols", farDevkits, devkits},
         {"../_dbg/symbols", "../_dbg/symbols/WinXPSP2", devkits, farDevkits}},
        {5,
         0,
         0,
         false,
         {"../../symbols/Win2k", "../../../data/base/_dbg/symbols"},
         {"../../symbols", "../../symbols/Win2k"}},
        {5,
         2,
         1,
         false,
         {"../../../data/base/_dbg/symbols/WinXPSP1", "../../../source/devkits/DLLs"},
         {"../../../data/base/_dbg/symbols", "../../../source/devkits/DLLs"}},
        {6, 1, 0, false, {"../../../../source/devkits/DLLs"}, {}},
    };
    for (const Row& row : rows) {
        const ScratchFolder tree;
        const WideText program = ToPlatform(tree.Path()) + WIDE("\\1\\2\\3\\4\\5\\");
        std::filesystem::create_directories(tree.Path() / "1/2/3/4/5");
        for (const char* const folder : row.there) {
            std::filesystem::create_directories(tree.Path() / "1/2/3/4/5" / folder);
        }
        Platform::Host::SetModulePath(program + WIDE("Game.exe"));
        Platform::Host::SetShownVersion(OSVERSIONINFOEXW{
            .dwMajorVersion = row.major, .dwMinorVersion = row.minor, .wServicePackMajor = row.servicePack});
        symbolState = {.dbgHelp = Attempt::DONE};
        symbolState.functions.SymInitialize = TakeNarrowSearchPath;
        symbolState.functions.SymInitializeW = row.isNarrow ? nullptr : TakeSearchPath;
        EXPECT_TRUE(InitSymbols());
        std::string expected = (row.isNarrow ? "narrow " : "") + ToUtf8(program);
        for (const char* const folder : row.searched) {
            std::string path = folder;
            std::replace(path.begin(), path.end(), '/', '\\');
            expected += ";" + ToUtf8(program) + path + "\\";
        }
        EXPECT_EQ(searchPath, expected);
        CloseHandle(symbolState.process);
        symbolState = {};
    }
}

TEST_F(HostDiagnostics, WithoutALibraryOrAHandleThereAreNoSymbols)
{
    {
        const GateWatch watch({.function = "LoadLibraryW", .ordinal = 1});
        EXPECT_FALSE(LoadDbgHelp());
        EXPECT_FALSE(LoadDbgHelp());
        EXPECT_FALSE(InitSymbols());
        EXPECT_EQ(watch.Calls(), Calls{"LoadLibraryW"});
    }
    symbolState = {};
    Platform::Host::SetExportHook([](std::string_view name, FARPROC found) {
        return name == "SymGetOptions" ? reinterpret_cast<FARPROC>(0x10)
                                       : found; // which faults when it is called
    });
    EXPECT_FALSE(LoadDbgHelp());
    Platform::Host::SetExportHook({});
    EXPECT_EQ(symbolState.module, nullptr);
    symbolState = {};
    ASSERT_TRUE(LoadDbgHelp());
    const GateWatch watch({.function = "DuplicateHandle", .ordinal = 1});
    EXPECT_FALSE(InitSymbols());
    EXPECT_FALSE(InitSymbols());
    EXPECT_EQ(watch.Calls(), (Calls{"GetCurrentProcess", "DuplicateHandle"}));
}

TEST_F(HostDiagnostics, DumpsAreNamedForTheLocalTime)
{
    ASSERT_TRUE(LoadDbgHelp());
    for (const auto& [time, name] :
         {std::pair{SYSTEMTIME{2024, 12, 2, 31, 23, 59, 59, 999}, "Host_2024-12-31_23-59-59.dmp"},
          std::pair{SYSTEMTIME{987, 2, 2, 3, 9, 5, 7, 0}, "Host_987-02-03_09-05-07.dmp"}}) {
        constexpr std::uintmax_t LARGE = 1 << 24;
        std::ofstream(scratch_.Path() / name).put('x');
        std::filesystem::resize_file(scratch_.Path() / name, LARGE);
        Platform::Host::SetShownTime(time);
        const TraceCapture trace;
        WriteMinidump(nullptr);
        Platform::Host::SetShownTime({});
        EXPECT_EQ(trace.Text(), "\nMinidump successfully written.\n\n");
        EXPECT_EQ(std::ifstream(scratch_.Path() / name).get(), 'M');
        EXPECT_EQ(std::filesystem::file_size(scratch_.Path() / name),
                  LARGE); // what was there is written over
    }
}

} // namespace
} // namespace Plinth
