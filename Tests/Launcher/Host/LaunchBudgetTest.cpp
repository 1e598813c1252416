// What a launch costs, exactly: platform calls and bytes read.
#include "Tests/Launcher/Host/LaunchInside.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

using Counts = std::map<std::string, unsigned>;

// How often each function is called in each of the scenarios.
struct Row {
    const char* function;
    unsigned calls[std::size(SCENARIOS)];
};

constexpr Row ROWS[] = {
    {"CloseHandle", {1, 0, 1, 0}},
    {"CreateFileW", {1, 1, 1, 1}},
    {"CreateProcessW", {1, 1, 1, 1}},
    {"FindClose", {1, 1, 1, 1}},
    {"FindFirstFileW", {1, 1, 1, 1}},
    {"GetCommandLineW", {1, 1, 1, 1}},
    {"GetFileSize", {1, 0, 1, 0}},
    {"GetLastError", {6, 7, 6, 7}},
    {"GetModuleFileNameW", {1, 1, 1, 1}},
    {"MessageBoxW", {0, 0, 0, 1}},
    {"MultiByteToWideChar", {26, 4, 13, 4}},
    {"PathAppendW", {2, 2, 2, 2}},
    {"PathRemoveFileSpecW", {2, 2, 1, 1}},
    {"ReadFile", {1, 0, 1, 0}},
    {"RegCloseKey", {4, 1, 2, 0}},
    {"RegCreateKeyExW", {3, 0, 1, 0}},
    {"RegOpenKeyExW", {1, 1, 1, 1}},
    {"RegQueryValueExW", {3, 3, 3, 0}},
    {"RegSetValueExW", {3, 0, 1, 0}},
    {"SetCurrentDirectoryW", {2, 2, 1, 1}},
    {"SetErrorMode", {3, 3, 3, 3}},
    {"SetLastError", {1, 1, 1, 1}},
    {"WideCharToMultiByte", {8, 4, 8, 4}},
    {"_wcsicmp", {0, 1, 0, 0}},
    {"wcscmp", {1, 0, 0, 0}},
    {"wsprintfW", {0, 0, 0, 1}},
};

TEST(LaunchBudget, IsTheseCallsAndNoOthers)
{
    for (std::size_t i = 0; i < std::size(SCENARIOS); ++i) {
        Counts expected;
        for (const Row& row : ROWS) {
            expected[row.function] = row.calls[i];
        }
        std::erase_if(expected, [](const auto& row) { return row.second == 0; });
        Counts counts;
        Launches launches(SCENARIOS[i]);
        for (const std::string& call : launches.Run().calls) {
            ++counts[call];
        }
        EXPECT_EQ(counts, expected) << SCENARIOS[i].name;
        EXPECT_EQ(launches.Starts()[0], SCENARIOS[i].starts);
    }
}

// The bytes that this process has read, as the kernel says; the reading of it counts only afterwards.
std::uint64_t BytesRead(std::size_t& ownBytes)
{
    std::ifstream file("/proc/self/io");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    ownBytes = text.size();
    const std::string label = "rchar: ";
    return std::stoull(text.substr(text.find(label) + label.size()));
}

TEST(LaunchBudget, IsToReadTheSkuFileOnce)
{
    Launches launches(SCENARIOS[0]);
    const std::filesystem::path file = launches.Install().SkuFile();
    std::size_t ownBytes = 0;
    std::size_t ignored = 0;
    for (const unsigned more : {0U, 100U, 3U << 20}) {
        std::ofstream(file, std::ios::app) << "\n;" << std::string(more, 'x');
        const std::uint64_t before = BytesRead(ownBytes);
        EXPECT_EQ(launches.Run().exitCode, 0);
        EXPECT_EQ(BytesRead(ignored) - before - ownBytes, std::filesystem::file_size(file));
    }
    EXPECT_EQ(launches.Starts(), (std::vector<std::string>{"updater", "updater", "updater"}));
}

} // namespace
