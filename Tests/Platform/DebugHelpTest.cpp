// The debug-help library, bound by name as programs bind it.
#include "Tests/Platform/BusyThread.h"
#include "Tests/Support/MinidumpReader.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

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

// Where the thread's context stands.
std::uint64_t InstructionOf(const Minidump& dump, const std::string& context)
{
    std::uint64_t instruction = 0;
    const bool isX86 = dump.processor == 0;
    std::memcpy(&instruction, context.substr(isX86 ? 0xB8 : 0xF8).data(), isX86 ? 4 : 8);
    return instruction;
}

TEST_F(DebugHelp, WritesMinidumps)
{
    const ScratchFolder scratch;
    const BusyThread thread;
    EXCEPTION_RECORD record{};
    record.ExceptionCode = 0xE0000001;
    CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    context.Eip = 0x12345;
    EXCEPTION_POINTERS pointers{&record, &context};
    MINIDUMP_EXCEPTION_INFORMATION information{GetCurrentThreadId(), &pointers, FALSE};
    for (auto* const exception : {static_cast<MINIDUMP_EXCEPTION_INFORMATION*>(nullptr), &information}) {
        ASSERT_TRUE(WriteDump(scratch.Path() / "a.dmp", exception));
        EXPECT_TRUE(thread.Counts());
        const auto [dump, fault] = ReadMinidump(scratch.Path() / "a.dmp");
        ASSERT_EQ(fault, "");
        ASSERT_EQ(dump.exception.has_value(), exception != nullptr);
        if (dump.exception.has_value()) {
            EXPECT_EQ(dump.exception->code, record.ExceptionCode);
            EXPECT_EQ(InstructionOf(dump, dump.exception->context), context.Eip);
        }
    }
}

} // namespace
