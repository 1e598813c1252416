// The system information of the real platform.
#include "Plinth/Debug/SystemInfo.h"

#include "Plinth/Debug/ErrorMessageBox.h"
#include "Plinth/Debug/FileVersion.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/BoxAnswers.h"

#include <gtest/gtest.h>

#include <memory>
#include <regex>

namespace Plinth {
namespace {

TEST(SystemInfo, ModulesOfTheSystemHaveVersionsAndLinkTimes)
{
    HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    const FileVersion version = GetModuleFileVersion(kernel);
    EXPECT_GE(version.major, 5u);
    EXPECT_NE(GetModuleLinkTime(kernel), 0u);
    const TraceCapture trace;
    TraceModuleList();
    EXPECT_TRUE(std::regex_search(trace.Text(), std::regex("  kernel32\\.dll +\\([1-9]", std::regex::icase)))
        << trace.Text();
}

struct DestroyTheWindow {
    void operator()(HWND window) const { DestroyWindow(window); }
};

TEST(ErrorMessageBox, FullScreenWindowMakesRoomForIt)
{
    const int width = GetSystemMetrics(SM_CXSCREEN);
    const int height = GetSystemMetrics(SM_CYSCREEN);
    const std::unique_ptr<HWND__, DestroyTheWindow> window(
        CreateWindowExW(0, L"Static", L"Game", WS_POPUP | WS_VISIBLE, 0, 0, width, height, nullptr, nullptr,
                        GetModuleHandleW(nullptr), nullptr));
    ASSERT_NE(window, nullptr);
    SetActiveWindow(window.get());
    ASSERT_EQ(GetActiveWindow(), window.get());
    EXPECT_TRUE(IsFullScreenWindow(window.get()));
    MoveWindow(window.get(), 1, 0, width, height, TRUE);
    EXPECT_FALSE(IsFullScreenWindow(window.get()));

    BoxAnswers answers;
    EXPECT_EQ(ShowErrorMessageBox("one pixel off"), 0);
    EXPECT_FALSE(IsIconic(window.get()));
    MoveWindow(window.get(), 0, 0, width, height, TRUE);
    SetActiveWindow(window.get());
    EXPECT_EQ(ShowErrorMessageBox(nullptr), 0);
    EXPECT_TRUE(IsIconic(window.get()));
    EXPECT_EQ(answers.Take().size(), 2u);
}

} // namespace
} // namespace Plinth
