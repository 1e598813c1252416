// The filter of unhandled faults, and what a report asks of the memory around one.
#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

namespace {

LONG WINAPI PassOn(LPEXCEPTION_POINTERS /*exception*/)
{
    return EXCEPTION_CONTINUE_SEARCH;
}

LONG WINAPI PassOnToo(LPEXCEPTION_POINTERS exception)
{
    return PassOn(exception);
}

TEST(Faults, AreForOneFilter)
{
    auto* const before = SetUnhandledExceptionFilter(PassOn);
    EXPECT_EQ(SetUnhandledExceptionFilter(PassOnToo), PassOn);
    EXPECT_EQ(SetUnhandledExceptionFilter(nullptr), PassOnToo);
    EXPECT_EQ(SetUnhandledExceptionFilter(before), nullptr);
}

struct Region {
    const void* address;
    DWORD state, protection, type;
};

const char CONSTANT[] = "it lies where nobody writes";

TEST(Memory, HasRegions)
{
    const int variable = 0;
    for (const Region& row :
         {Region{reinterpret_cast<const void*>(&PassOn), MEM_COMMIT, PAGE_EXECUTE_READ, MEM_IMAGE},
          Region{CONSTANT, MEM_COMMIT, PAGE_READONLY, MEM_IMAGE},
          Region{&variable, MEM_COMMIT, PAGE_READWRITE, MEM_PRIVATE},
          Region{reinterpret_cast<const void*>(0x10), MEM_FREE, PAGE_NOACCESS, 0}}) {
        MEMORY_BASIC_INFORMATION found{};
        EXPECT_EQ(VirtualQuery(row.address, &found, sizeof(found)), sizeof(found)) << row.address;
        EXPECT_TRUE(found.State == row.state && found.Protect == row.protection && found.Type == row.type)
            << row.address << std::hex << ' ' << found.State << ' ' << found.Protect << ' ' << found.Type;
        const auto address = reinterpret_cast<std::uintptr_t>(row.address);
        const auto start = reinterpret_cast<std::uintptr_t>(found.BaseAddress);
        EXPECT_TRUE(start == address / 4096 * 4096 && address - start < found.RegionSize) << row.address;
        EXPECT_EQ(found.AllocationBase == nullptr, row.state == MEM_FREE);
        EXPECT_EQ(found.AllocationBase == GetModuleHandleW(nullptr), row.type == MEM_IMAGE);

        // The next one begins where it ends.
        MEMORY_BASIC_INFORMATION next{};
        auto* const end = reinterpret_cast<LPVOID>(start + found.RegionSize);
        EXPECT_TRUE(VirtualQuery(end, &next, sizeof(next)) && next.BaseAddress == end) << row.address;
    }
}

TEST(Memory, HasNoRegionBeyondItsEnd)
{
    MEMORY_BASIC_INFORMATION found{.RegionSize = 77};
    EXPECT_EQ(VirtualQuery(CONSTANT, &found, sizeof(found) - 1), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_BAD_LENGTH});
    EXPECT_EQ(VirtualQuery(reinterpret_cast<const void*>(~std::uintptr_t{0}), &found, sizeof(found)), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(found.RegionSize, 77u);
}

} // namespace
