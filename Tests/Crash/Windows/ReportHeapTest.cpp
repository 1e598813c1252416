// On the host the layer takes blocks of its own, which cannot be told from the program's.
#include "Tests/Crash/ReporterRun.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

TEST(FatalReport, TakesHeapMemoryForItsDumpAlone)
{
    const ScratchFolder scratch;
    const ReporterResult result = RunReporter(scratch.Path(), "symbols counted");
    EXPECT_EQ(result.exitCode, 1u);
    std::istringstream lines(result.heapLog);
    std::vector<std::string> costly; // the lines before which blocks were asked for
    unsigned before = 0;
    unsigned blocks = 0;
    for (std::string line; lines >> blocks && std::getline(lines, line); before = blocks) {
        if (blocks != before) {
            costly.push_back(line.substr(line.find_first_not_of(' ')));
        }
    }
    EXPECT_EQ(costly, std::vector<std::string>{"Minidump successfully written.\r"}) << result.heapLog;
}

} // namespace
