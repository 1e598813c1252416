// The hand-off to the updater while memory runs out.
#include "Tests/Launcher/NamedGame.h"
#include "Tests/Support/FailingInTurn.h"

#include <gtest/gtest.h>

namespace {

constexpr DWORD UNTOUCHED = 77;

TEST(HandOffMemory, LacksAndTheUpdaterIsStartedOrNotDue)
{
    const NamedGame game;
    std::size_t rounds = 0;
    std::size_t started = 0;
    FailingInTurn points("TryStartUpdater");
    while (points.Next()) {
        game.Reset();
        DWORD lastError = UNTOUCHED;
        UpdaterResult result = UpdaterNotDue;
        points.Try([&] { result = game.TryStart(lastError); });
        started += result == UpdaterStarted ? 1 : 0;
        EXPECT_TRUE(++rounds > 2 || result == UpdaterStarted); // the first two have all the memory
        EXPECT_EQ(lastError == UNTOUCHED, result == UpdaterNotDue);
        // The host's platform needs memory for a process itself.
        EXPECT_TRUE(result != UpdaterStartFailed || lastError == ERROR_NOT_ENOUGH_MEMORY) << lastError;
        game.ExpectWholeValues();
    }
    EXPECT_EQ(AwaitReports(game.Install().Updater(), started).size(), started);
}

} // namespace
