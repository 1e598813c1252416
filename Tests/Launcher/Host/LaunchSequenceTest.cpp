// The launch from inside: WinMain called in this process, every platform call seen and failed through the
// gate.
#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Tests/Launcher/Launch.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace Platform::Host;

struct Observed {
    int exitCode = -1;
    std::vector<MessageBoxCall> boxes;
    std::vector<std::string> calls;
    std::map<std::string, UINT> errorModeAt; // at the function's last call
    bool ruleHit = false;
};

Observed RunWinMain(const std::u16string& modulePath, const GateRule& rule = {})
{
    Observed observed;
    SetModulePath(modulePath);
    SetMessageBoxHook([&](const MessageBoxCall& call) {
        observed.boxes.push_back(call);
        return IDOK;
    });
    GateWatch watch(rule);
    watch.OnCall(
        [&](std::string_view function) { observed.errorModeAt[std::string(function)] = CurrentErrorMode(); });
    observed.exitCode = WinMain(nullptr, nullptr, nullptr, 0);
    observed.calls = watch.Calls();
    observed.ruleHit = watch.Failed();
    SetMessageBoxHook({});
    SetModulePath(std::nullopt);
    return observed;
}

void ExpectOneBox(const Observed& observed, const std::string& digits, const std::string& hint)
{
    EXPECT_EQ(observed.exitCode, 1);
    ASSERT_EQ(observed.boxes.size(), 1u);
    const MessageBoxCall& box = observed.boxes[0];
    EXPECT_EQ(ToUtf8(box.text), FailureText(digits, hint));
    EXPECT_EQ(ToUtf8(box.caption), "The Brenvault Launcher");
    EXPECT_EQ(box.type, MB_ICONERROR);
    EXPECT_FALSE(box.hasOwner);
}

std::u16string PathOfLength(std::size_t length)
{
    std::u16string path = u"Z:\\tmp\\";
    while (path.size() < length - 13) {
        path += path.size() % 100 == 99 ? u'\\' : u'd';
    }
    return path + u"\\Launcher.exe";
}

const std::vector<std::string> CALLS_UP_TO_START = {
    "SetErrorMode",        "SetLastError", "GetCommandLineW",      "GetModuleFileNameW", "GetLastError",
    "PathRemoveFileSpecW", "GetLastError", "SetCurrentDirectoryW", "GetLastError",       "PathAppendW",
    "GetLastError",        "PathAppendW",  "GetLastError",         "SetErrorMode",       "CreateProcessW",
    "GetLastError",        "SetErrorMode"};

TEST(LaunchSequence, MakesItsCallsInOrderAndNoOthers)
{
    const InstallFolder install;
    const Observed started = RunWinMain(ToPlatform(install.Launcher()));
    EXPECT_EQ(started.exitCode, 0);
    EXPECT_TRUE(started.boxes.empty());
    EXPECT_EQ(started.calls, CALLS_UP_TO_START);
    EXPECT_EQ(started.errorModeAt.at("GetCommandLineW"), SEM_FAILCRITICALERRORS);
    EXPECT_EQ(started.errorModeAt.at("CreateProcessW"), 0u);
    EXPECT_EQ(CurrentErrorMode(), SEM_FAILCRITICALERRORS);
    EXPECT_EQ(AwaitReports(install.Game(), 1).size(), 1u);

    std::filesystem::remove(install.Game());
    const Observed failed = RunWinMain(ToPlatform(install.Launcher()));
    std::vector<std::string> calls = CALLS_UP_TO_START;
    calls.insert(calls.end(), {"wsprintfW", "MessageBoxW"});
    EXPECT_EQ(failed.calls, calls);
    EXPECT_EQ(failed.errorModeAt.at("MessageBoxW"), SEM_FAILCRITICALERRORS);
    ExpectOneBox(failed, "620002", REINSTALL_HINT);
}

TEST(LaunchSequence, ReportsEachFailingCallByStageAndLastError)
{
    struct Row {
        std::string function;
        unsigned ordinal;
        DWORD error;
        std::string digits;
        std::string hint;
        std::size_t callsBefore; // the first calls of the sequence, after which only the message follows
    };
    const Row rows[] = {
        {"GetCommandLineW", 1, 5, "120000", "", 3},
        {"GetModuleFileNameW", 1, 5, "220005", "", 5},
        {"PathRemoveFileSpecW", 1, 0x57, "320057", "", 7},
        {"SetCurrentDirectoryW", 1, 0x10B, "42010b", "", 9},
        {"PathAppendW", 1, 0, "520000", "", 11},
        {"PathAppendW", 2, 0xFFFF, "52ffff", "", 13},
        {"CreateProcessW", 1, 2, "620002", REINSTALL_HINT, 17},
        {"CreateProcessW", 1, 0x2E4, "6202e4", REINSTALL_HINT, 17},
        {"CreateProcessW", 1, 0xC0000142, "62c0000142", REINSTALL_HINT, 17},
    };
    const InstallFolder install;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.function + " " + row.digits);
        Observed observed =
            RunWinMain(ToPlatform(install.Launcher()), {row.function, row.ordinal, row.error, true});
        EXPECT_TRUE(observed.ruleHit);
        ExpectOneBox(observed, row.digits, row.hint);
        std::vector<std::string> calls(CALLS_UP_TO_START.begin(),
                                       CALLS_UP_TO_START.begin() +
                                           static_cast<std::ptrdiff_t>(row.callsBefore));
        calls.insert(calls.end(), {"wsprintfW", "MessageBoxW"});
        EXPECT_EQ(observed.calls, calls);
        EXPECT_EQ(observed.errorModeAt.count("CreateProcessW"), row.function == "CreateProcessW" ? 1u : 0u);
        EXPECT_EQ(observed.errorModeAt["CreateProcessW"], 0u);
        EXPECT_EQ(observed.errorModeAt["MessageBoxW"], SEM_FAILCRITICALERRORS);
    }
}

// What cannot be said is not said; the exit code tells all the same.
TEST(LaunchSequence, EndsWithItsExitCodeWhenTheMessageFails)
{
    const Observed unformatted = RunWinMain(u"Z:\\", {.function = "wsprintfW", .ordinal = 1});
    EXPECT_EQ(unformatted.exitCode, 1);
    ASSERT_EQ(unformatted.boxes.size(), 1u);
    EXPECT_EQ(unformatted.boxes[0].text, u"");
    const Observed unshown = RunWinMain(u"Z:\\", {.function = "MessageBoxW", .ordinal = 1});
    EXPECT_EQ(unshown.exitCode, 1);
    EXPECT_EQ(unshown.calls.back(), "MessageBoxW");
    EXPECT_TRUE(unshown.boxes.empty());
}

TEST(LaunchSequence, JudgesTheModulePath)
{
    // 771 characters are accepted; the platform's current directory is then too long for it.
    ExpectOneBox(RunWinMain(PathOfLength(771)), "4200ce", "");
    ExpectOneBox(RunWinMain(PathOfLength(772)), "23007a", "");
    ExpectOneBox(RunWinMain(PathOfLength(2000)), "23007a", "");
    ExpectOneBox(RunWinMain(std::u16string(u"\0:\\x.exe", 8)), "240000", "");
    ExpectOneBox(RunWinMain(u""), "22001f", "");
    ExpectOneBox(RunWinMain(u"Z:\\"), "320000", "");
}

} // namespace
