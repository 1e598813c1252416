// Modules by name, by handle and in their list.
#include "Tests/Support/StartedProcess.h"

#include <gtest/gtest.h>

// The last error of a call that has to give nothing.
static DWORD ErrorOf(bool result)
{
    EXPECT_FALSE(result);
    return GetLastError();
}

TEST(Modules, AreThereByName)
{
    auto* const program = GetModuleHandleW(nullptr);
    auto* const kernel = GetModuleHandleW(WIDE("Kernel32"));
    auto* const none = reinterpret_cast<HMODULE>(reinterpret_cast<char*>(program) + 16);
    EXPECT_EQ(GetModuleHandleW(WIDE("platformTESTS.exe")), program);
    EXPECT_EQ(LoadLibraryW(WIDE("KERNEL32.dll")), kernel);
    EXPECT_TRUE(GetModuleHandleW(WIDE("msvcrt.dll")) &&
                GetModuleHandleW(WIDE("MSVCRT")) == GetModuleHandleW(WIDE("msvcrt.dll")));
    EXPECT_TRUE(FreeLibrary(kernel) && FreeLibrary(program));
    EXPECT_TRUE(GetProcAddress(kernel, "CreateToolhelp32Snapshot") &&
                GetProcAddress(kernel, "Module32FirstW") && GetProcAddress(kernel, "Module32NextW"));
    for (LPCWSTR name : {WIDE(""), WIDE("PlatformTests"), WIDE("Kernel32."), WIDE("x\\Kernel32")}) {
        EXPECT_EQ(ErrorOf(GetModuleHandleW(name) != nullptr), DWORD{ERROR_MOD_NOT_FOUND});
    }
    EXPECT_EQ(ErrorOf(FreeLibrary(nullptr) != FALSE), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(ErrorOf(FreeLibrary(none) != FALSE), DWORD{ERROR_MOD_NOT_FOUND});
    EXPECT_EQ(ErrorOf(GetProcAddress(program, "none") != nullptr), DWORD{ERROR_PROC_NOT_FOUND});
    EXPECT_EQ(ErrorOf(GetProcAddress(kernel, nullptr) != nullptr), DWORD{ERROR_PROC_NOT_FOUND});
    const auto* const number = reinterpret_cast<LPCSTR>(0xFFFF);
    EXPECT_EQ(ErrorOf(GetProcAddress(kernel, number) != nullptr), DWORD{ERROR_PROC_NOT_FOUND});
    EXPECT_EQ(ErrorOf(GetProcAddress(none, "none") != nullptr), DWORD{ERROR_MOD_NOT_FOUND});
}

TEST(Modules, AreListedFromTheProgramOn)
{
    auto* const list = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, GetCurrentProcessId());
    MODULEENTRY32W entry{.dwSize = sizeof(entry) - 1};
    EXPECT_EQ(ErrorOf(Module32NextW(list, &entry) != FALSE), DWORD{ERROR_INSUFFICIENT_BUFFER});
    entry.dwSize = sizeof(entry) + 1;
    ASSERT_TRUE(Module32FirstW(list, &entry) && Module32NextW(list, &entry) && Module32FirstW(list, &entry));
    EXPECT_EQ(entry.hModule, GetModuleHandleW(nullptr));
    do {
        EXPECT_EQ(entry.modBaseAddr, reinterpret_cast<LPBYTE>(entry.hModule));
        EXPECT_EQ(GetModuleHandleW(entry.szModule), entry.hModule) << ToUtf8(entry.szModule);
        EXPECT_EQ(GetModuleHandleW(entry.szExePath), entry.hModule) << ToUtf8(entry.szExePath);
        EXPECT_TRUE(entry.th32ProcessID == GetCurrentProcessId() && entry.modBaseSize < 1u << 27);
        WCHAR path[MAX_PATH]{};
        EXPECT_TRUE(GetModuleFileNameW(entry.hModule, path, MAX_PATH) && wcscmp(path, entry.szExePath) == 0);
    } while (Module32NextW(list, &entry));
    EXPECT_EQ(ErrorOf(Module32NextW(list, &entry) != FALSE), DWORD{ERROR_NO_MORE_FILES});
    EXPECT_TRUE(CloseHandle(list));
    EXPECT_EQ(ErrorOf(Module32FirstW(list, &entry) != FALSE), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, 0xFFFFFFFF), INVALID_HANDLE_VALUE);
}
