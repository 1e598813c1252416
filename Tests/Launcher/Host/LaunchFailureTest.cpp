// Every platform call and every heap block of a launch failing in turn, judged by what was said and started.
#include "Tests/Launcher/Host/LaunchInside.h"
#include "Tests/Support/FailingInTurn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

using namespace Platform::Host;

constexpr DWORD ERRORS[] = {0, ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED, ERROR_NOT_ENOUGH_MEMORY,
                            0xC0000142};

// Calls that the launch cannot do without, by function and occurrence, and their stage.
const std::map<std::pair<std::string, std::ptrdiff_t>, std::string> STAGES = {
    {{"GetCommandLineW", 1}, "12"},     {{"GetModuleFileNameW", 1}, "22"},
    {{"PathRemoveFileSpecW", 1}, "32"}, {{"SetCurrentDirectoryW", 1}, "42"},
    {{"PathAppendW", 1}, "52"},         {{"PathAppendW", 2}, "52"}};

// The others whose failure changes nothing.
const std::set<std::string> IGNORED = {"CloseHandle", "FindClose", "PathRemoveFileSpecW", "RegCloseKey",
                                       "SetCurrentDirectoryW"};

std::string ErrorDigits(const std::string& stage, DWORD error)
{
    char digits[16];
    std::snprintf(digits, sizeof(digits), "%s%04x", stage.c_str(), stage == "12" ? 0 : error);
    return digits;
}

// Empty where the launch goes on.
std::string StageOf(const Scenario& scenario, const std::string& function, std::ptrdiff_t occurrence)
{
    if (function == "CreateProcessW") {
        return *scenario.starts == 'u' ? "72" : "62";
    }
    const auto stage = STAGES.find({function, occurrence});
    return stage != STAGES.end() ? stage->second : "";
}

void ExpectOutcome(const Scenario& scenario, Observed observed, const std::string& started)
{
    const auto [anyFunction, ordinal, error, lasting] = observed.rule;
    const auto failed = observed.calls.begin() + static_cast<std::ptrdiff_t>(*observed.firstFailed);
    const std::string& function = *failed;
    SCOPED_TRACE(function + (lasting ? " from" : " at") + " point " + std::to_string(ordinal));
    const std::string stage =
        StageOf(scenario, function, std::count(observed.calls.begin(), failed + 1, function));
    const std::string digits = stage.empty() ? scenario.digits : ErrorDigits(stage, error);

    const bool fails = lasting || !digits.empty();
    EXPECT_EQ(observed.exitCode, fails ? 1 : 0) << started;
    EXPECT_EQ(std::count(observed.calls.begin(), observed.calls.end(), "MessageBoxW"), fails ? 1 : 0);
    EXPECT_EQ(observed.errorModeAt["MessageBoxW"], fails ? SEM_FAILCRITICALERRORS : 0u);
    EXPECT_EQ(observed.errorModeAt["CreateProcessW"], 0u);
    EXPECT_TRUE(fails ? started.empty()
                      : started == scenario.starts || (started == "game" && !IGNORED.contains(function)))
        << started;

    const bool shows = !lasting && fails && function != "MessageBoxW";
    ASSERT_EQ(observed.boxes.size(), shows ? 1u : 0u);
    if (shows) {
        const std::string text = FailureText(digits, digits[0] >= '6' ? REINSTALL_HINT : "");
        EXPECT_EQ(ToUtf8(observed.boxes[0].text), function == "wsprintfW" ? "" : text);
    }
    // A text that cannot be had keeps all values from being written, unless it is one that a value is written
    // with.
    if (*scenario.starts == 'u' && (function.starts_with("MultiByte") || function.starts_with("WideChar"))) {
        const auto writes = std::count(observed.calls.begin(), observed.calls.end(), "RegCreateKeyExW");
        EXPECT_TRUE(std::count(observed.calls.begin(), failed, "RegCreateKeyExW") != 0 || writes == 0 ||
                    writes == 2)
            << writes;
    }
    if (!stage.empty()) { // the last error, the error mode back, and the message: nothing else
        const int others = (stage != "12" ? 1 : 0) + (function == "CreateProcessW" ? 1 : 0);
        EXPECT_EQ(observed.calls.end() - failed, others + 3);
    }
}

// The first launch is without failure.
std::vector<Observed> FailInTurn(Launches& launches)
{
    std::vector<Observed> all = {launches.Run()};
    const unsigned points = all[0].points;
    for (unsigned ordinal = 1; ordinal <= points; ++ordinal) {
        for (const DWORD error : ERRORS) {
            all.push_back(launches.Run({.ordinal = ordinal, .error = error}));
            all.push_back(launches.Run({.ordinal = ordinal, .error = error, .lasting = true}));
        }
    }
    return all;
}

TEST(LaunchFailure, OfEachCallStartsOneProgramOrSaysWhy)
{
    for (const Scenario& scenario : SCENARIOS) {
        SCOPED_TRACE(scenario.name);
        Launches launches(scenario);
        const std::vector<Observed> all = FailInTurn(launches);
        const std::vector<std::string> starts = launches.Starts();
        EXPECT_EQ(starts[0], scenario.starts);
        std::size_t reached = 0;
        for (std::size_t i = 1; i < all.size(); ++i) {
            if (all[i].firstFailed.has_value()) {
                ++reached;
                ExpectOutcome(scenario, all[i], starts[i]);
            }
        }
        const std::size_t points = std::size_t{all[0].points} * std::size(ERRORS) * 2;
        std::cout << scenario.name << ": " << all[0].points << " calls, failures at " << reached << " of "
                  << points << " points\n";
        EXPECT_EQ(reached, points);
        EXPECT_NE(points, 0u);
    }
}

// On the host the platform takes its memory from the same heap. What lacks it fails with that error.
TEST(LaunchFailure, OfEachHeapBlockStartsOneProgramOrSaysWhy)
{
    Launches launches(SCENARIOS[0]);
    SetModulePath(launches.ModulePath());
    bool saysWhy = false;
    SetMessageBoxHook([&](const MessageBoxCall& call) {
        saysWhy = call.text.find(u"0008)!") != std::u16string::npos;
        return IDOK;
    });
    std::vector<int> exitCodes;
    {
        FailingInTurn points("WinMain");
        while (points.Next()) {
            saysWhy = false;
            launches.Begin();
            exitCodes.push_back(-1);
            points.Try([&] { exitCodes.back() = WinMain(nullptr, nullptr, nullptr, 0); });
            launches.End(exitCodes.back());
            EXPECT_EQ(saysWhy, exitCodes.back() == 1 && points.FailsOnce()); // a box takes memory, too
        }
    }
    SetMessageBoxHook({});
    SetModulePath(std::nullopt);
    const std::vector<std::string> starts = launches.Starts();
    for (std::size_t i = 0; i < starts.size(); ++i) {
        EXPECT_GE(exitCodes[i], 0);
        EXPECT_TRUE(exitCodes[i] == 1 ? starts[i].empty() : starts[i] == "updater" || starts[i] == "game");
    }
}

} // namespace
