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

using Calls = std::vector<std::string>;

// Expects these calls and no others. How texts are converted between them is nobody's contract.
void ExpectCalls(Launches& launches, const Calls& expected, const char* started)
{
    Observed observed = launches.Run();
    std::erase_if(observed.calls, [](const std::string& call) {
        return call == "MultiByteToWideChar" || call == "WideCharToMultiByte";
    });
    EXPECT_EQ(observed.calls, expected);
    EXPECT_EQ(observed.exitCode, 0);
    EXPECT_EQ(observed.errorModeAt["GetCommandLineW"], SEM_FAILCRITICALERRORS);
    EXPECT_EQ(observed.firstLastError, 0u);
    EXPECT_EQ(CurrentErrorMode(), SEM_FAILCRITICALERRORS);
    EXPECT_EQ(launches.Starts().back(), started);
}

TEST(LaunchSequence, MakesItsCallsInOrderAndNoOthers)
{
    const Calls toTheUpdater = {
        "SetErrorMode",        "SetLastError", "GetCommandLineW",      "GetModuleFileNameW", "GetLastError",
        "PathRemoveFileSpecW", "GetLastError", "SetCurrentDirectoryW", "GetLastError",       "PathAppendW",
        "GetLastError",        "PathAppendW",  "GetLastError",         "FindFirstFileW"};
    const Calls start = {"SetErrorMode", "CreateProcessW", "GetLastError", "SetErrorMode"};
    const Calls readSkuFile = {"FindClose", "CreateFileW", "GetFileSize", "ReadFile", "CloseHandle"};
    const Calls writeValue = {"RegCreateKeyExW", "RegSetValueExW", "RegCloseKey"};
    const Calls readRegistration = {"RegOpenKeyExW",    "RegQueryValueExW", "RegQueryValueExW",
                                    "RegQueryValueExW", "RegCloseKey",      "wcscmp"};
    const Calls enterUpdaterFolder = {"PathRemoveFileSpecW", "SetCurrentDirectoryW"};
    Launches launches(SCENARIOS[0]);
    Calls calls;
    for (const Calls& step : {toTheUpdater, readSkuFile, writeValue, writeValue, writeValue, readRegistration,
                              enterUpdaterFolder, start}) {
        calls.insert(calls.end(), step.begin(), step.end());
    }
    ExpectCalls(launches, calls, "updater");

    RemoveProgram(launches.Install().Updater());
    calls = toTheUpdater;
    calls.insert(calls.end(), start.begin(), start.end());
    ExpectCalls(launches, calls, "game");
}

TEST(LaunchSequence, WritesInfoThenFolderThenPath)
{
    Launches launches(SCENARIOS[0]);
    unsigned ordinal = 0;
    for (const char* const written : {"---", "+--", "++-", "+++"}) {
        EXPECT_EQ(launches.Run({"RegSetValueExW", ++ordinal, ERROR_ACCESS_DENIED, true}).written, written);
    }
    EXPECT_EQ(launches.Starts(), (std::vector<std::string>{"game", "game", "game", "updater"}));
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
