#include "Plinth/Debug/Diagnostics.h"

#include "Plinth/Debug/BindFunction.h"
#include "Plinth/Debug/CrashHandler.h"
#include "Plinth/Debug/CrashState.h"
#include "Plinth/Debug/StaticDiagnostics.h"
#include "Plinth/Debug/Trace.h"
#include "Tests/Plinth/Debug/FreshDiagnostics.h"
#include "Tests/Support/RegistryKey.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

namespace Plinth {
namespace {

// What faults and refused arguments lead to is put back in the end.
class Start : public testing::Test {
protected:
    ~Start() override
    {
        SetUnhandledExceptionFilter(filter_);
        decltype(&::_set_invalid_parameter_handler) set = nullptr;
        if (BindFunction(GetModuleHandleW(WIDE("msvcrt.dll")), "_set_invalid_parameter_handler", set)) {
            set(nullptr);
        }
    }

    FreshDiagnostics fresh_;
    ScratchFolder scratch_;
    LPTOP_LEVEL_EXCEPTION_FILTER filter_ = SetUnhandledExceptionFilter(nullptr);
};

TEST_F(Start, InstallsTheCrashHandlerWhetherOrNotTheLogFileOpens)
{
    for (const char* name : {"\\game.log", "\\missing\\game.log"}) {
        const bool opens = name == std::string("\\game.log");
        const CString path = (ToUtf8(ToPlatform(scratch_.Path())) + name).c_str();
        WriteStaticDiagnostics("before");
        EXPECT_EQ(InitDiagnostics(path, opens ? DiagFlagSuppressErrorReports : DiagFlagAppendLog), opens);
        EXPECT_EQ(AreErrorReportsSuppressed(), opens);
        EXPECT_EQ(symbolState.symbols, Attempt::DONE);
        EXPECT_EQ(SetUnhandledExceptionFilter(nullptr), CrashFilter);
        EXPECT_EQ(crashState.diagnostics[0], 0);
    }
    Trace("told\n");
    EXPECT_EQ(fresh_.Text(), "told\n");
    EXPECT_EQ(ReadFile(scratch_.Path() / "game.log"), "");
}

TEST(ErrorReportSwitch, IsBitZeroAsTheRegistryHasIt)
{
    constexpr std::uint32_t others = 0xFFFFFFFE;
    const ScratchRegistry registry;
    const CString base = ToUtf8(Key::TESTS).c_str();
    const auto expect = [&base](std::uint32_t forClear, std::uint32_t forSet) {
        EXPECT_EQ(ReadSuppressErrorReports(base.CStr(), others), others | forClear);
        EXPECT_EQ(ReadSuppressErrorReports(base.CStr(), others | 1), others | forSet);
    };
    expect(0, 1);
    {
        const Key key(HKEY_LOCAL_MACHINE, (Key::TESTS + WideText(WIDE("\\Development"))).c_str(),
                      KEY_ALL_ACCESS, true);
        SetValue(key, WIDE("SuppressErrorReportsEx"), REG_DWORD, Bytes("\5\0\0\0", 4));
        expect(1, 1);
        SetValue(key, WIDE("SuppressErrorReportsEx"), REG_DWORD, Bytes(4, '\0'));
        expect(0, 0);
        SetValue(key, WIDE("SuppressErrorReportsEx"), REG_SZ, TerminatedBytesOf(WIDE("1")));
        expect(0, 1);
        EXPECT_EQ(ReadSuppressErrorReports("", 1), 1u);
        EXPECT_EQ(ReadSuppressErrorReports(nullptr, 0), 0u);
    }
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, Key::TESTS);
}

} // namespace
} // namespace Plinth
