// The launch from inside: its calls in their order, and module paths that a process cannot have.
#include "Tests/Launcher/Host/LaunchInside.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

namespace {

using namespace Platform::Host;

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

TEST(LaunchSequence, MakesItsCallsInOrderAndNoOthers)
{
    const std::vector<std::string> calls = {
        "SetErrorMode",        "SetLastError", "GetCommandLineW",      "GetModuleFileNameW", "GetLastError",
        "PathRemoveFileSpecW", "GetLastError", "SetCurrentDirectoryW", "GetLastError",       "PathAppendW",
        "GetLastError",        "PathAppendW",  "GetLastError",         "FindFirstFileW",     "SetErrorMode",
        "CreateProcessW",      "GetLastError", "SetErrorMode"};
    const InstallFolder install;
    const Observed started = RunWinMain(ToPlatform(install.Launcher()));
    EXPECT_EQ(started.exitCode, 0);
    EXPECT_TRUE(started.boxes.empty());
    EXPECT_EQ(started.calls, calls);
    EXPECT_EQ(started.errorModeAt.at("GetCommandLineW"), SEM_FAILCRITICALERRORS);
    EXPECT_EQ(CurrentErrorMode(), SEM_FAILCRITICALERRORS);
    EXPECT_EQ(AwaitReports(install.Game(), 1).size(), 1u);
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
