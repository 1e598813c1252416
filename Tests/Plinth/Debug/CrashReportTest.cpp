#include "Plinth/Debug/CrashReport.h"

#include "Plinth/Debug/CrashState.h"
#include "Plinth/Debug/StaticDiagnostics.h"
#include "Plinth/Debug/Symbols.h"
#include "Plinth/Debug/SystemInfo.h"
#include "Plinth/Text/ZeroTerminatedText.h"
#include "Tests/Plinth/Debug/FreshDiagnostics.h"
#include "Tests/Support/Hexadecimal.h"

#include <gtest/gtest.h>

#include <regex>

namespace Plinth {
namespace {

std::string StampOf(HMODULE module)
{
    return "(time stamp 0x" + Hexadecimal(GetModuleLinkTime(module));
}

// Today's time and the machine's memory as words.
std::string Plain(const std::string& text)
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    char date[16];
    FormatText(date, sizeof(date), "%04i/%02i/%02i", now.wYear, now.wMonth, now.wDay);
    const std::regex time(R"(\[ )" + std::string(date) + R"( \d\d:\d\d:\d\d \])");
    static const std::regex memory("\nMemory load .*\n");
    return std::regex_replace(std::regex_replace(text, time, "[ TIME ]"), memory, "\nMEMORY\n");
}

// A fault that somebody made up: its instruction is the first of the bytes.
struct Fault {
    EXCEPTION_RECORD record{};
    CONTEXT context{};
    EXCEPTION_POINTERS pointers{&record, &context};

    explicit Fault(const void* instruction)
    {
        record.ExceptionCode = 0xC0000005;
        record.ExceptionAddress = reinterpret_cast<LPVOID>(0x00401234);
        record.NumberParameters = 2;
        record.ExceptionInformation[1] = 0x10;
        context.Eip = reinterpret_cast<DWORD_PTR>(instruction);
        context.SegCs = 0x1B;
    }
};

unsigned char instruction[64] = {0x8B, 0x00, 0xFF};

TEST(CrashReport, HasAllThatIsKnownOfAFault)
{
    const FreshDiagnostics fresh;
    Fault fault(instruction);
    CONTEXT& context = fault.context;
    DWORD_PTR* const wide[] = {&context.Eax, &context.Ebx, &context.Ecx, &context.Edx,
                               &context.Esi, &context.Edi, &context.Ebp, &context.Esp};
    for (std::size_t i = 0; i < std::size(wide); ++i) {
        *wide[i] = 0xA0000000 + i;
    }
    context.EFlags = 0x10246;
    context.SegSs = 0x23;
    context.SegDs = 0x2B;
    context.SegEs = 0x33;
    context.SegFs = 0x3B;
    context.SegGs = 0x43;
    WriteStaticDiagnostics("level 1\n\x1F\x7F\xFF~ end");
    HandleException(&fault.pointers);
    HMODULE program = GetModuleHandleW(nullptr);
    const DWORD_PTR place = context.Eip;

    std::string rows;
    for (DWORD_PTR row = 0; row < 64; row += 16) {
        rows += "    " + Hexadecimal(place + row) + "  " + (row == 0 ? "8b 00 ff " : "00 00 00 ");
        for (int byte = 3; byte < 16; ++byte) {
            rows += "00 ";
        }
        rows += '\n';
    }
    EXPECT_EQ(Plain(fresh.Text()),
              "\n[ TIME ] ERROR: Exception 0xc0000005 at 0x00401234!\n\n  PlinthTests.exe " +
                  StampOf(program) + ") caused an access violation exception in\n  module PlinthTests.exe " +
                  StampOf(program) + ", base address 0x" + Hexadecimal(reinterpret_cast<DWORD_PTR>(program)) +
                  ") at 001b:" + Hexadecimal(place) +
                  ".\n\n  Read from location 0x00000010 caused an access violation.\n\n  Registers:\n\n"
                  "    EAX=a0000000 CS=001b EIP=" +
                  Hexadecimal(place) +
                  " EFLGS=00010246\n"
                  "    EBX=a0000001 SS=0023 ESP=a0000007 EBP=a0000006\n"
                  "    ECX=a0000002 DS=002b ESI=a0000004 FS=003b\n"
                  "    EDX=a0000003 ES=0033 EDI=a0000005 GS=0043\n\n"
                  "  CS:EIP memory dump:\n\n" +
                  rows +
                  "\n  Stack dump:\n\n    <Symbol handler not initialized>\n\nMEMORY\n\n"
                  "  Static Diagnostics Memory dump:\n\nlevel 1\n...~ end\n\n"
                  "Can't write minidump (dbghelp.dll not loaded)!\n\n");
}

TEST(CrashReport, TellsAccessesApart)
{
    struct Row {
        DWORD code, parameters;
        DWORD_PTR kind;
        const char* told;
    };
    for (const Row& row : {Row{0xC0000005, 2, 0, "Read from"}, Row{0xC0000005, 3, 1, "Write to"},
                           Row{0xC0000005, 2, 8, "Write to"}, Row{0xC0000005, 1, 0, ""},
                           Row{0xC0000006, 2, 0, ""}, Row{0xC0000004, 0, 0, ""}}) {
        const FreshDiagnostics fresh;
        Fault fault(instruction);
        fault.record.ExceptionCode = row.code;
        fault.record.NumberParameters = row.parameters;
        fault.record.ExceptionInformation[0] = row.kind;
        CrashReport(&fault.pointers);
        const std::string text = fresh.Text();
        EXPECT_EQ(text.find(" location ") != std::string::npos, *row.told != 0) << text;
        EXPECT_NE(text.find(row.told), std::string::npos) << text;
        EXPECT_NE(text.find(std::string("caused ") + DescribeException(row.code) + " exception in"),
                  std::string::npos)
            << text;
    }
    EXPECT_STREQ(DescribeException(0xC0000004), "an unknown");
    EXPECT_STREQ(DescribeException(0x40010005), "a control-c");
    EXPECT_STREQ(DescribeException(0xE06D7363), "a Microsoft C++");
}

TEST(CrashReport, OfNothingIsAHeadingAndADump)
{
    const FreshDiagnostics fresh;
    HandleException(nullptr);
    CrashReport(nullptr);
    EXPECT_EQ(Plain(fresh.Text()),
              "\n[ TIME ] ERROR: Exception!\n\nCan't write minidump (dbghelp.dll not loaded)!\n\n");
}

// The first page that nothing can be read from, behind one that can be read.
const char* EndOfReadableMemory()
{
    MEMORY_BASIC_INFORMATION region{};
    bool followsReadable = false;
    for (const char* address = nullptr; VirtualQuery(address, &region, sizeof(region)) != 0;
         address += region.RegionSize) {
        if (followsReadable && region.State == MEM_FREE) {
            return address;
        }
        const bool isReadable = region.Protect == PAGE_READONLY || region.Protect == PAGE_READWRITE;
        followsReadable = region.State == MEM_COMMIT && isReadable;
    }
    return nullptr;
}

TEST(CrashReport, MarksCodeThatCannotBeRead)
{
    const char* const end = EndOfReadableMemory();
    ASSERT_NE(end, nullptr);
    std::string none;
    for (int byte = 0; byte < 14; ++byte) {
        none += "\\?\\? ";
    }
    {
        const FreshDiagnostics fresh;
        Fault fault(end - 2);
        CrashReport(&fault.pointers);
        const std::regex edge("\n    " + Hexadecimal(fault.context.Eip) + "  [0-9a-f]{2} [0-9a-f]{2} " +
                              none + "(\n    [0-9a-f]{8}  " + none + "\\?\\? \\?\\? ){3}\n\n");
        EXPECT_TRUE(std::regex_search(fresh.Text(), edge)) << fresh.Text();
    }
    const FreshDiagnostics fresh;
    Fault fault(reinterpret_cast<const void*>(0x10));
    CrashReport(&fault.pointers);
    const std::string text = fresh.Text();
    EXPECT_NE(
        text.find("module Unknown (time stamp 0x00000000, base address 0x00000000) at 001b:00000010.\n"),
        std::string::npos)
        << text;
    EXPECT_TRUE(std::regex_search(text, std::regex("\n    00000010  (\\?\\? ){16}\n"))) << text;
}

int framesToWalk;

BOOL WINAPI Walk(DWORD, HANDLE process, HANDLE thread, LPSTACKFRAME, LPVOID, PREAD_PROCESS_MEMORY_ROUTINE,
                 PFUNCTION_TABLE_ACCESS_ROUTINE, PGET_MODULE_BASE_ROUTINE, PTRANSLATE_ADDRESS_ROUTINE)
{
    EXPECT_EQ(process, symbolState.process);
    EXPECT_EQ(thread, GetCurrentThread());
    return framesToWalk-- > 0;
}

TEST(CrashReport, ListsUpTo16Frames)
{
    const FreshDiagnostics fresh;
    ASSERT_TRUE(LoadDbgHelp());
    ASSERT_TRUE(InitSymbols());
    symbolState.functions.StackWalk = Walk;
    for (const int frames : {0, 16, 17}) {
        const TraceCapture trace;
        framesToWalk = frames;
        Fault fault(reinterpret_cast<const void*>(&DescribeException));
        CrashReport(&fault.pointers);
        const std::regex stack("\n  Stack dump:\n(\n(    001b:[0-9a-f]{8}  0x.*\n){" +
                               std::to_string(std::min(frames, 16)) + "}" +
                               (frames > 16 ? "    <...>\n" : "") + ")?\nMemory load");
        const std::string text = trace.Text();
        EXPECT_TRUE(std::regex_search(text, stack)) << text;
        EXPECT_TRUE(std::regex_search(
            text, std::regex("\n\n  001b:" + Hexadecimal(fault.context.Eip) + "  .*DescribeException.*\n\n")))
            << text;
    }
}

// --- The static diagnostics

std::string Ring()
{
    const TraceCapture trace;
    TraceStaticDiagnostics();
    return trace.Text();
}

TEST(StaticDiagnostics, KeepTheNewestBytes)
{
    const FreshDiagnostics fresh;
    WriteStaticDiagnostics(nullptr);
    WriteStaticDiagnostics("");
    EXPECT_EQ(crashState.position, 0);
    std::string text = "xABC\n";
    while (text.size() < 10'240) {
        text += "1234567\n";
    }
    text.replace(10'239, std::string::npos, "yz");
    WriteStaticDiagnostics(text.c_str());
    EXPECT_EQ(crashState.position, 1);
    const std::string ring = Ring();
    EXPECT_EQ(ring.substr(0, 12), "ABC\n1234567\n");
    WriteStaticDiagnostics("\n");
    EXPECT_TRUE(Ring().ends_with("yz\n"));
    ClearStaticDiagnostics();
    EXPECT_EQ(crashState.position, 2);
    WriteStaticDiagnostics("\t\xE4\n");
    EXPECT_EQ(Ring(), "..\n");
    for (const std::int32_t wild : {20'000, -3}) { // as a crash may leave it
        crashState.position = wild;
        WriteStaticDiagnostics("end\n");
        EXPECT_NE(Ring().find("end\n"), std::string::npos);
    }
}

} // namespace
} // namespace Plinth
