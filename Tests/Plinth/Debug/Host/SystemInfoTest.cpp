// The system information of machines, programs and modules that are not this one's.
#include "Plinth/Debug/SystemInfo.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Plinth/Debug/Checksums.h"
#include "Plinth/Debug/ErrorMessageBox.h"
#include "Plinth/Debug/FpuPrecision.h"
#include "Plinth/Debug/Processor.h"
#include "Plinth/Debug/SystemInfoState.h"
#include "Tests/Plinth/Debug/FreshDiagnostics.h"
#include "Tests/Support/FailingInTurn.h"
#include "Tests/Support/Target.h"
#include "Tests/Support/VersionedFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <map>
#include <utility>

namespace Plinth {
namespace {

using Platform::Host::GateWatch;

struct Leaf {
    std::uint32_t eax, ebx, ecx, edx;
};

struct Processor {
    std::string vendor;
    std::uint32_t highest, highestExtended;
    Leaf first, fourth, extendedFirst, extendedEighth;
};

int asked;

// Each leaf says what it is where nothing else is asked for, so that one read too many is seen.
void Install(const Processor& processor)
{
    systemInfoState = {};
    Platform::Host::SetProcessorHook([processor](int registers[4], int leaf, int subLeaf) {
        EXPECT_EQ(subLeaf, 0);
        ++asked;
        std::map<std::uint32_t, Leaf> leaves{{1, processor.first},
                                             {4, processor.fourth},
                                             {0x80000000, {processor.highestExtended, 0, 0, 0}},
                                             {0x80000001, processor.extendedFirst},
                                             {0x80000008, processor.extendedEighth}};
        std::memcpy(&leaves[0].ebx, processor.vendor.data(), 4);
        std::memcpy(&leaves[0].edx, processor.vendor.data() + 4, 4);
        std::memcpy(&leaves[0].ecx, processor.vendor.data() + 8, 4);
        leaves[0].eax = processor.highest;
        for (const std::uint32_t part : {2u, 3u, 4u}) {
            std::memset(&leaves[0x80000000 + part], static_cast<int>('a' + part), sizeof(Leaf));
        }
        std::memcpy(registers, &leaves[static_cast<std::uint32_t>(leaf)], sizeof(Leaf));
    });
}

class HostSystemInfo : public testing::Test {
protected:
    ~HostSystemInfo() override
    {
        Platform::Host::SetProcessorHook({});
        Platform::Host::SetExportHook({});
        Platform::Host::SetModulePath({});
        Platform::Host::SetMessageBoxHook({});
        Platform::Host::SetActiveWindow(nullptr, nullptr);
        Platform::Host::SetScreenSize(0, 0);
        systemInfoState = {};
    }

    FreshDiagnostics fresh_;
    ScratchFolder scratch_;
};

TEST_F(HostSystemInfo, ProcessorIsCountedByItsMakersRule)
{
    const Leaf hyperThreading{0, 0xABFF00FF, 0, 1u << 28};
    const Leaf cache{0xFC000000, 0, 0, 0};
    const Leaf sizes{0, 0, 0xFFFF, 0};
    struct Row {
        const char* vendor;
        std::uint32_t highest, highestExtended;
        Leaf first;
        std::int32_t cores, logical;
        bool hasBrand, has3DNow;
    };
    for (const Row& row : {
             Row{"GenuineIntel", 4, 0x80000008, hyperThreading, 64, 255, true, true},
             Row{"GenuineIntel", 3, 0x80000004, {0, 0x300000, 0, ~(1u << 28)}, 1, 1, true, true},
             Row{"AuthenticAMD", 4, 0x80000008, hyperThreading, 128, 255, true, true},
             Row{"AuthenticAMD", 1, 0x80000007, hyperThreading, 1, 255, true, true},
             Row{"AuthenticAMd", 4, 0x80000008, hyperThreading, 1, 255, true, true},
             Row{"CentaurHauls", 1, 0x80000001, {}, 1, 1, false, true},
             Row{"GenuineIntel", 2, 0x80000000, {}, 1, 1, false, false},
             Row{"GenuineIntel", 2, 3, {}, 1, 1, false, false}, // no extended leaves at all
         }) {
        SCOPED_TRACE(row.vendor);
        Install({row.vendor, row.highest, row.highestExtended, row.first, cache, {0, 0, 0, 1u << 31}, sizes});
        EXPECT_EQ(GetCpuCoreCount(), row.cores); // as the first question of all
        EXPECT_EQ(GetCpuLogicalPerPackage(), row.logical);
        EXPECT_STREQ(GetCpuText(CPU_TEXT_VENDOR), row.vendor);
        EXPECT_STREQ(GetCpuText(CPU_TEXT_BRAND),
                     row.hasBrand ? "ccccccccccccccccddddddddddddddddeeeeeeeeeeeeeeee" : nullptr);
        EXPECT_EQ(GetCpuText(2), nullptr);
        EXPECT_EQ(HasCpuFeature(CPU_FEATURE_3DNOW), row.has3DNow);
    }
}

TEST_F(HostSystemInfo, ProcessorIsAskedOnceAndAnewOnRequest)
{
    Install({"GenuineIntel", 1, 0x80000001, {0, 0, 0, ~(1u << 23)}, {}, {0, 0, 0, ~(1u << 31)}, {}});
    EXPECT_FALSE(HasCpuFeature(CPU_FEATURE_MMX) || HasCpuFeature(CPU_FEATURE_3DNOW));
    asked = 0;
    EXPECT_TRUE(HasCpuFeature(CPU_FEATURE_SSE));
    EXPECT_FALSE(HasCpuFeature(3) || HasCpuFeature(-1));
    EXPECT_EQ(asked, 0);
    const SystemInfoState before = systemInfoState;
    Install({"GenuineIntel", 1, 0, {0, 0, 0, ~(1u << 25)}, {}, {}, {}});
    systemInfoState = before;
    QueryCpu();
    EXPECT_TRUE(HasCpuFeature(CPU_FEATURE_MMX));
    EXPECT_FALSE(HasCpuFeature(CPU_FEATURE_SSE) || HasCpuFeature(CPU_FEATURE_3DNOW));
}

// As the system itself has it.
TEST_F(HostSystemInfo, BrandIsTheProcessors)
{
    std::ifstream file("/proc/cpuinfo");
    std::string model;
    while (!model.starts_with("model name") && std::getline(file, model)) {
    }
    const char* const brand = GetCpuText(CPU_TEXT_BRAND);
    if (brand == nullptr) {
        GTEST_SKIP() << "this processor has no brand";
    }
    EXPECT_NE(std::string(brand).find(model.substr(model.find(": ") + 2)), std::string::npos) << model;
}

MODULEENTRY32W shownModule;
HANDLE shownSnapshot;

HANDLE WINAPI HandOutSnapshot(DWORD, DWORD)
{
    return std::exchange(shownSnapshot, INVALID_HANDLE_VALUE);
}

BOOL WINAPI ShowModule(HANDLE, LPMODULEENTRY32W entry)
{
    *entry = shownModule;
    return TRUE;
}

BOOL WINAPI ShowNoModule(HANDLE, LPMODULEENTRY32W)
{
    return FALSE;
}

template <typename Function>
FARPROC Erase(Function* function)
{
    return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(function));
}

// Shows one module, a program file whose first bytes lie in memory too.
class ShownModule {
public:
    ShownModule(const ScratchFolder& scratch, const char16_t* name, const VersionedFileOptions& options)
        : content_(VersionedFile(options))
    {
        std::ofstream(scratch.Path() / "module", std::ios::binary) << content_;
        shownSnapshot = nullptr;
        shownModule = {.modBaseAddr = reinterpret_cast<LPBYTE>(0x10ABCDEF0),
                       .modBaseSize = 0xFF000,
                       .hModule = reinterpret_cast<HMODULE>(content_.data())};
        std::u16string(name).copy(shownModule.szModule, MAX_MODULE_NAME32);
        ToPlatform(scratch.Path() / "module").copy(shownModule.szExePath, MAX_PATH - 1);
        Platform::Host::SetExportHook([](std::string_view function, FARPROC found) {
            return function == "CreateToolhelp32Snapshot" ? Erase(HandOutSnapshot)
                   : function == "Module32FirstW"         ? Erase(ShowModule)
                   : function == "Module32NextW"          ? Erase(ShowNoModule)
                                                          : found;
        });
    }

private:
    std::string content_;
};

TEST_F(HostSystemInfo, ModuleIsShownWithVersionAndLinkTime)
{
    struct Row {
        VersionedFileOptions file;
        const char16_t* name;
        const char* line;
    };
    for (const Row& row : {
             Row{{.file = {1, 2, 3, 4}, .timeStamp = 1700000000},
                 u"Game.dll",
                 "0x0abcdef0 (0x000ff000)  Game.dll              (1.2.3.4,           0x6553f100, 2023/11/14 "
                 "23:13)"},
             Row{{.file = {65535, 65535, 65535, 65535}, .timeStamp = 0xFFFFFFFF},
                 u"A \u017eame of more than 20 characters",
                 "0x0abcdef0 (0x000ff000)  A ?ame of more than 20 characters  (65535.65535.65535.65535, "
                 "0xffffffff, 2106/02/07 07:28)"},
         }) {
        const ShownModule module(scratch_, row.name, row.file);
        const TraceCapture trace;
        TraceModuleList();
        EXPECT_EQ(trace.Text(), "\n" + std::string(row.line) + "\n\n");
    }
    const ShownModule module(scratch_, u"x", {});
    const GateWatch watch({.function = "_gmtime64_s", .ordinal = 1});
    const TraceCapture trace;
    TraceModuleList();
    EXPECT_NE(trace.Text().find(" 0x00000000, 1900/01/00 00:00)\n"), std::string::npos) << trace.Text();
}

TEST_F(HostSystemInfo, ModuleListSaysWhatFails)
{
    const std::string noFunctions = "\nFailed to get snapshot functions!\n\n";
    const auto list = [] {
        const TraceCapture trace;
        TraceModuleList();
        return trace.Text();
    };
    for (const auto& [failing, text] :
         {std::pair{"GetModuleHandleW", noFunctions}, std::pair{"GetProcAddress", noFunctions},
          std::pair{"CreateToolhelp32Snapshot", std::string("\nFailed to get module snapshot!\n\n")},
          std::pair{"Module32FirstW", std::string()}}) {
        const GateWatch watch({.function = failing, .ordinal = 1});
        EXPECT_EQ(list(), text);
        EXPECT_EQ(watch.Count("CloseHandle"), text.empty() ? 1u : 0u);
    }
    for (const std::string_view missing : {"CreateToolhelp32Snapshot", "Module32FirstW", "Module32NextW"}) {
        Platform::Host::SetExportHook(
            [missing](std::string_view name, FARPROC found) { return name == missing ? nullptr : found; });
        EXPECT_EQ(list(), noFunctions);
    }
}

TEST_F(HostSystemInfo, ModuleListClosesItsSnapshotWithoutMemoryToo)
{
    const ShownModule module(scratch_, u"x", {});
    bool hasThrown = false;
    FailingInTurn points("TraceModuleList");
    while (points.Next()) {
        auto* const snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, 0);
        shownSnapshot = snapshot;
        hasThrown = !points.Try([] { TraceModuleList(); }) || hasThrown;
        EXPECT_EQ(CloseHandle(snapshot) != FALSE, shownSnapshot == snapshot); // unless it was handed out
    }
    EXPECT_TRUE(hasThrown);
}

TEST_F(HostSystemInfo, BannerHasNameVersionAndDetail)
{
    std::ofstream(scratch_.Path() / "\xC3\xA4 game.exe", std::ios::binary)
        << VersionedFile({.file = {1, 2, 3, 2}});
    const WideText path = ToPlatform(scratch_.Path() / "\xC3\xA4 game.exe");
    Platform::Host::SetModulePath(path);
    Platform::Host::SetShownMemoryStatus(MEMORYSTATUS{});
    Install({"GenuineIntel", 4, 0, {0, 0xFF0000, 0, 1u << 28}, {0xFC000000, 0, 0, 0}, {}, {}});
    for (const auto& [name, detail, line] :
         {std::tuple{"Game", "a detail", "Game version 1.2.3b (a detail)"},
          std::tuple{"", "", " version 1.2.3b"},
          std::tuple{static_cast<const char*>(nullptr), static_cast<const char*>(nullptr),
                     " game.exe version 1.2.3b"}}) { // the trace output has no characters beyond ASCII
        const TraceCapture trace;
        TraceProgramBanner(name, detail);
        EXPECT_TRUE(trace.Text().starts_with("\n" + std::string(line) + "\n\nDbgHelp.dll not loaded.\n\n0x"))
            << trace.Text();
        EXPECT_NE(
            trace.Text().find("\n\n\"<NULL>\" detected.\n64 core(s) detected, 255 support(s) HT.\n\nMemory"),
            std::string::npos)
            << trace.Text();
        EXPECT_TRUE(trace.Text().ends_with("total page file 0 MB.\n\n")) << trace.Text();
    }
    Platform::Host::SetShownMemoryStatus({});
}

TEST_F(HostSystemInfo, ProgramVersionNamesItsPrivatePartByALetter)
{
    for (const auto& [numbers, text] :
         {std::pair{VersionNumbers{1, 2, 3, 0}, "1.2.3"}, std::pair{VersionNumbers{1, 2, 3, 1}, "1.2.3a"},
          std::pair{VersionNumbers{0, 0, 0, 26}, "0.0.0z"}, std::pair{VersionNumbers{1, 2, 3, 27}, "1.2.3?"},
          std::pair{VersionNumbers{65535, 65534, 123, 2}, "65535.65534.123"},
          std::pair{VersionNumbers{}, "0.0.0"}}) {
        std::ofstream(scratch_.Path() / "program", std::ios::binary) << VersionedFile({.file = numbers});
        Platform::Host::SetModulePath(ToPlatform(scratch_.Path() / "program"));
        systemInfoState = {};
        char buffer[16];
        GetProgramVersionText(buffer, sizeof(buffer));
        EXPECT_STREQ(buffer, text);
        const GateWatch watch;
        GetProgramVersionText(buffer, 4);
        EXPECT_EQ(buffer, std::string(text).substr(0, 3));
        EXPECT_EQ(watch.Calls().size(), 0u); // it is kept
    }
}

TEST_F(HostSystemInfo, VersionChecksumIsOfAllFourNumbers)
{
    std::ofstream(scratch_.Path() / "program", std::ios::binary) << VersionedFile({.file = {1, 2, 3, 65535}});
    Platform::Host::SetModulePath(ToPlatform(scratch_.Path() / "program"));
    EXPECT_EQ(ComputeVersionChecksum(), 0xE5532BB7u); // of 3, 1, 2, 65535, 2
}

TEST_F(HostSystemInfo, PrecisionIsSetByTheRuntime)
{
    const GateWatch watch;
    SetFpuDoublePrecision();
    EXPECT_EQ(watch.Calls(), (std::vector<std::string>{"_control87", "_control87", "_set_SSE2_enable"}));
}

TEST_F(HostSystemInfo, LocalTimeIsTheClocks)
{
    Platform::Host::SetShownTime(SYSTEMTIME{2024, 12, 2, 31, 3, 5, 59, 999});
    TraceLocalTime();
    Platform::Host::SetShownTime({});
    EXPECT_EQ(fresh_.Text(), "\nLocal time is 03:05:59...\n\n");
}

TEST_F(HostSystemInfo, FullScreenWindowMakesRoomForTheErrorBox)
{
    std::vector<Platform::Host::MessageBoxCall> boxes;
    Platform::Host::SetMessageBoxHook([&boxes](const Platform::Host::MessageBoxCall& call) {
        boxes.push_back(call);
        return IDOK;
    });
    HWND window = reinterpret_cast<HWND>(16);
    const RECT whole{0, 0, 800, 600};
    struct Row {
        HWND active;
        int width, height;
        RECT place;
        bool isFullScreen;
    };
    for (const Row& row :
         {Row{window, 800, 600, whole, true}, Row{nullptr, 800, 600, whole, false},
          Row{window, 800, 600, {0, 0, 800, 599}, false}, Row{window, 800, 600, {0, 0, 801, 600}, false},
          Row{window, 800, 600, {1, 0, 801, 600}, false}, Row{window, 800, 600, {0, 1, 800, 601}, false},
          Row{window, 0, 600, {0, 0, 0, 600}, false}, Row{window, 800, 0, {0, 0, 800, 0}, false}}) {
        Platform::Host::SetScreenSize(row.width, row.height);
        Platform::Host::SetActiveWindow(row.active, row.active);
        Platform::Host::SetActiveWindowRect(row.place);
        EXPECT_EQ(IsFullScreenWindow(row.active), row.isFullScreen);
        GateWatch watch;
        EXPECT_EQ(ShowErrorMessageBox(row.isFullScreen ? "text" : nullptr), 0);
        EXPECT_EQ(watch.Count("ShowWindow"), row.isFullScreen ? 1u : 0u);
        EXPECT_EQ(watch.Calls().back(), "MessageBoxA");
        EXPECT_EQ(boxes.back().hasOwner, row.active != nullptr);
        EXPECT_EQ(boxes.back().text, row.isFullScreen ? u"text" : u"");
        EXPECT_EQ(boxes.back().caption, u"Error");
        EXPECT_EQ(boxes.back().type, 0x00010010u); // the error icon, to the foreground
    }
    const GateWatch watch({.function = "GetWindowRect", .ordinal = 1});
    Platform::Host::SetScreenSize(800, 600);
    Platform::Host::SetActiveWindowRect(whole);
    EXPECT_FALSE(IsFullScreenWindow(window));
}

} // namespace
} // namespace Plinth
