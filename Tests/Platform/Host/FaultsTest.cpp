// What the filter of unhandled faults is told of real ones. Each is a child's: it is the end of a process.
#include "Platform/Host/Registers.h"
#include "Platform/Win32.h"
#include "Tests/Support/HeapWatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using Platform::RunGuarded;

struct Told {
    EXCEPTION_RECORD record;
    CONTEXT context;
    DWORD_PTR frames[3];
    bool isWhole;    // all functions that a report needs worked
    unsigned blocks; // of the heap, that they asked for
};

HANDLE device = nullptr;
int pipeEnd = -1;

void WalkStack(Told& told)
{
    STACKFRAME frame{};
    for (DWORD_PTR& instruction : told.frames) {
        StackWalk(0, GetCurrentProcess(), GetCurrentThread(), &frame, &told.context, nullptr, nullptr,
                  nullptr, nullptr);
        instruction = frame.AddrPC.Offset;
    }
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

// With little heap memory, namely none, and much of the stack.
LONG WINAPI Tell(LPEXCEPTION_POINTERS exception)
{
    Told told{*exception->ExceptionRecord, *exception->ContextRecord, {}, false, 0};
    FaultUnderGuards();
    {
        const HeapWatch watch({.ordinal = 1, .lasting = true});
        WalkStack(told);
        told.isWhole = CallOthers(told.context.Eip);
        told.blocks = watch.Blocks();
    }
    static_cast<void>(write(pipeEnd, &told, sizeof(told)) == sizeof(told));
    _exit(0);
}

// Nothing: the filter was not asked, or did not come to its end.
std::optional<Told> ToldOf(const std::function<void()>& code, LPTOP_LEVEL_EXCEPTION_FILTER filter = Tell)
{
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const pid_t child = fork();
    if (child == 0) {
        pipeEnd = ends[1];
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO); // a sanitizer reports as well
        device =
            CreateFileW(u"Z:\\dev\\null", GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
        alarm(30);
        SetUnhandledExceptionFilter(filter);
        code();
        _exit(0);
    }
    close(ends[1]);
    Told told{};
    const bool isTold = read(ends[0], &told, sizeof(told)) == sizeof(told);
    close(ends[0]);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status == 0, isTold);
    EXPECT_FALSE(WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) << "it hangs";
    return isTold ? std::optional(told) : std::nullopt;
}

class HostFaults : public testing::Test {
protected:
    void SetUp() override
    {
        if (!Platform::Host::KNOWS_REGISTERS) {
            GTEST_SKIP() << "another processor";
        }
    }
};

struct Row {
    std::vector<unsigned char> instructions;
    DWORD code;
    std::vector<DWORD_PTR> parameters;
    DWORD_PTR eip; // from the first instruction
};

TEST_F(HostFaults, AreToldAsThePlatformNamesThem)
{
    constexpr DWORD_PTR UNKNOWN = ~DWORD_PTR{0};
    const Row rows[] = {
        {{0x8A, 0x04, 0x25, 0x10, 0, 0, 0}, EXCEPTION_ACCESS_VIOLATION, {0, 0x10}, 0},       // mov al, [0x10]
        {{0x90, 0x88, 0x04, 0x25, 0x18, 0, 0, 0}, EXCEPTION_ACCESS_VIOLATION, {1, 0x18}, 1}, // mov [0x18], al
        {{0x48, 0x83, 0xC8, 0xFF, 0x48, 0xD1, 0xE8, 0x8A, 0}, // rax far beyond all memory; mov al, [rax]
         EXCEPTION_ACCESS_VIOLATION,
         {0, UNKNOWN},
         7},
        {{0x48, 0x83, 0xC8, 0xFF, 0x48, 0xD1, 0xE8, 0x48, 0x94, 0x50}, // the stack there; push
         EXCEPTION_ACCESS_VIOLATION,
         {0, UNKNOWN},
         9},
        {{0xF4}, EXCEPTION_PRIV_INSTRUCTION, {}, 0}, // hlt
        {{0xFA}, EXCEPTION_PRIV_INSTRUCTION, {}, 0}, // cli
        {{0xEC}, EXCEPTION_PRIV_INSTRUCTION, {}, 0}, // in
        {{0x0F, 0x0B}, EXCEPTION_ILLEGAL_INSTRUCTION, {}, 0},
        {{0x90, 0xCC}, EXCEPTION_BREAKPOINT, {}, 1},
        {{0xF1, 0x90}, EXCEPTION_SINGLE_STEP, {}, 1},
        {{0x31, 0xC9, 0xF7, 0xF1}, EXCEPTION_INT_DIVIDE_BY_ZERO, {}, 2},
        {{0x6A, 0, 0x0F, 0xAE, 0x14, 0x24, 0x0F, 0x57, 0xC0, 0xF3, 0x0F, 0x5E, 0xC0}, // 0 / 0, all unmasked
         EXCEPTION_FLT_INVALID_OPERATION,
         {},
         9},
    };
    constexpr int ALL = PROT_READ | PROT_WRITE | PROT_EXEC;
    auto* const page =
        static_cast<unsigned char*>(mmap(nullptr, 4096, ALL, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    for (const Row& row : rows) {
        std::copy(row.instructions.begin(), row.instructions.end(), page);
        const std::optional<Told> told = ToldOf([page] { reinterpret_cast<void (*)()>(page)(); });
        ASSERT_TRUE(told.has_value()) << std::hex << row.code;
        const EXCEPTION_RECORD& record = told->record;
        EXPECT_EQ(record.ExceptionCode, row.code);
        EXPECT_EQ(
            std::vector(record.ExceptionInformation, record.ExceptionInformation + record.NumberParameters),
            row.parameters)
            << std::hex << row.code;
        EXPECT_EQ(told->context.Eip, reinterpret_cast<DWORD_PTR>(page) + row.eip) << std::hex << row.code;
        EXPECT_EQ(reinterpret_cast<DWORD_PTR>(record.ExceptionAddress), told->context.Eip);
        EXPECT_TRUE(told->isWhole && told->blocks == 0) << told->blocks;
        EXPECT_EQ(told->frames[0], told->context.Eip);
    }
    munmap(page, 4096);
}

TEST_F(HostFaults, OfAFileThatEndsAreThePages)
{
    std::FILE* const file = std::tmpfile();
    auto* const bytes =
        static_cast<volatile char*>(mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fileno(file), 0));
    const std::optional<Told> told = ToldOf([bytes] { static_cast<void>(bytes[5]); });
    ASSERT_TRUE(told.has_value());
    EXPECT_EQ(told->record.ExceptionCode, EXCEPTION_IN_PAGE_ERROR);
    EXPECT_EQ(told->record.ExceptionInformation[1], reinterpret_cast<DWORD_PTR>(bytes) + 5);
    std::fclose(file);
}

[[gnu::noinline]] void CallNowhere(void (*nowhere)())
{
    nowhere();
    asm volatile("");
}

TEST_F(HostFaults, OfCallsToNowhereShowTheCaller)
{
    for (const DWORD_PTR nowhere : {DWORD_PTR{0}, DWORD_PTR{0x10}}) {
        const std::optional<Told> told =
            ToldOf([nowhere] { CallNowhere(reinterpret_cast<void (*)()>(nowhere)); });
        ASSERT_TRUE(told.has_value());
        EXPECT_EQ(told->record.ExceptionInformation[0], 8u);
        EXPECT_TRUE(told->context.Eip == nowhere && told->frames[0] == nowhere);
        EXPECT_LT(told->frames[1] - reinterpret_cast<DWORD_PTR>(&CallNowhere), 256u);
        EXPECT_NE(told->frames[2], told->frames[1]);
    }
}

int Depth(int depth)
{
    volatile char room[512] = {};
    return depth == 0 ? 0 : Depth(depth - 1) + room[0];
}

DWORD WINAPI OverflowTheStack(LPVOID)
{
    return static_cast<DWORD>(Depth(1 << 30));
}

TEST_F(HostFaults, OfTheStackAreItsOverflow)
{
    const std::function<void()> overflows[] = {
        [] {
            const rlimit limit{2 << 20, 2 << 20};
            setrlimit(RLIMIT_STACK, &limit);
            OverflowTheStack(nullptr);
        },
        [] { WaitForSingleObject(CreateThread(nullptr, 0, OverflowTheStack, nullptr, 0, nullptr), 20000); },
    };
    for (const auto& overflow : overflows) {
        const std::optional<Told> told = ToldOf(overflow);
        ASSERT_TRUE(told.has_value());
        EXPECT_EQ(told->record.ExceptionCode, EXCEPTION_STACK_OVERFLOW);
        EXPECT_EQ(told->record.NumberParameters, 2u);
        EXPECT_LT(told->record.ExceptionInformation[1] - told->context.Esp + 4096, 8192u);
        EXPECT_TRUE(told->isWhole && told->frames[2] - reinterpret_cast<DWORD_PTR>(&Depth) < 4096);
    }
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

TEST_F(HostFaults, AreNoneWhereSignalsAreSentAndEndTheProcessInTheFilter)
{
    EXPECT_FALSE(ToldOf([] { raise(SIGSEGV); }).has_value());
    EXPECT_FALSE(ToldOf([] { CallNowhere(nullptr); }, FaultToo).has_value());
    EXPECT_FALSE(ToldOf([] { CallNowhere(nullptr); }, nullptr).has_value());
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
