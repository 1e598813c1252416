// How many heap blocks the hand-off takes. The host cannot tell: there the platform's blocks count as well,
// and those of a process's start depend on the environment.
#include "Tests/Launcher/NamedGame.h"
#include "Tests/Support/HeapWatch.h"

#include <gtest/gtest.h>

namespace {

unsigned BlocksOf(const NamedGame& game, UpdaterResult expected)
{
    DWORD lastError = 0;
    const HeapWatch watch;
    EXPECT_EQ(game.TryStart(lastError), expected);
    return watch.Blocks();
}

TEST(HandOffBudget, IsTheseHeapBlocks)
{
    const NamedGame game;
    EXPECT_EQ(BlocksOf(game, UpdaterStarted), 44u);
    EXPECT_EQ(AwaitReports(game.Install().Updater(), 1).size(), 1u);
    std::filesystem::remove(game.Install().SkuFile());
    EXPECT_EQ(BlocksOf(game, UpdaterNotDue), 10u);
    RemoveProgram(game.Install().Updater());
    EXPECT_EQ(BlocksOf(game, UpdaterNotDue), 0u);
}

} // namespace
