#include "Plinth/Debug/Symbols.h"

#include "Plinth/Debug/CStackWalker.h"
#include "Plinth/Debug/DbgHelp.h"
#include "Tests/Plinth/Debug/FreshDiagnostics.h"
#include "Tests/Support/OtherDbgHelp.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <fstream>

namespace Plinth {
namespace {

void Fault()
{
    static volatile std::uintptr_t badAddress = 0x10;
    *reinterpret_cast<volatile char*>(badAddress) = 0;
}

// What the debug-help functions answer in place of the library.
struct Answers {
    bool symbol, line, module;
    const char* faulting;
    int frames;
};
Answers answers;

void FaultIn(const char* function)
{
    if (answers.faulting != nullptr && std::strcmp(answers.faulting, function) == 0) {
        Fault();
    }
}

BOOL WINAPI FindSymbol(HANDLE, DWORD_PTR, DWORD_PTR* displacement, PIMAGEHLP_SYMBOL symbol)
{
    FaultIn("symbol");
    EXPECT_EQ(symbol->SizeOfStruct, sizeof(IMAGEHLP_SYMBOL));
    EXPECT_EQ(symbol->MaxNameLength, 999u);
    std::memset(symbol->Name, 'n', 998);
    std::strcpy(symbol->Name, "_Zname");
    *displacement = 17;
    return answers.symbol;
}

BOOL WINAPI FindLine(HANDLE, DWORD_PTR, LPDWORD, PIMAGEHLP_LINE line)
{
    static char file[] = "a/b.cpp";
    FaultIn("line");
    EXPECT_EQ(line->SizeOfStruct, sizeof(IMAGEHLP_LINE));
    line->FileName = file;
    line->LineNumber = 4294967295;
    return answers.line;
}

BOOL WINAPI FindModule(HANDLE, DWORD_PTR address, PIMAGEHLP_MODULE module)
{
    FaultIn("module");
    EXPECT_EQ(module->SizeOfStruct, sizeof(IMAGEHLP_MODULE));
    std::strcpy(module->ModuleName, "game");
    std::strcpy(module->ImageName, "C:\\game.exe");
    module->BaseOfImage = address - 1024;
    return answers.module;
}

BOOL WINAPI Walk(DWORD machine, HANDLE process, HANDLE thread, LPSTACKFRAME frame, LPVOID context,
                 PREAD_PROCESS_MEMORY_ROUTINE, PFUNCTION_TABLE_ACCESS_ROUTINE tables,
                 PGET_MODULE_BASE_ROUTINE bases, PTRANSLATE_ADDRESS_ROUTINE)
{
    FaultIn("walk");
    EXPECT_EQ(machine, 0x14Cu);
    EXPECT_EQ(process, reinterpret_cast<HANDLE>(4));
    EXPECT_EQ(thread, reinterpret_cast<HANDLE>(8));
    EXPECT_EQ(static_cast<CONTEXT*>(context)->Esp, 0x3000u);
    EXPECT_EQ(frame->AddrFrame.Offset, 0x2000u);
    EXPECT_EQ(frame->AddrStack.Offset, 0x3000u);
    for (const ADDRESS& address : {frame->AddrPC, frame->AddrFrame, frame->AddrStack}) {
        EXPECT_EQ(address.Mode, AddrModeFlat);
    }
    EXPECT_EQ(tables, symbolState.functions.SymFunctionTableAccess);
    EXPECT_EQ(bases, symbolState.functions.SymGetModuleBase);
    frame->AddrPC.Offset += 1;
    frame->Params[0] = 0xFFFFFFFF;
    frame->Params[3] = 0xABC;
    return answers.frames-- > 0;
}

LPVOID WINAPI FindTable(HANDLE, DWORD_PTR)
{
    return nullptr;
}

DWORD_PTR WINAPI FindBase(HANDLE, DWORD_PTR)
{
    return 0;
}

std::string Describe(std::uint32_t size)
{
    char text[128] = "before";
    text[size] = '#';
    DescribeAddress(text, size, 0x1000);
    EXPECT_EQ(text[size], '#');
    return size != 0 ? text : "";
}

class Symbols : public testing::Test {
protected:
    Symbols()
    {
        answers = {};
        symbolState.functions.SymGetSymFromAddr = FindSymbol;
        symbolState.functions.SymGetLineFromAddr = FindLine;
        symbolState.functions.SymGetModuleInfo = FindModule;
        symbolState.functions.StackWalk = Walk;
        symbolState.functions.SymFunctionTableAccess = FindTable;
        symbolState.functions.SymGetModuleBase = FindBase;
        symbolState.dbgHelp = symbolState.symbols = Attempt::DONE;
    }

    FreshDiagnostics fresh_;
};

TEST_F(Symbols, DescribeAnAddressByWhatIsKnownOfIt)
{
    struct Row {
        Answers known;
        const char* text;
    };
    for (const Row& row :
         {Row{{true, true, true}, "_Zname+17  a/b.cpp(4294967295)"}, Row{{true, false, true}, "_Zname+17"},
          Row{{false, true, true}, "a/b.cpp(4294967295)"},
          Row{{false, false, true}, "game+1024  C:\\game.exe"}, Row{{}, ""},
          Row{{true, true, true, "module"}, "_Zname+17  a/b.cpp(4294967295)"},
          Row{{true, true, true, "line"}, ""}, Row{{true, true, true, "symbol"}, ""},
          Row{{false, false, true, "module"}, ""}}) {
        answers = row.known;
        EXPECT_EQ(Describe(100), row.text);
        EXPECT_EQ(Describe(5), std::string(row.text).substr(0, 4));
        EXPECT_EQ(Describe(1), "");
        EXPECT_EQ(Describe(0), "");
    }
    DescribeAddress(nullptr, 5, 0x1000);
    answers = {true, true, true};
    symbolState.symbols = Attempt::FAILED;
    EXPECT_EQ(Describe(100), "");
}

TEST_F(Symbols, OfAStackComeFrameByFrame)
{
    CONTEXT context{};
    context.Eip = 0x401233;
    context.Ebp = 0x2000;
    context.Esp = 0x3000;
    context.SegCs = 0x1B;
    CStackWalker walker;
    answers = {.symbol = true, .frames = 2};
    walker.Start(reinterpret_cast<HANDLE>(4), reinterpret_cast<HANDLE>(8), context);
    EXPECT_STREQ(walker.Next(), "001b:00401234  0xFFFFFFFF 0x00000000 0x00000000 0x00000ABC  _Zname+17");
    EXPECT_STREQ(walker.Next(), "001b:00401235  0xFFFFFFFF 0x00000000 0x00000000 0x00000ABC  _Zname+17");
    EXPECT_EQ(walker.Next(), nullptr);
    for (const char* const faulting : {"walk", "symbol"}) {
        answers = {.faulting = faulting, .frames = 1};
        const char* const frame = walker.Next();
        EXPECT_EQ(frame == nullptr, *faulting == 'w'); // a frame without a description is one
    }
    answers = {.frames = 1};
    symbolState.symbols = Attempt::FAILED;
    EXPECT_EQ(walker.Next(), nullptr);
    EXPECT_EQ(answers.frames, 1);
}

// --- The library itself

TEST(DbgHelp, IsLoadedOnceAndNamesOwnFunctions)
{
    const FreshDiagnostics fresh;
    EXPECT_FALSE(InitSymbols());
    EXPECT_EQ(symbolState.symbols, Attempt::NOT_TRIED);
    ASSERT_TRUE(LoadDbgHelp());
    EXPECT_EQ(symbolState.functions.SymGetOptions() & 0x416, 0x414u);
    ASSERT_TRUE(InitSymbols());
    auto* const process = symbolState.process;
    EXPECT_TRUE(LoadDbgHelp());
    EXPECT_TRUE(InitSymbols());
    EXPECT_EQ(symbolState.process, process);
    char text[1024];
    DescribeAddress(text, sizeof(text), reinterpret_cast<DWORD_PTR>(&DescribeAddress) + 1);
    EXPECT_NE(std::string(text).find("DescribeAddress"), std::string::npos) << text;
    DescribeAddress(text, sizeof(text), 0x10);
    EXPECT_STREQ(text, "");
}

// Each function missing in turn: the first eleven are needed.
TEST(DbgHelp, WithoutAFunctionIsNoneOrALesserOne)
{
    constexpr std::array NAMES = {
        "ImagehlpApiVersion", "StackWalk",        "SymFunctionTableAccess", "SymGetLineFromAddr",
        "SymGetModuleBase",   "SymGetModuleInfo", "SymGetOptions",          "SymGetSymFromAddr",
        "SymInitialize",      "SymSetOptions",    "SymLoadModule",          "MiniDumpWriteDump",
        "SymInitializeW",
    };
    for (std::size_t missing = 0; missing < NAMES.size(); ++missing) {
        SCOPED_TRACE(NAMES[missing]);
        const FreshDiagnostics fresh;
        const OtherDbgHelp other(NAMES[missing]);
        EXPECT_EQ(LoadDbgHelp(), missing >= 11);
        EXPECT_EQ(LoadDbgHelp(), missing >= 11);
        EXPECT_EQ(symbolState.module != nullptr, missing >= 11);
        EXPECT_EQ(symbolState.functions.ImagehlpApiVersion != nullptr, missing >= 11);
        EXPECT_EQ(symbolState.functions.MiniDumpWriteDump != nullptr, missing == 12);
        EXPECT_EQ(symbolState.functions.SymInitializeW, nullptr); // not even looked for without the former
        EXPECT_EQ(InitSymbols(), missing >= 11);
    }
}

BOOL WINAPI Refuse(HANDLE, LPCWSTR, BOOL)
{
    return FALSE;
}

BOOL WINAPI FaultAtStart(HANDLE, LPCWSTR, BOOL)
{
    Fault();
    return TRUE;
}

TEST(DbgHelp, ThatDoesNotStartIsNotTriedAgain)
{
    for (const auto& start : {Refuse, FaultAtStart}) {
        const FreshDiagnostics fresh;
        ASSERT_TRUE(LoadDbgHelp());
        symbolState.functions.SymInitializeW = start;
        EXPECT_FALSE(InitSymbols());
        symbolState.functions.SymInitializeW = nullptr;
        EXPECT_FALSE(InitSymbols());
        EXPECT_EQ(symbolState.symbols, Attempt::FAILED);
    }
}

// --- The search path

TEST(SymbolSearchPath, TakesFoldersThatAreThere)
{
    const ScratchFolder scratch;
    std::filesystem::create_directories(scratch.Path() / "a" / "b");
    std::ofstream(scratch.Path() / "file") << "x";
    const WideText base = ToPlatform(scratch.Path()) + WIDE("\\");
    struct Row {
        LPCWSTR relative, extra;
        bool isAdded;
    };
    for (const Row& row : {Row{WIDE("a"), nullptr, true}, Row{WIDE("a\\"), WIDE("b"), true},
                           Row{WIDE("a\\b\\..\\b"), WIDE(""), true}, Row{WIDE("a\\"), WIDE(""), false},
                           Row{WIDE("file"), nullptr, false}, Row{WIDE("c"), nullptr, false},
                           Row{WIDE(""), WIDE("a"), false}, Row{nullptr, WIDE("a"), false}}) {
        CWideString path(WIDE("before"));
        EXPECT_EQ(AppendSymbolSearchPath(path, base.c_str(), row.relative, row.extra), row.isAdded);
        const WideText added = row.isAdded ? WIDE(";") + base + row.relative +
                                                 (row.extra != nullptr ? row.extra : WIDE("")) + WIDE("\\")
                                           : WideText();
        EXPECT_EQ(ToUtf8(path), ToUtf8(WIDE("before") + added));
    }
    CWideString full(WideText(4096 - base.size() - 2, WIDE('x')));
    EXPECT_FALSE(AppendSymbolSearchPath(full, base.c_str(), WIDE("a"), nullptr));
    full.pop_back();
    EXPECT_TRUE(AppendSymbolSearchPath(full, base.c_str(), WIDE("a"), nullptr));
    EXPECT_EQ(full.size(), 4096u);
    EXPECT_TRUE(DirectoryExists((base + WIDE("a")).c_str()));
    EXPECT_FALSE(DirectoryExists((base + WIDE("file")).c_str()));
    EXPECT_FALSE(DirectoryExists(WIDE("")));
    EXPECT_FALSE(DirectoryExists(nullptr));
}

} // namespace
} // namespace Plinth
