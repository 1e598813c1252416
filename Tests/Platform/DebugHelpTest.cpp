// The debug-help library, bound by name as programs bind it.
#include "Tests/Platform/BusyThread.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr DWORD UNTOUCHED = 77;

template <typename Function>
Function* Bound(Function* /*type*/, const char* name)
{
    static auto* const library = LoadLibraryW(WIDE("DbgHelp.dll"));
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

#define BOUND(name) Bound(static_cast<decltype(&(name))>(nullptr), #name)

TEST(Libraries, AreFoundByNameWhateverTheLetterCase)
{
    auto* const library = LoadLibraryW(WIDE("DbgHelp.dll"));
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(LoadLibraryW(WIDE("DBGHELP")), library);
    for (const char* name :
         {"ImagehlpApiVersion", "StackWalk", "SymFunctionTableAccess", "SymGetLineFromAddr",
          "SymGetModuleBase", "SymGetModuleInfo", "SymGetOptions", "SymGetSymFromAddr", "SymInitialize",
          "SymSetOptions", "SymLoadModule", "MiniDumpWriteDump", "SymInitializeW"}) {
        EXPECT_NE(reinterpret_cast<void*>(GetProcAddress(library, name)), nullptr) << name;
    }
    SetLastError(UNTOUCHED);
    EXPECT_EQ(reinterpret_cast<void*>(GetProcAddress(library, "stackwalk")), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
    EXPECT_TRUE(FreeLibrary(library));
    for (LPCWSTR name : {WIDE("no such library.dll"), WIDE("dbghelp."), WIDE("")}) {
        SetLastError(UNTOUCHED);
        EXPECT_EQ(LoadLibraryW(name), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
    }
}

class DebugHelp : public testing::Test {
protected:
    static void SetUpTestSuite() { EXPECT_TRUE(BOUND(SymInitialize)(Process(), nullptr, TRUE)); }

    static HANDLE Process()
    {
        static HANDLE process = nullptr;
        if (process == nullptr) {
            auto* const self = GetCurrentProcess();
            DuplicateHandle(self, self, self, &process, 0, FALSE, DUPLICATE_SAME_ACCESS);
        }
        return process;
    }

    // Empty where it has none.
    static std::string SymbolOf(DWORD_PTR address, DWORD size = 500, HANDLE process = Process())
    {
        alignas(IMAGEHLP_SYMBOL) char record[sizeof(IMAGEHLP_SYMBOL) + 500]{};
        auto* const symbol = reinterpret_cast<IMAGEHLP_SYMBOL*>(record);
        symbol->SizeOfStruct = sizeof(*symbol);
        symbol->MaxNameLength = size;
        DWORD_PTR displacement = 0;
        SetLastError(UNTOUCHED);
        if (BOUND(SymGetSymFromAddr)(process, address, &displacement, symbol) == FALSE) {
            return {};
        }
        EXPECT_EQ(symbol->Address + displacement, address);
        return symbol->Name;
    }

    static BOOL WriteDump(const std::filesystem::path& path, MINIDUMP_EXCEPTION_INFORMATION* exception)
    {
        auto* const file = CreateFileW(ToPlatform(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                       OPEN_ALWAYS, 0, nullptr);
        const BOOL result = BOUND(MiniDumpWriteDump)(GetCurrentProcess(), GetCurrentProcessId(), file,
                                                     MiniDumpNormal, exception, nullptr, nullptr);
        CloseHandle(file);
        return result;
    }
};

// Something whose address is known.
extern "C" [[gnu::noinline]] void KnownFunction()
{
    asm volatile("nop");
}

TEST_F(DebugHelp, NamesFunctions)
{
    KnownFunction();
    const auto address = reinterpret_cast<DWORD_PTR>(&KnownFunction);
    EXPECT_NE(SymbolOf(address + 1).find("KnownFunction"), std::string::npos);
    EXPECT_EQ(SymbolOf(address, 6), SymbolOf(address).substr(0, 5));
    EXPECT_EQ(SymbolOf(0x10), "");
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
    EXPECT_EQ(SymbolOf(address, 500, reinterpret_cast<HANDLE>(0x1234)), "");
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

std::string InSmallLetters(std::string text)
{
    for (char& letter : text) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 'a' - 'A') : letter;
    }
    return text;
}

TEST_F(DebugHelp, KnowsModules)
{
    const auto address = reinterpret_cast<DWORD_PTR>(&KnownFunction);
    IMAGEHLP_MODULE module{};
    module.SizeOfStruct = sizeof(module);
    ASSERT_TRUE(BOUND(SymGetModuleInfo)(Process(), address, &module));
    EXPECT_EQ(InSmallLetters(module.ModuleName), "platformtests");
    const std::string image = InSmallLetters(module.ImageName);
    EXPECT_EQ(image.substr(1, 2), ":\\");
    EXPECT_EQ(image.substr(image.rfind('\\')), "\\platformtests.exe");
    EXPECT_LT(address - module.BaseOfImage, module.ImageSize);
    EXPECT_EQ(BOUND(SymGetModuleBase)(Process(), address), module.BaseOfImage);
    SetLastError(UNTOUCHED);
    EXPECT_FALSE(BOUND(SymGetModuleInfo)(Process(), 0x10, &module));
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
    EXPECT_EQ(BOUND(SymGetModuleBase)(Process(), 0x10), 0u);
}

TEST_F(DebugHelp, KeepsItsOptions)
{
    const DWORD before = BOUND(SymGetOptions)();
    EXPECT_EQ(BOUND(SymSetOptions)(SYMOPT_DEFERRED_LOADS), DWORD{SYMOPT_DEFERRED_LOADS});
    EXPECT_EQ(BOUND(SymGetOptions)(), DWORD{SYMOPT_DEFERRED_LOADS});
    BOUND(SymSetOptions)(before);
    EXPECT_EQ(BOUND(ImagehlpApiVersion)()->MajorVersion, 4);
    EXPECT_TRUE(BOUND(SymInitialize)(Process(), nullptr, TRUE));
}

TEST_F(DebugHelp, WalksTheStackOfASuspendedThread)
{
    const BusyThread thread;
    ASSERT_EQ(SuspendThread(thread.Handle()), 0u);
    CONTEXT context{};
    context.ContextFlags = CONTEXT_CONTROL;
    ASSERT_TRUE(GetThreadContext(thread.Handle(), &context));
    STACKFRAME frame{};
    frame.AddrPC = {.Offset = context.Eip, .Segment = 0, .Mode = AddrModeFlat};
    frame.AddrFrame = {.Offset = context.Ebp, .Segment = 0, .Mode = AddrModeFlat};
    frame.AddrStack = {.Offset = context.Esp, .Segment = 0, .Mode = AddrModeFlat};
    std::string names;
    DWORD_PTR expected = context.Eip;
    while (BOUND(StackWalk)(IMAGE_FILE_MACHINE_I386, Process(), thread.Handle(), &frame, &context, nullptr,
                            BOUND(SymFunctionTableAccess), BOUND(SymGetModuleBase), nullptr)) {
        EXPECT_EQ(frame.AddrPC.Offset, expected);
        expected = frame.AddrReturn.Offset;
        names += SymbolOf(frame.AddrPC.Offset) + ' ';
    }
    EXPECT_EQ(ResumeThread(thread.Handle()), 1u);
    std::string chain = "BusyLoop ";
    for (int i = 0; i < BusyThread::DEPTH; ++i) {
        chain += "BusyRecursion ";
    }
    EXPECT_EQ(names.substr(0, names.find("BusyStart")), chain);
}

// The types of the streams of a minidump.
std::vector<DWORD> Streams(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    const auto number = [&](std::size_t offset) {
        DWORD value = 0;
        EXPECT_LE(offset + sizeof(value), bytes.size());
        std::memcpy(&value, bytes.substr(offset).data(), sizeof(value));
        return value;
    };
    EXPECT_EQ(bytes.substr(0, 6), "MDMP\x93\xA7");
    std::vector<DWORD> types;
    for (std::size_t i = 0; i < number(8); ++i) {
        const std::size_t entry = number(12) + i * 12;
        EXPECT_LE(std::size_t{number(entry + 8)} + number(entry + 4), bytes.size());
        types.push_back(number(entry));
    }
    return types;
}

TEST_F(DebugHelp, WritesMinidumps)
{
    const ScratchFolder scratch;
    const BusyThread thread;
    EXCEPTION_RECORD record{};
    CONTEXT context{};
    EXCEPTION_POINTERS pointers{&record, &context};
    MINIDUMP_EXCEPTION_INFORMATION information{GetCurrentThreadId(), &pointers, FALSE};
    for (auto* const exception : {static_cast<MINIDUMP_EXCEPTION_INFORMATION*>(nullptr), &information}) {
        ASSERT_TRUE(WriteDump(scratch.Path() / "a.dmp", exception));
        EXPECT_TRUE(thread.Counts());
        const std::vector<DWORD> streams = Streams(scratch.Path() / "a.dmp");
        for (const DWORD type : {3u, 4u, 7u}) {
            EXPECT_EQ(std::count(streams.begin(), streams.end(), type), 1) << type;
        }
        EXPECT_EQ(std::count(streams.begin(), streams.end(), 6u), exception != nullptr ? 1 : 0);
    }
}

} // namespace
