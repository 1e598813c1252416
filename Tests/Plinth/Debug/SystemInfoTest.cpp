#include "Plinth/Debug/SystemInfo.h"

#include "Plinth/Debug/FileVersion.h"
#include "Plinth/Debug/FpuPrecision.h"
#include "Plinth/Debug/ProcessSwitch.h"
#include "Plinth/Debug/Processor.h"
#include "Plinth/Debug/Symbols.h"
#include "Plinth/Text/CWideString.h"
#include "Tests/Plinth/Debug/FreshDiagnostics.h"
#include "Tests/Support/FailingInTurn.h"
#include "Tests/Support/Hexadecimal.h"
#include "Tests/Support/Target.h"
#include "Tests/Support/VersionedFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <vector>

namespace Plinth {
namespace {

constexpr FileVersion NONE{};

TEST(FileVersion, IsThatOfTheVersionResource)
{
    const ScratchFolder scratch;
    const auto write = [&scratch](const char* name, const std::string& content) {
        std::ofstream(scratch.Path() / name, std::ios::binary) << content;
        return ToPlatform(scratch.Path() / name);
    };
    constexpr FileVersion all{1, 65535, 0, 40000};
    const std::string file = VersionedFile({.file = {1, 65535, 0, 40000}});
    const WideText whole = write("\xC3\xA4.exe", file); // a name beyond ASCII
    EXPECT_EQ(GetFileVersion(whole.c_str()), all);
    EXPECT_EQ(GetFileVersion(CString(whole)), all);

    std::string unsignedFile = file;
    SetNumber(unsignedFile, VersionedFilePlaces::FIXED_INFO, 0);
    EXPECT_EQ(GetFileVersion(write("unsigned.exe", unsignedFile).c_str()), NONE);
    EXPECT_EQ(GetFileVersion(write("text.exe", "MZ, but a text").c_str()), NONE);
    EXPECT_EQ(GetFileVersion(LPCWSTR{nullptr}), NONE);
    EXPECT_EQ(GetFileVersion(CString()), NONE);
    EXPECT_EQ(GetModuleFileVersion(reinterpret_cast<HMODULE>(16)), NONE);

    const CString utf8(whole);
    bool hasThrown = false;
    FailingInTurn points("GetFileVersion");
    while (points.Next()) {
        FileVersion version{};
        const bool done = points.Try([&] { version = GetFileVersion(utf8); });
        EXPECT_TRUE(version == NONE || version == all);
        hasThrown = hasThrown || !done;
    }
    EXPECT_TRUE(hasThrown);
}

// A module's first bytes as they lie in memory.
struct ModuleStart {
    IMAGE_DOS_HEADER start;
    DWORD signature;
    IMAGE_FILE_HEADER header;

    HMODULE Handle() { return reinterpret_cast<HMODULE>(this); }
};

TEST(ModuleLinkTime, IsTheStampOfTheHeader)
{
    ModuleStart module{};
    module.start.e_lfanew = offsetof(ModuleStart, signature);
    module.header.TimeDateStamp = 0xFEDCBA98;
    EXPECT_EQ(GetModuleLinkTime(module.Handle()), 0u);
    module.start.e_magic = 0x5A4D;
    EXPECT_EQ(GetModuleLinkTime(module.Handle()), 0xFEDCBA98u);
    EXPECT_EQ(GetModuleLinkTime(nullptr), 0u);
    EXPECT_EQ(GetModuleLinkTime(reinterpret_cast<HMODULE>(16)), 0u); // where nothing can be read
}

std::vector<std::string> Lines(const std::string& text)
{
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

TEST(ModuleList, HasEachModuleInALine)
{
    const TraceCapture trace;
    TraceModuleList();
    const std::vector<std::string> lines = Lines(trace.Text());
    ASSERT_GE(lines.size(), 5u) << trace.Text();
    EXPECT_EQ(lines.front() + lines.back(), ""); // blank
    const std::regex form(R"(0x[0-9a-f]{8} \(0x[0-9a-f]{8}\)  [^ ].{18,}[^(]  )"
                          R"(\((?=.{18} 0x)(\d+\.){3}\d+, * 0x[0-9a-f]{8}, \d{4}/\d\d/\d\d \d\d:\d\d\))");
    for (std::size_t line = 1; line + 1 < lines.size(); ++line) {
        EXPECT_TRUE(std::regex_match(lines[line], form)) << lines[line];
    }
    HMODULE program = GetModuleHandleW(nullptr);
    EXPECT_TRUE(lines[1].starts_with("0x" + Hexadecimal(reinterpret_cast<std::uintptr_t>(program))))
        << lines[1];
    EXPECT_NE(lines[1].find("  PlinthTests.exe "), std::string::npos) << lines[1];
    EXPECT_NE(lines[1].find(" 0x" + Hexadecimal(GetModuleLinkTime(program)) + ','), std::string::npos)
        << lines[1];
}

TEST(SystemInfo, TellsOfTheDebugHelpLibrary)
{
    const FreshDiagnostics fresh;
    TraceSystemInfo();
    EXPECT_TRUE(fresh.Text().starts_with("\nDbgHelp.dll not loaded.\n\n0x")) << fresh.Text();
    ASSERT_TRUE(LoadDbgHelp());
    const TraceCapture loaded;
    TraceSystemInfo();
    const std::string first = Lines(loaded.Text()).at(1);
    EXPECT_TRUE(std::regex_match(
        first,
        std::regex(
            R"(DbgHelp\.dll \(file version (\d+\.){3}\d+, API version \d+\.\d+, revision \d+\) loaded\.)")))
        << first;
    const std::pair<decltype(symbolState.functions.ImagehlpApiVersion), const char*> rows[] = {
        {[] WINAPI {
             static API_VERSION version{1, 2, 3, 4};
             return &version;
         },
         ", API version 1.2, revision 3) loaded."},
        {[] WINAPI { return reinterpret_cast<LPAPI_VERSION>(16); },
         ", API version 0.0, revision 0) loaded."}};
    for (const auto& [function, text] : rows) {
        const TraceCapture trace;
        symbolState.functions.ImagehlpApiVersion = function;
        TraceSystemInfo();
        EXPECT_NE(trace.Text().find(text), std::string::npos) << trace.Text();
    }
}

TEST(FpuPrecision, IsWhatWasSet)
{
    const unsigned before = _control87(0, 0);
    SetFpuDoublePrecision();
    if (!IsFpuDoublePrecision()) {
        GTEST_SKIP() << "this processor has no control word";
    }
    volatile long double third = 1.0L;
    _control87(0, _EM_INVALID | _EM_DENORMAL | _MCW_RC | _MCW_IC); // all of which has to be set again
    _control87(0x300, _MCW_RC);
    SetFpuSinglePrecision();
    third = third / 3.0L;
    EXPECT_EQ(third, 1.0F / 3.0F); // 24 bits of it
    EXPECT_TRUE(IsFpuSinglePrecision());
    EXPECT_FALSE(IsFpuDoublePrecision());
    EXPECT_EQ(_control87(0, 0) & (_MCW_EM | _MCW_RC), _MCW_EM | 0u);
    SetFpuDoublePrecision();
    third = 1.0L;
    third = third / 3.0L;
    EXPECT_EQ(third, 1.0 / 3.0);
    EXPECT_FALSE(IsFpuSinglePrecision());
    EXPECT_TRUE(IsFpuDoublePrecision());
    _control87(before, _MCW_EM | _MCW_RC | _MCW_PC);
}

TEST(ProcessSwitch, IsKept)
{
    EXPECT_FALSE(IsProcessSwitchSet());
    SetProcessSwitch(255);
    EXPECT_TRUE(GetProcessSwitch() == 255 && IsProcessSwitchSet());
    SetProcessSwitch(0);
}

} // namespace
} // namespace Plinth
