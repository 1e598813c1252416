// What the host layer has beyond the platform: the gate, the command line's way through the host's arguments,
// drives, letter case, and what tests may say of message boxes, windows, clipboard and version.
#include "Platform/Host/CommandLine.h"
#include "Platform/Host/Control.h"
#include "Platform/Host/Drives.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/ProcessStart.h"
#include "Platform/Host/SystemFigures.h"
#include "Platform/Host/Utf.h"
#include "Platform/Host/VersionResource.h"
#include "Platform/Win32.h"
#include "Tests/Support/HeapWatch.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"
#include "Tests/Support/VersionedFile.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <thread>
#include <tuple>

namespace {

using namespace Platform::Host;
using Arguments = std::vector<std::u16string>;

TEST(Gate, FailsTheCallThatItsRuleNames)
{
    const std::pair<GateRule, std::string> rows[] = {
        {{}, "1111"},
        {{.function = "SetCurrentDirectoryW", .ordinal = 2, .error = 5}, "1011"},
        {{.function = "SetCurrentDirectoryW", .ordinal = 2, .error = 5, .lasting = true}, "1000"},
        {{.ordinal = 1, .error = 5}, "0111"},
        {{.function = "CloseHandle", .ordinal = 1, .error = 5, .lasting = true}, "1111"},
    };
    for (const auto& [rule, expected] : rows) {
        GateWatch watch(rule);
        std::string outcome;
        for (int i = 0; i < 4; ++i) {
            lastError = 77;
            const bool entered = SetCurrentDirectoryW(u"Z:\\") != FALSE;
            EXPECT_EQ(lastError, entered ? 77u : 5u);
            outcome += entered ? '1' : '0';
        }
        EXPECT_EQ(outcome, expected);
        EXPECT_EQ(watch.Failed(), expected != "1111");
        EXPECT_EQ(watch.Count("SetCurrentDirectoryW"), 4u);
    }
    EXPECT_TRUE(SetCurrentDirectoryW(u"Z:\\"));

    // What cannot fail is seen, never failed and never counted.
    GateWatch watch({.ordinal = 1, .error = 5});
    lastError = 77;
    EXPECT_EQ(GetLastError(), 77u);
    EXPECT_FALSE(watch.Failed());
    EXPECT_EQ(watch.Count("GetLastError"), 1u);
}

TEST(LastError, IsOfTheThread)
{
    SetLastError(5);
    std::thread([] {
        EXPECT_EQ(GetLastError(), 0u);
        SetLastError(6);
    }).join();
    EXPECT_EQ(GetLastError(), 5u);
}

TEST(CommandLine, IsCutAsTheRuntimeDoesIt)
{
    const std::pair<std::u16string, Arguments> rows[] = {
        {u"a b\tc", {u"a", u"b", u"c"}},
        {u"\"C:\\a b\\c\"d  e ", {u"C:\\a b\\c", u"d", u"e"}},
        {u"a \"b c\" d\"e f\"g", {u"a", u"b c", u"de fg"}},
        {u"a \\\\b \\\"c \\\\\"d e\\\\\" \\\\\\\"f", {u"a", u"\\\\b", u"\"c", u"\\d e\\", u"\\\"f"}},
        {u"a \"b\"\"c\" \"\" \"open d", {u"a", u"b\"c", u"", u"open d"}},
        {u"  a", {u"", u"a"}},
        {u"", {u""}},
        {u"\"unclosed name", {u"unclosed name"}},
    };
    for (const auto& [line, arguments] : rows) {
        EXPECT_EQ(SplitCommandLine(line), arguments) << ToHost(line);
        if (!line.empty()) {
            EXPECT_EQ(SplitCommandLine(JoinArguments(arguments)), arguments) << ToHost(line);
        }
    }
}

TEST(ProcessStart, TravelsOnlyWhereTheArgumentsDoNotSayIt)
{
    const auto variable = [](const std::u16string& line, UINT mode) {
        return StartVariable({line, mode}, SplitCommandLine(line));
    };
    EXPECT_EQ(variable(u"a \"b c\" d", 0), "");
    EXPECT_EQ(variable(u"a  b", 0), "PLATFORM_HOST_START=0;a  b");
    EXPECT_EQ(variable(u"a", 0x8001), "PLATFORM_HOST_START=8001;a");
    const std::u16string text = u"\u00fc\U0001F3AE\xD83C-\xDFAE";
    EXPECT_EQ(FromHost(ToHost(text)), text);
    EXPECT_EQ(FromHost("\xff\xc3"), u"\uFFFD\uFFFD");
}

TEST(ProcessStart, TheLongestCommandLineIsThePlatforms)
{
    for (const auto& [length, error] :
         {std::pair(32766, ERROR_FILE_NOT_FOUND), std::pair(32767, ERROR_FILENAME_EXCED_RANGE)}) {
        const std::u16string line(static_cast<std::size_t>(length), u'x');
        const StartedProcess process({.program = u"Z:\\no such program", .commandLine = line});
        EXPECT_FALSE(process.Started());
        EXPECT_EQ(process.Error(), error);
    }
}

class HostProcesses : public testing::Test {
protected:
    HostProcesses() { std::filesystem::copy_file(BuiltProgram("StandIn.exe"), scratch_.Path() / "a.exe"); }

    [[nodiscard]] ProcessOptions Program() const
    {
        return {.program = ToPlatform(scratch_.Path() / "a.exe")};
    }

private:
    ScratchFolder scratch_;
};

TEST_F(HostProcesses, EndOnceAndTellTheirExitCodeWhateverTheSignalsSay)
{
    std::signal(SIGCHLD, SIG_IGN);
    const StartedProcess process(Program());
    EXPECT_EQ(WaitForSingleObject(process.Handle(), INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(process.ExitCode(), 42u);
    EXPECT_FALSE(TerminateProcess(process.Handle(), 1));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
}

TEST_F(HostProcesses, AFailedStartKeepsNoHandles)
{
    const auto handleOfNext = [this] {
        const StartedProcess process(Program());
        EXPECT_EQ(WaitForSingleObject(process.Handle(), 20000), WAIT_OBJECT_0);
        return process.Handle();
    };
    const auto before = handleOfNext();
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(StartedProcess({.program = u"Z:\\no such program"}).Started());
    }
    EXPECT_EQ(handleOfNext(), before);
}

TEST(HostPaths, TheCurrentDirectoryHasAtMost258Characters)
{
    const ScratchFolder scratch;
    const std::size_t parent = ToPlatform(scratch.Path()).size() + 1;
    const std::pair<std::size_t, DWORD> rows[] = {{258, 77}, {259, ERROR_FILENAME_EXCED_RANGE}};
    for (const auto& [length, error] : rows) {
        for (const char16_t* end : {u"", u"\\"}) {
            const std::filesystem::path folder = scratch.Path() / std::string(length - parent, 'd');
            std::filesystem::create_directory(folder);
            lastError = 77;
            SetCurrentDirectoryW((ToPlatform(folder) + end).c_str());
            EXPECT_EQ(lastError, error) << length << ToHost(end);
        }
    }
}

TEST(HostPaths, AModulePathIsUtf8InBytesAndCutInTheList)
{
    SetModulePath(u"Z:\\\u00FC");
    char path[10];
    EXPECT_EQ(GetModuleFileNameA(nullptr, path, sizeof(path)), 5u);
    EXPECT_STREQ(path, "Z:\\\xC3\xBC");
    SetModulePath(u"Z:\\" + std::u16string(300, u'x'));
    auto* const list = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, 0);
    SetModulePath(std::nullopt);
    MODULEENTRY32W entry{.dwSize = sizeof(entry)};
    EXPECT_TRUE(Module32FirstW(list, &entry) && CloseHandle(list));
    EXPECT_TRUE(wcslen(entry.szExePath) == MAX_PATH - 1 && wcslen(entry.szModule) == 255);
}

TEST(Drives, LeadThereAndBack)
{
    const ScratchFolder scratch;
    std::filesystem::create_directory(scratch.Path() / "in");
    std::ofstream(scratch.Path() / "in" / "File.TXT") << "x";
    std::ofstream(scratch.Path() / "in" / "file.txt") << "y";
    SetDrive('m', scratch.Path().native() + "/");
    SetDrive('N', scratch.Path() / "in");
    SetDrive('O', scratch.Path() / "gone");
    EXPECT_EQ(ToHost(ToDrivePath(scratch.Path().native())), "M:\\");
    EXPECT_EQ(ToHost(ToDrivePath((scratch.Path() / "in2" / "x").native())), "M:\\in2\\x");
    EXPECT_EQ(ToHost(ToDrivePath((scratch.Path() / "in" / "x").native())), "N:\\x");
    struct Row {
        std::u16string path;
        DWORD error;
        std::string native; // below the scratch folder
    };
    const Row rows[] = {
        {u"N:\\File.TXT", ERROR_SUCCESS, "/in/File.TXT"}, // the exact name first
        {u"n:/file.txt", ERROR_SUCCESS, "/in/file.txt"},
        {u"M:\\IN\\..\\In\\FILE.TXT.", ERROR_SUCCESS, ""},
        {u"M:\\IN\\new", ERROR_FILE_NOT_FOUND, "/in/new"},
        {u"N:\\FILE.txt\\", ERROR_INVALID_NAME, ""},
        {u"M:\\IN\\", ERROR_SUCCESS, "/in"},
        {u"M:\\no\\new", ERROR_PATH_NOT_FOUND, ""},
        {u"K:\\new", ERROR_PATH_NOT_FOUND, ""},
        {u"O:\\new", ERROR_PATH_NOT_FOUND, ""},
        {u"O:\\", ERROR_PATH_NOT_FOUND, ""},
        {u"\\\\server\\share", ERROR_PATH_NOT_FOUND, ""},
        {u"M:\\in\\...\\x", ERROR_PATH_NOT_FOUND, ""},
    };
    for (const Row& row : rows) {
        std::string native;
        EXPECT_EQ(ResolvePath(row.path, native), row.error) << ToHost(row.path);
        if (!row.native.empty()) {
            EXPECT_EQ(native, scratch.Path().native() + row.native);
        }
    }
    RemoveDrive('M');
    RemoveDrive('n');
    RemoveDrive('o');
    EXPECT_EQ(ToDrivePath(scratch.Path().native())[0], u'Z');
}

TEST(MessageBoxes, GoToTheHookWhichMayCallTheLayer)
{
    std::vector<MessageBoxCall> calls;
    SetMessageBoxHook([&](const MessageBoxCall& call) {
        calls.push_back(call);
        return calls.size() == 1 ? MessageBoxA(nullptr, nullptr, "\xC3\xBC", MB_OK) : 7;
    });
    EXPECT_EQ(MessageBoxW(nullptr, u"text", nullptr, MB_ICONERROR), 7);
    EXPECT_EQ(MessageBoxA(reinterpret_cast<HWND>(&calls), "text \xF0\x9F\x8E\xAE", nullptr, MB_OK), 7);
    SetMessageBoxHook({});
    const MessageBoxCall expected[] = {{false, u"text", u"Error", MB_ICONERROR},
                                       {false, u"", u"\u00FC", MB_OK},
                                       {true, u"text \U0001F3AE", u"Error", MB_OK}};
    ASSERT_EQ(calls.size(), std::size(expected));
    for (std::size_t i = 0; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i].hasOwner, expected[i].hasOwner) << i;
        EXPECT_EQ(calls[i].text, expected[i].text) << i;
        EXPECT_EQ(calls[i].caption, expected[i].caption) << i;
        EXPECT_EQ(calls[i].type, expected[i].type) << i;
    }
}

TEST(MessageBoxes, GoToStandardErrorWithoutAHook)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(MessageBoxA(nullptr, "text \xC3\xBC", nullptr, MB_OK), IDOK);
    EXPECT_EQ(MessageBoxW(nullptr, u"text \u00FC", u"caption", MB_OK), IDOK);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error\ntext \xC3\xBC\ncaption\ntext \xC3\xBC\n");
}

TEST(Windows, AreNoneUnlessATestSaysOtherwise)
{
    auto* const window = reinterpret_cast<HWND>(0x10);
    auto* const popup = reinterpret_cast<HWND>(0x20);
    EXPECT_EQ(GetActiveWindow(), nullptr);
    EXPECT_EQ(GetKeyState(VK_CONTROL), 0);
    SetActiveWindow(window, popup);
    SetKeyState(-1);
    EXPECT_EQ(GetActiveWindow(), window);
    EXPECT_LT(GetKeyState(VK_CONTROL), 0);
    EXPECT_EQ(GetLastActivePopup(window), popup);
    RECT place{};
    SetScreenSize(800, 600);
    SetActiveWindowRect({1, 2, 3, 4});
    EXPECT_TRUE(GetSystemMetrics(SM_CXSCREEN) == 800 && GetSystemMetrics(SM_CYSCREEN) == 600);
    EXPECT_EQ(GetSystemMetrics(2), 0);
    EXPECT_TRUE(GetWindowRect(window, &place) && ShowWindow(window, SW_MINIMIZE));
    EXPECT_TRUE(place.left == 1 && place.bottom == 4);
    SetScreenSize(0, 0);
    SetActiveWindow(nullptr, nullptr);
    SetKeyState(0);
    for (HWND none : {HWND{nullptr}, window}) {
        lastError = 77;
        EXPECT_EQ(GetLastActivePopup(none), none);
        EXPECT_EQ(lastError, ERROR_INVALID_WINDOW_HANDLE);
        EXPECT_FALSE(GetWindowRect(none, &place) || ShowWindow(none, SW_MINIMIZE));
    }
}

TEST(HostProcessor, IsAnsweredByTheHook)
{
    int registers[4]{};
    SetProcessorHook([](int* answer, int leaf, int subLeaf) { answer[3] = leaf + subLeaf; });
    __cpuidex(registers, 40, 2);
    SetProcessorHook({});
    EXPECT_EQ(registers[3], 42);
}

TEST(DebuggerOutput, GoesToTheHookWithoutHeapMemory)
{
    static std::size_t length = 0;
    SetDebuggerHook([](const char* text) { length += std::strlen(text); });
    unsigned blocks = 1;
    {
        const HeapWatch watch;
        OutputDebugStringA("a text that is longer than any small buffer of a string object");
        OutputDebugStringA(nullptr);
        blocks = watch.Blocks();
    }
    SetDebuggerHook({});
    EXPECT_EQ(blocks, 0u);
    EXPECT_EQ(length, 62u);
}

TEST(DebuggerOutput, GoesToStandardErrorWhereADebuggerIsAttached)
{
    const bool attached = SystemFigures("/proc/self/status").Number("\nTracerPid:") != 0;
    testing::internal::CaptureStderr();
    OutputDebugStringA("text");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), attached ? "text" : "");
}

TEST(HostClipboard, IsOfOneThreadUntilThatClosesItOrEnds)
{
    const auto errorElsewhere = [] {
        DWORD error = ERROR_SUCCESS;
        std::thread([&] { error = OpenClipboard(nullptr) ? ERROR_SUCCESS : GetLastError(); }).join();
        return error;
    };
    EXPECT_TRUE(OpenClipboard(nullptr));
    EXPECT_EQ(errorElsewhere(), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(CloseClipboard());
    EXPECT_EQ(errorElsewhere(), ERROR_SUCCESS); // and it is left open
    EXPECT_TRUE(OpenClipboard(nullptr));
    EXPECT_TRUE(CloseClipboard());
}

TEST(HostClipboard, KeepsItsBlocksFromTheirFormerOwner)
{
    auto* const block = GlobalAlloc(GMEM_MOVEABLE, 5);
    EXPECT_EQ(GlobalAlloc(0, 5), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    ASSERT_TRUE(OpenClipboard(nullptr));
    {
        GateWatch watch({.function = "SetClipboardData", .ordinal = 1, .error = 5});
        EXPECT_EQ(SetClipboardData(CF_TEXT, block), nullptr);
        EXPECT_EQ(GetClipboardData(CF_TEXT), nullptr);
    }
    for (unsigned n = 1, failed = 1; failed != 0; ++n) {
        const HeapWatch watch({.ordinal = n});
        lastError = 77;
        const bool set = SetClipboardData(CF_TEXT, block) != nullptr;
        failed = watch.Failures();
        EXPECT_EQ(lastError, failed != 0 ? ERROR_NOT_ENOUGH_MEMORY : 77u);
        EXPECT_EQ(GetClipboardData(CF_TEXT), set ? block : nullptr);
    }
    lastError = 77;
    EXPECT_EQ(GlobalFree(block), block);
    EXPECT_EQ(lastError, ERROR_INVALID_HANDLE);
    EXPECT_EQ(SetClipboardData(CF_TEXT, block), nullptr);
    EXPECT_EQ(GetClipboardData(CF_TEXT), block);
    EXPECT_EQ(SetClipboardData(CF_TEXT, nullptr), nullptr);
    EXPECT_EQ(GlobalSize(block), 0u);
    EXPECT_TRUE(CloseClipboard());
}

TEST(HostVersion, IsTheTestsOwnWhereItHasOne)
{
    const auto shown = [] {
        OSVERSIONINFOEXW version{.dwOSVersionInfoSize = sizeof(version), .szCSDVersion = u"old"};
        EXPECT_TRUE(GetVersionExW(&version));
        EXPECT_EQ(version.dwOSVersionInfoSize, sizeof(version));
        return std::tuple(version.dwMajorVersion, version.dwMinorVersion, version.dwBuildNumber,
                          std::u16string(version.szCSDVersion));
    };
    const std::tuple own(6u, 2u, 9200u, std::u16string());
    EXPECT_EQ(shown(), own);
    SetShownVersion(OSVERSIONINFOEXW{
        .dwMajorVersion = 5, .dwMinorVersion = 1, .dwBuildNumber = 2600, .szCSDVersion = u"Service Pack 3"});
    EXPECT_EQ(shown(), std::tuple(5u, 1u, 2600u, std::u16string(u"Service Pack 3")));
    SetShownVersion(std::nullopt);
    EXPECT_EQ(shown(), own);
}

TEST(HostFileVersions, AreFoundInAFileWhosePartsAgree)
{
    using namespace VersionedFilePlaces;
    std::string whole = VersionedFile() + std::string(0x1000, '\0');
    SetNumber(whole, SECTION + 16, 0x1000);
    SetNumber(whole, RESOURCE_DIRECTORY + 8, TYPES); // the section's, where the header ends within its tables
    const std::tuple<std::size_t, std::uint32_t, DWORD> rows[] = {
        {DATA + 4, 91, 0},  {DIRECTORY_COUNT, 2, 0},  {RESOURCE, 0x34005B, 0},
        {DATA + 4, 93, 92}, {DIRECTORY_COUNT, 3, 92}, {RESOURCE, 0x34FFFF, 92},
        {KEY + 30, 1, 0},   {SECTION_COUNT, 96, 92},  {RESOURCE, 0x33005C, 0},
        {KEY, 0, 0},        {SECTION_COUNT, 97, 0},   {OPTIONAL_HEADER_SIZE, 100, 0}};
    for (const auto& [place, value, size] : rows) {
        std::string file = whole;
        SetNumber(file, place, value);
        const auto version = FindVersionResource([&](std::uint64_t start, void* bytes, std::size_t count) {
            return start <= file.size() && file.copy(static_cast<char*>(bytes), count, start) == count;
        });
        EXPECT_EQ(version.has_value() ? version->size : 0, size) << place << ' ' << value;
    }
    char block = 0;
    EXPECT_TRUE(!GetFileVersionInfoW(u"none", 0, 1, &block) && lastError == ERROR_INSUFFICIENT_BUFFER);
}

} // namespace
