// What the filter of unhandled faults is told of real ones, and of signals as the host may send them.
#include "Platform/Host/FaultRecords.h"
#include "Platform/Host/Registers.h"
#include "Platform/Win32.h"
#include "Tests/Support/HeapWatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

namespace {

using Platform::RunGuarded;

HANDLE device = nullptr;
DWORD_PTR base = 0; // of the address that is told

void Write()
{
    static volatile std::uintptr_t badAddress = 0x20;
    *reinterpret_cast<volatile char*>(badAddress) = 1;
}

void FaultUnderGuards()
{
    volatile char room[300'000];
    room[0] = 1; // its far end
    RunGuarded([] { RunGuarded(Write); });
    static_cast<void>(room[0]);
}

bool CallOthers(DWORD_PTR instruction)
{
    WCHAR path[MAX_PATH];
    MEMORY_BASIC_INFORMATION region;
    MEMORYSTATUS status;
    SYSTEMTIME time;
    DWORD done = 0;
    GlobalMemoryStatus(&status);
    GetLocalTime(&time);
    return GetModuleFileNameW(nullptr, path, MAX_PATH) != 0 && status.dwTotalPhys != 0 && time.wYear > 2000 &&
           VirtualQuery(reinterpret_cast<LPCVOID>(instruction), &region, sizeof(region)) != 0 &&
           WriteFile(device, path, 2, &done, nullptr) != FALSE;
}

[[gnu::noinline]] void CallNowhere(void (*nowhere)())
{
    nowhere();
    asm volatile("");
}

// The call is its last instruction.
[[gnu::noinline]] __attribute__((no_sanitize("undefined"))) void EndNowhere()
{
    static const volatile std::uintptr_t nowhere = 0x10;
    reinterpret_cast<void (*)()>(nowhere)();
    __builtin_unreachable();
}

[[gnu::noinline]] int Depth(int depth)
{
    volatile char room[512] = {};
    return depth == 0 ? 0 : Depth(depth - 1) + room[0];
}

const char* NameOf(DWORD_PTR instruction, const CONTEXT& context)
{
    const DWORD_PTR intoCall = instruction - reinterpret_cast<DWORD_PTR>(&CallNowhere);
    const DWORD_PTR intoDepth = instruction - reinterpret_cast<DWORD_PTR>(&Depth);
    if (instruction == context.Eip) {
        return " fault";
    }
    if (std::min(intoCall, intoDepth) >= 512) {
        return " other";
    }
    return intoCall < intoDepth ? " CallNowhere" : " Depth";
}

// With little heap memory, namely none, and much of the stack.
LONG WINAPI Tell(LPEXCEPTION_POINTERS exception)
{
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    CONTEXT& context = *exception->ContextRecord;
    std::string frames;
    frames.reserve(100);
    FaultUnderGuards();
    bool isWhole = false;
    unsigned blocks = 0;
    {
        const HeapWatch watch({.ordinal = 1, .lasting = true});
        STACKFRAME frame{};
        for (int i = 0; i < 3; ++i) {
            StackWalk(0, GetCurrentProcess(), GetCurrentThread(), &frame, &context, nullptr, nullptr, nullptr,
                      nullptr);
            frames += NameOf(frame.AddrPC.Offset, context);
        }
        isWhole = CallOthers(context.Eip);
        blocks = watch.Blocks();
    }
    const DWORD_PTR* const parameters = record.ExceptionInformation;
    const bool isNear = parameters[1] - context.Esp + 4096 < 8192;
    std::fprintf(stderr, "%X at %zu, %u: %zu %zX%s; %d %u%s\n", record.ExceptionCode, context.Eip - base,
                 record.NumberParameters, parameters[0], parameters[1], isNear ? " at the stack" : "",
                 isWhole && record.ExceptionAddress == reinterpret_cast<LPVOID>(context.Eip), blocks,
                 frames.c_str());
    std::_Exit(0);
}

class HostFaultsDeathTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (!Platform::Host::KNOWS_REGISTERS) {
            GTEST_SKIP() << "another processor";
        }
        base = 0;
        device =
            CreateFileW(u"Z:\\dev\\null", GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
        SetUnhandledExceptionFilter(Tell);
    }
    void TearDown() override
    {
        SetUnhandledExceptionFilter(nullptr);
        CloseHandle(device);
    }
};

extern "C" const char FaultCode[]; // sixteen bytes a row
asm(R"(
    .pushsection .text
    .globl FaultCode
    .balign 16
    .cfi_startproc
FaultCode:
    .byte 0x8A, 0x04, 0x25, 0x10, 0, 0, 0 /* mov al, [0x10] */
    .balign 16
    .byte 0x90, 0x88, 0x04, 0x25, 0x18, 0, 0, 0 /* nop; mov [0x18], al */
    .balign 16
    .byte 0x48, 0x83, 0xC8, 0xFF, 0x48, 0xD1, 0xE8, 0x8A, 0 /* rax far beyond all memory; mov al, [rax] */
    .balign 16
    .byte 0x48, 0x83, 0xC8, 0xFF, 0x48, 0xD1, 0xE8, 0x48, 0x94, 0x50 /* the stack there; push rax */
    .balign 16
    .byte 0xF4 /* hlt */
    .balign 16
    .byte 0xFA /* cli */
    .balign 16
    .byte 0xEC /* in al, dx */
    .balign 16
    .byte 0x0F, 0x0B /* ud2 */
    .balign 16
    .byte 0x90, 0xCC /* nop; int3 */
    .balign 16
    .byte 0xF1, 0x90 /* int1; nop */
    .balign 16
    .byte 0x31, 0xC9, 0xF7, 0xF1 /* ecx = 0; div ecx */
    .balign 16
    .byte 0x6A, 0, 0x0F, 0xAE, 0x14, 0x24, 0x0F, 0x57, 0xC0, 0xF3, 0x0F, 0x5E, 0xC0 /* all unmasked; 0 / 0 */
    .balign 16
    .cfi_endproc
    .popsection
)");

TEST_F(HostFaultsDeathTest, AreToldAsThePlatformNamesThem)
{
    const char* const rows[] = {
        "C0000005 at 0, 2: 0 10; 1 0 fault",
        "C0000005 at 1, 2: 1 18; 1 0 fault",
        "C0000005 at 7, 2: 0 FFFFFFFFFFFFFFFF; 1 0 fault",
        "C0000005 at 9, 2: 0 FFFFFFFFFFFFFFFF; 1 0 fault",
        "C0000096 at 0, 0: 0 0; 1 0 fault",
        "C0000096 at 0, 0: 0 0; 1 0 fault",
        "C0000096 at 0, 0: 0 0; 1 0 fault",
        "C000001D at 0, 0: 0 0; 1 0 fault other",
        "80000003 at 1, 0: 0 0; 1 0 fault other",
        "80000004 at 1, 0: 0 0; 1 0 fault",
        "C0000094 at 2, 0: 0 0; 1 0 fault",
        "C0000090 at 9, 0: 0 0; 1 0 fault",
    };
    const char* code = FaultCode;
    for (const char* expected : rows) {
        base = reinterpret_cast<DWORD_PTR>(code);
        EXPECT_EXIT(reinterpret_cast<void (*)()>(base)(), testing::ExitedWithCode(0), expected);
        code += 16;
    }
}

TEST_F(HostFaultsDeathTest, OfCallsToNowhereShowTheCaller)
{
    EXPECT_EXIT(CallNowhere(nullptr), testing::ExitedWithCode(0),
                "C0000005 at 0, 2: 8 0; 1 0 fault CallNowhere other");
    const volatile std::uintptr_t nowhere = 0x10;
    EXPECT_EXIT(CallNowhere(reinterpret_cast<void (*)()>(nowhere)), testing::ExitedWithCode(0),
                "C0000005 at 16, 2: 8 10; 1 0 fault CallNowhere other");
    EXPECT_EXIT(CallNowhere(EndNowhere), testing::ExitedWithCode(0),
                "C0000005 at 16, 2: 8 10; 1 0 fault [A-Za-z]+ CallNowhere");
}

DWORD WINAPI OverflowTheStack(LPVOID /*argument*/)
{
    return static_cast<DWORD>(Depth(1 << 30));
}

TEST_F(HostFaultsDeathTest, OfTheStackAreItsOverflow)
{
    const char* const expected = "C00000FD at [0-9]+, 2: 1 [0-9A-F]+ at the stack; 1 0 fault Depth Depth";
    EXPECT_EXIT(OverflowTheStack(nullptr), testing::ExitedWithCode(0), expected);
    EXPECT_EXIT(WaitForSingleObject(CreateThread(nullptr, 0, OverflowTheStack, nullptr, 0, nullptr), 20000),
                testing::ExitedWithCode(0), expected);
}

LONG WINAPI FaultToo(LPEXCEPTION_POINTERS exception)
{
    static bool isAsked = false;
    if (std::exchange(isAsked, true)) {
        return Tell(exception);
    }
    Write();
    return EXCEPTION_CONTINUE_SEARCH;
}

TEST_F(HostFaultsDeathTest, AreNoneWhereSignalsAreSentAndEndTheProcessInTheFilter)
{
    EXPECT_DEATH(std::raise(SIGSEGV), "");
    SetUnhandledExceptionFilter(FaultToo);
    EXPECT_DEATH(CallNowhere(nullptr), "");
    SetUnhandledExceptionFilter(nullptr);
    EXPECT_DEATH(CallNowhere(nullptr), "");
}

// Each near a stack.
TEST_F(HostFaultsDeathTest, AreNoOverflowForBeingNear)
{
    char* const place = static_cast<char*>(__builtin_frame_address(0));
    EXPECT_EXIT(reinterpret_cast<void (*)()>(place - 256)(), testing::ExitedWithCode(0),
                "C0000005 at [0-9]+, 2: 8 [0-9A-F]+ at the stack;");
    const auto writeFarBelow = [](LPVOID stack) -> DWORD {
        constexpr std::size_t FAR = 64 << 20;
        *(static_cast<volatile char*>(stack) - FAR) = 1;
        return 0;
    };
    EXPECT_EXIT(WaitForSingleObject(CreateThread(nullptr, 0, writeFarBelow, place, 0, nullptr), 20000),
                testing::ExitedWithCode(0), "C0000005 at [0-9]+, 2: 1 ");
}

std::ptrdiff_t CountRegions()
{
    std::ifstream list("/proc/self/maps");
    return std::count(std::istreambuf_iterator<char>(list), {}, '\n');
}

TEST(HostThreads, GiveTheirSignalStacksBack)
{
    std::ptrdiff_t before = 0;
    for (int i = 0; i < 110; ++i) {
        auto* const thread = CreateThread(
            nullptr, 0, [](LPVOID) -> DWORD { return RunGuarded([] {}) ? 1 : 0; }, nullptr, 0, nullptr);
        EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
        CloseHandle(thread);
        before = i == 10 ? CountRegions() : before;
    }
    EXPECT_LT(CountRegions(), before + 50);
}

TEST(HostThreads, KeepTheSignalStackOfTheirFirstGuardEvenIfAStopHadIt)
{
    stack_t kept{};
    std::thread([&kept] {
        HANDLE own = nullptr;
        auto* const self = GetCurrentProcess();
        DuplicateHandle(self, GetCurrentThread(), self, &own, 0, FALSE, DUPLICATE_SAME_ACCESS);
        const auto stop = [](LPVOID target) -> DWORD { return SuspendThread(target) + ResumeThread(target); };
        auto* const thread = CreateThread(nullptr, 0, stop, own, 0, nullptr);
        EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
        EXPECT_TRUE(RunGuarded([] {})); // gives one where the stop found a sanitizer's
        sigaltstack(nullptr, &kept);
        CloseHandle(thread);
        CloseHandle(own);
    }).join();
    EXPECT_GE(kept.ss_size, std::size_t{1} << 20);
}

int refusals = 0;

void CountRefusal(LPCWSTR expression, LPCWSTR function, LPCWSTR file, unsigned line, std::uintptr_t reserved)
{
    refusals +=
        expression == nullptr && function == nullptr && file == nullptr && line + reserved == 0 ? 1 : 100;
}

int Format(char* buffer, std::size_t size, std::size_t count, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const int result = _vsnprintf_s(buffer, size, count, format, arguments);
    va_end(arguments);
    return result;
}

TEST(HostRuntime, TellsOfArgumentsThatItRefuses)
{
    char text[4] = "abc";
    std::tm fields{};
    const __time64_t never = -1;
    const std::pair<std::function<int()>, int> rows[] = {
        {[&] { return Format(text, 4, _TRUNCATE, "%s", "cut off"); }, 0},
        {[&] { return Format(text, 4, 3, "%s", "cut off"); }, 0},
        {[&] { return Format(text, 4, 4, "%s", "too long"); }, 1},
        {[&] { return sprintf_s(text, 4, "%s", "too long"); }, 1},
        {[&] { return Format(text, 4, 4, "%y"); }, 1},
        {[&] { return Format(nullptr, 4, 4, "a"); }, 1},
        {[&] { return Format(text, 0, 4, "a"); }, 1},
        {[&] { return Format(text, 4, 4, nullptr); }, 1},
        {[&] { return _itoa_s(1, nullptr, 4, 10); }, 1},
        {[&] { return _itoa_s(1, text, 4, 1); }, 1},
        {[&] { return _itoa_s(1000, text, 4, 10); }, 1},
        {[&] { return _strlwr_s(nullptr, 4); }, 1},
        {[&] { return _wcslwr_s(nullptr, 4); }, 1},
        {[&] { return _gmtime64_s(nullptr, &never); }, 1},
        {[&] { return _gmtime64_s(&fields, nullptr); }, 1},
        {[&] { return _gmtime64_s(&fields, &never); }, 0},
    };
    auto* const library = GetModuleHandleW(u"msvcrt.dll");
    EXPECT_EQ(GetProcAddress(library, "_set_purecall_handler"), nullptr);
    auto* const set = reinterpret_cast<decltype(&_set_invalid_parameter_handler)>(
        reinterpret_cast<void (*)()>(GetProcAddress(library, "_set_invalid_parameter_handler")));
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(set(CountRefusal), nullptr);
    for (const auto& [call, expected] : rows) {
        refusals = 0;
        EXPECT_NE(call(), 0);
        EXPECT_EQ(refusals, expected) << &call - &rows[0].first;
    }
    EXPECT_EQ(set(nullptr), CountRefusal);
}

} // namespace
