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

// The first calls of the sequence up to the start of the game, and the message where there is one.
std::vector<std::string> Calls(std::size_t count, bool message = true)
{
    std::vector<std::string> calls = {
        "SetErrorMode",        "SetLastError", "GetCommandLineW",      "GetModuleFileNameW", "GetLastError",
        "PathRemoveFileSpecW", "GetLastError", "SetCurrentDirectoryW", "GetLastError",       "PathAppendW",
        "GetLastError",        "PathAppendW",  "GetLastError",         "FindFirstFileW",     "SetErrorMode",
        "CreateProcessW",      "GetLastError", "SetErrorMode"};
    EXPECT_LE(count, calls.size());
    calls.resize(count);
    if (message) {
        calls.insert(calls.end(), {"wsprintfW", "MessageBoxW"});
    }
    return calls;
}

TEST(LaunchSequence, MakesItsCallsInOrderAndNoOthers)
{
    const InstallFolder install;
    const Observed started = RunWinMain(ToPlatform(install.Launcher()));
    EXPECT_EQ(started.exitCode, 0);
    EXPECT_TRUE(started.boxes.empty());
    EXPECT_EQ(started.calls, Calls(18, false));
    EXPECT_EQ(started.errorModeAt.at("GetCommandLineW"), SEM_FAILCRITICALERRORS);
    EXPECT_EQ(started.errorModeAt.at("CreateProcessW"), 0u);
    EXPECT_EQ(CurrentErrorMode(), SEM_FAILCRITICALERRORS);
    EXPECT_EQ(AwaitReports(install.Game(), 1).size(), 1u);
}

TEST(LaunchSequence, ReportsEachFailingCallByStageAndLastError)
{
    struct Row {
        std::string function;
        unsigned ordinal;
        DWORD error;
        std::string digits, hint;
        std::size_t callsBefore; // after which only the message follows
    };
    const Row rows[] = {
        {"GetCommandLineW", 1, 5, "120000", "", 3},
        {"GetModuleFileNameW", 1, 5, "220005", "", 5},
        {"PathRemoveFileSpecW", 1, 0x57, "320057", "", 7},
        {"SetCurrentDirectoryW", 1, 0x10B, "42010b", "", 9},
        {"PathAppendW", 1, 0, "520000", "", 11},
        {"PathAppendW", 2, 0xFFFF, "52ffff", "", 13},
        {"CreateProcessW", 1, 2, "620002", REINSTALL_HINT, 18},
        {"CreateProcessW", 1, 0xC0000142, "62c0000142", REINSTALL_HINT, 18},
    };
    const InstallFolder install;
    for (const auto& [function, ordinal, error, digits, hint, callsBefore] : rows) {
        SCOPED_TRACE(digits);
        Observed observed = RunWinMain(ToPlatform(install.Launcher()), {function, ordinal, error, true});
        EXPECT_TRUE(observed.ruleHit);
        ExpectOneBox(observed, digits, hint);
        EXPECT_EQ(observed.calls, Calls(callsBefore));
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
    const std::pair<std::u16string, const char*> rows[] = {
        {PathOfLength(771), "4200ce"}, // accepted; the platform's current directory is then too long for it
        {PathOfLength(772), "23007a"},
        {PathOfLength(2000), "23007a"},
        {std::u16string(u"\0:\\x.exe", 8), "240000"},
        {u"", "22001f"},
        {u"Z:\\", "320000"},
    };
    for (const auto& [path, digits] : rows) {
        ExpectOneBox(RunWinMain(path), digits, "");
    }
}

} // namespace
