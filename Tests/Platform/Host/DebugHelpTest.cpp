// What debug help meets on the host alone: damaged files, threads that do not stop, full disks.
#include "Platform/FaultGuard.h"
#include "Platform/Host/ElfSymbols.h"
#include "Platform/Host/Registers.h"
#include "Platform/Host/Suspension.h"
#include "Platform/Win32.h"
#include "Tests/Support/MinidumpReader.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csetjmp>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Platform::Host;

// Of a program with few functions. Bytes of a block of just their size: one too far is seen.
class Program {
public:
    explicit Program(std::size_t size = SIZE_MAX)
    {
        std::ifstream file(BuiltProgram("FileOpener.exe"), std::ios::binary);
        const std::string whole(std::istreambuf_iterator<char>(file), {});
        bytes.assign(whole.begin(),
                     whole.begin() + static_cast<std::ptrdiff_t>(std::min(size, whole.size())));
        bytes.shrink_to_fit();
    }

    [[nodiscard]] std::size_t CountSymbols() const
    {
        const ElfSymbols symbols({bytes.data(), bytes.size()});
        static_cast<void>(symbols.Find(0x1000));
        return symbols.Count();
    }

    std::vector<char> bytes;
};

TEST(ElfSymbols, OfDamagedFilesAreFewerOrNone)
{
    Program program;
    EXPECT_GT(program.CountSymbols(), 10u);
    for (const std::size_t size : {std::size_t{0}, std::size_t{3}, std::size_t{63}, std::size_t{64},
                                   program.bytes.size() / 2, program.bytes.size() - 1}) {
        EXPECT_EQ(Program(size).CountSymbols(), 0u) << size;
    }
    std::size_t sections = 0;
    std::memcpy(&sections, program.bytes.data() + 40, sizeof(sections)); // they are the file's last part
    for (std::size_t place = 0; place < program.bytes.size(); place = place == 63 ? sections : place + 1) {
        if (place < 64 || place % 3 == 0) {
            const char whole = std::exchange(program.bytes[place], '\xFF');
            static_cast<void>(program.CountSymbols());
            program.bytes[place] = whole;
        }
    }
}

DWORD WINAPI BlockSignals(LPVOID argument)
{
    auto& state = *static_cast<std::atomic<int>*>(argument);
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    state = 1;
    while (state == 1) {
        Sleep(1);
    }
    pthread_sigmask(SIG_UNBLOCK, &all, nullptr);
    state = 3;
    while (state == 3) {
        Sleep(1);
    }
    return 0;
}

TEST(HostThreads, ThatBlockSignalsAreNotSuspendedAndHangNobody)
{
    std::atomic<int> state{0};
    auto* const thread = CreateThread(nullptr, 0, BlockSignals, &state, 0, nullptr);
    while (state != 1) {
        Sleep(1);
    }
    EXPECT_EQ(SuspendThread(thread), 0xFFFFFFFF);
    EXPECT_EQ(GetLastError(), ERROR_GEN_FAILURE);
    state = 2; // the stop that came too late is none
    while (state != 3) {
        Sleep(1);
    }
    EXPECT_EQ(SuspendThread(thread), 0u);
    EXPECT_EQ(ResumeThread(thread), 1u);
    state = 4;
    EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
    CloseHandle(thread);
    EXPECT_EQ(SuspendThread(GetCurrentThread()), 0xFFFFFFFF);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(HostThreads, ThatStopLaterStopAtTheEndOfTheReason)
{
    static std::atomic<bool> asked;
    asked = false;
    HANDLE own = nullptr;
    auto* const self = GetCurrentProcess();
    ASSERT_TRUE(DuplicateHandle(self, GetCurrentThread(), self, &own, 0, FALSE, DUPLICATE_SAME_ACCESS));
    const auto suspend = [](LPVOID target) -> DWORD {
        asked = true;
        const DWORD before = SuspendThread(target);
        ResumeThread(target);
        return before;
    };
    HANDLE thread = nullptr;
    {
        const StopsLater later;
        thread = CreateThread(nullptr, 0, suspend, own, 0, nullptr);
        while (!asked) {
        }
        EXPECT_EQ(WaitForSingleObject(thread, 50), WAIT_TIMEOUT);
    }
    EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
    DWORD before = 77;
    EXPECT_TRUE(GetExitCodeThread(thread, &before));
    EXPECT_EQ(before, 0u);
    CloseHandle(thread);
    CloseHandle(own);
}

struct WildCall {
    struct sigaction before;
    sigjmp_buf place;
    bool isMet;
    CONTEXT context;
    std::vector<DWORD_PTR> frames;
} wildCall;

// What the walk itself meets is for the guard, whose handler was there before.
void OnWildCall(int signal, siginfo_t* information, void* host)
{
    if (std::exchange(wildCall.isMet, true)) {
        wildCall.before.sa_sigaction(signal, information, host);
        return;
    }
    ReadRegisters(*static_cast<const ucontext_t*>(host), wildCall.context);
    STACKFRAME frame{};
    while (StackWalk(0, GetCurrentProcess(), GetCurrentThread(), &frame, &wildCall.context, nullptr, nullptr,
                     nullptr, nullptr)) {
        wildCall.frames.push_back(frame.AddrPC.Offset);
    }
    siglongjmp(wildCall.place, 1);
}

TEST(HostStacks, OfAWildCallAreItsFrame)
{
    ASSERT_TRUE(Platform::RunGuarded([] {}));
    struct sigaction action {};
    action.sa_sigaction = OnWildCall;
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
    sigaction(SIGSEGV, &action, &wildCall.before);
    const volatile std::uintptr_t nowhere = 0x10;
    if (sigsetjmp(wildCall.place, 1) == 0) {
        reinterpret_cast<void (*)()>(nowhere)();
    }
    sigaction(SIGSEGV, &wildCall.before, nullptr);
    EXPECT_EQ(wildCall.frames, std::vector<DWORD_PTR>{nowhere});
}

constexpr char HALF_A_MARK[] = "on the stack of one thread"; // the dump has it twice in a row there alone

DWORD WINAPI HaveMarkOnStack(LPVOID argument)
{
    auto& state = *static_cast<std::atomic<int>*>(argument);
    volatile char mark[2 * sizeof(HALF_A_MARK)];
    for (std::size_t i = 0; i < sizeof(mark); ++i) {
        mark[i] = HALF_A_MARK[i % sizeof(HALF_A_MARK)];
    }
    state = 1;
    while (state == 1) {
        Sleep(1); // a function that calls none may keep its variables where no dump looks
    }
    return static_cast<DWORD>(mark[0]);
}

BOOL WriteDump(const std::filesystem::path& path)
{
    auto* const file = CreateFileW(ToPlatform(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                   CREATE_ALWAYS, 0, nullptr);
    const BOOL written = MiniDumpWriteDump(GetCurrentProcess(), GetCurrentProcessId(), file, MiniDumpNormal,
                                           nullptr, nullptr, nullptr);
    CloseHandle(file);
    return written;
}

std::uint64_t RegisterAt(const std::string& context, std::size_t place)
{
    std::uint64_t value = 0;
    std::memcpy(&value, context.substr(place).data(), sizeof(value));
    return value;
}

TEST(HostMinidumps, ShowWhereThreadsStandAndTheirStacks)
{
    const ScratchFolder scratch;
    std::atomic<int> state{0};
    DWORD id = 0;
    auto* const thread = CreateThread(nullptr, 0, HaveMarkOnStack, &state, 0, &id);
    while (state != 1) {
    }
    EXPECT_TRUE(WriteDump(scratch.Path() / "a.dmp"));
    state = 2;
    EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
    CloseHandle(thread);
    const auto [dump, fault] = ReadMinidump(scratch.Path() / "a.dmp");
    ASSERT_EQ(fault, "");
    int shown = 0;
    for (const Minidump::Thread& row : dump.threads) {
        if (row.id == id || row.id == GetCurrentThreadId()) {
            ++shown;
            EXPECT_EQ(RegisterAt(row.context, 0x98), row.stackStart);
            const std::uint64_t instruction = RegisterAt(row.context, 0xF8);
            EXPECT_TRUE(std::any_of(dump.modules.begin(), dump.modules.end(), [&](const auto& module) {
                return instruction - module.base < module.size;
            }));
        }
    }
    EXPECT_EQ(shown, 2);
    std::ifstream file(scratch.Path() / "a.dmp", std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    const std::string half(HALF_A_MARK, sizeof(HALF_A_MARK));
    EXPECT_NE(bytes.find(half + half), std::string::npos);
}

constexpr int DUMPS = 300; // the dangerous moment is short

TEST(HostMinidumps, OfTwoThreadsAtOnceComeToAnEnd)
{
    const ScratchFolder scratch;
    const auto dump = [](LPVOID path) -> DWORD {
        DWORD written = 0;
        for (int i = 0; i < DUMPS; ++i) {
            written += WriteDump(*static_cast<std::filesystem::path*>(path)) != FALSE ? 1u : 0u;
        }
        return written;
    };
    std::filesystem::path paths[] = {scratch.Path() / "a.dmp", scratch.Path() / "b.dmp"};
    HANDLE threads[] = {CreateThread(nullptr, 0, dump, &paths[0], 0, nullptr),
                        CreateThread(nullptr, 0, dump, &paths[1], 0, nullptr)};
    for (auto* const thread : threads) {
        ASSERT_EQ(WaitForSingleObject(thread, 60000), WAIT_OBJECT_0);
        DWORD written = 0;
        EXPECT_TRUE(GetExitCodeThread(thread, &written));
        EXPECT_EQ(written, DWORD{DUMPS});
        CloseHandle(thread);
    }
    for (const auto& path : paths) {
        EXPECT_EQ(ReadMinidump(path).fault, "");
    }
}

TEST(HostMinidumps, FailWhereTheirFileDoes)
{
    const auto write = [](HANDLE file, MINIDUMP_TYPE type) {
        SetLastError(77);
        EXPECT_FALSE(MiniDumpWriteDump(GetCurrentProcess(), GetCurrentProcessId(), file, type, nullptr,
                                       nullptr, nullptr));
        return GetLastError();
    };
    auto* const full =
        CreateFileW(u"Z:\\dev\\full", GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(write(full, MiniDumpNormal), ERROR_DISK_FULL);
    EXPECT_EQ(write(full, static_cast<MINIDUMP_TYPE>(1)), ERROR_INVALID_PARAMETER);
    CloseHandle(full);
    EXPECT_EQ(write(full, MiniDumpNormal), ERROR_INVALID_HANDLE);
}

} // namespace
