// Modules by name, by handle and in their list.
#include "Tests/Support/StartedProcess.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

constexpr DWORD UNTOUCHED = 77;

std::string PathOf(HMODULE module)
{
    WideText path(2000, 0);
    path.resize(GetModuleFileNameW(module, path.data(), 2000));
    return ToUtf8(path);
}

template <typename Call>
DWORD ErrorOf(const Call& call)
{
    SetLastError(UNTOUCHED);
    EXPECT_FALSE(call());
    return GetLastError();
}

TEST(Modules, AreThereByName)
{
    auto* const program = GetModuleHandleW(nullptr);
    auto* const kernel = GetModuleHandleW(WIDE("Kernel32"));
    EXPECT_EQ(GetModuleHandleW(WIDE("platformTESTS.exe")), program);
    EXPECT_EQ(PathOf(program), ToUtf8(OwnProgram()));
    ASSERT_NE(kernel, nullptr);
    EXPECT_EQ(GetModuleHandleW(WIDE("KERNEL32.dll")), kernel);
    EXPECT_EQ(LoadLibraryW(WIDE("kernel32.DLL")), kernel);
    EXPECT_TRUE(FreeLibrary(kernel) && FreeLibrary(program));
    for (const char* name : {"CreateToolhelp32Snapshot", "Module32FirstW", "Module32NextW"}) {
        EXPECT_NE(reinterpret_cast<void*>(GetProcAddress(kernel, name)), nullptr) << name;
    }
    for (LPCWSTR name : {WIDE(""), WIDE("PlatformTests"), WIDE("Kernel32."), WIDE("x\\Kernel32")}) {
        EXPECT_EQ(ErrorOf([&] { return GetModuleHandleW(name); }), DWORD{ERROR_MOD_NOT_FOUND});
    }
    auto* const none = reinterpret_cast<HMODULE>(reinterpret_cast<char*>(program) + 16);
    const std::tuple<HMODULE, DWORD, DWORD> rows[] = {
        {none, ERROR_MOD_NOT_FOUND, ERROR_MOD_NOT_FOUND},
        {nullptr, ERROR_INVALID_HANDLE, ERROR_PROC_NOT_FOUND},
    };
    for (const auto& [module, freed, asked] : rows) {
        EXPECT_EQ(ErrorOf([&] { return FreeLibrary(module); }), freed);
        EXPECT_EQ(ErrorOf([&] { return GetProcAddress(module, "StackWalk"); }), asked);
    }
    EXPECT_EQ(ErrorOf([&] { return GetProcAddress(program, "StackWalk"); }), DWORD{ERROR_PROC_NOT_FOUND});
    EXPECT_EQ(PathOf(none), "");
}

TEST(Modules, AreListedFromTheProgramOn)
{
    auto* const snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, GetCurrentProcessId());
    ASSERT_NE(snapshot, INVALID_HANDLE_VALUE);
    MODULEENTRY32W entry{};
    const auto first = [&] { return Module32FirstW(snapshot, &entry); };
    const auto next = [&] { return Module32NextW(snapshot, &entry); };
    entry.dwSize = sizeof(entry) - 1;
    EXPECT_EQ(ErrorOf(first), DWORD{ERROR_INSUFFICIENT_BUFFER});
    EXPECT_EQ(ErrorOf(next), DWORD{ERROR_INSUFFICIENT_BUFFER});
    for (int turn = 0; turn < 2; ++turn) {
        entry = {};
        entry.dwSize = sizeof(entry) + 1;
        ASSERT_TRUE(first());
        EXPECT_EQ(entry.dwSize, sizeof(entry));
        EXPECT_EQ(entry.th32ProcessID, GetCurrentProcessId());
        EXPECT_EQ(entry.hModule, GetModuleHandleW(nullptr));
        const auto inside = reinterpret_cast<LPBYTE>(&PathOf) - entry.modBaseAddr;
        EXPECT_TRUE(inside > 0 && inside < static_cast<std::ptrdiff_t>(entry.modBaseSize));
        int count = 0;
        do {
            ++count;
            EXPECT_EQ(entry.modBaseAddr, reinterpret_cast<LPBYTE>(entry.hModule));
            EXPECT_EQ(GetModuleHandleW(entry.szModule), entry.hModule) << ToUtf8(entry.szModule);
            EXPECT_EQ(PathOf(entry.hModule), ToUtf8(entry.szExePath));
        } while (next());
        EXPECT_GT(count, 2);
        EXPECT_EQ(ErrorOf(next), DWORD{ERROR_NO_MORE_FILES});
    }
    EXPECT_TRUE(CloseHandle(snapshot));
    EXPECT_EQ(ErrorOf(first), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(CreateToolhelp32Snapshot(0, 0), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_CALL_NOT_IMPLEMENTED});
    EXPECT_EQ(CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, 0xFFFFFFFF), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

} // namespace
