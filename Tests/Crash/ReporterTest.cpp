// Fatal reports, each in a process of its own.
#include "Tests/Crash/ReporterRun.h"
#include "Tests/Support/MinidumpReader.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

namespace {

// A stack, cut or whole, as "FRAMES", the time as "TIME", line ends as LF.
std::string Plain(std::string log)
{
    log.erase(std::remove(log.begin(), log.end(), '\r'), log.end());
    log = std::regex_replace(log, std::regex(R"(\[ [^\]]+ \])"), "[ TIME ]");
    return std::regex_replace(
        log, std::regex(R"((      [0-9a-f]{4}:[0-9a-f]{8}  0x.*\n)+(      <\.\.\.>\n)?)"), "      FRAMES\n");
}

const std::string HEADING = "\n[ TIME ] ERROR: FATAL ERROR!\n\n"
                            "    Expression: width <= 4096\n    Error: The texture is 5000 wide\n\n"
                            "    File: Game/Texture.cpp\n    Line: 118\n\n";
const std::string DUMP = "    Dumping call stack...\n\n    Stack dump:\n\n      FRAMES\n\n"
                         "    Minidump successfully written.\n\n    Dumping of call stack finished.\n\n";
const std::string END = "Assertion: User pressed Ok.\n";

TEST(FatalReport, LeavesLogBoxDumpAndExitCode)
{
    for (const bool hasSymbols : {false, true}) {
        const ScratchFolder scratch;
        const ReporterResult result = RunReporter(scratch.Path(), hasSymbols ? "symbols" : "");
        std::string log = HEADING;
        log += hasSymbols ? DUMP : "";
        log += END;
        EXPECT_EQ(result.exitCode, 1u);
        EXPECT_EQ(Plain(result.log), log);
        ASSERT_EQ(result.boxes.size(), 1u);
        EXPECT_EQ(ToUtf8(result.boxes[0].caption), "Reporter.exe - Error");
        EXPECT_EQ(ToUtf8(result.boxes[0].text),
                  "Fatal error!\n\nExpression: width <= 4096\nError: The texture is 5000 "
                  "wide\n\nFile: Game/Texture.cpp\nLine: 118\n");
        ASSERT_EQ(result.dumps.size(), hasSymbols ? 1u : 0u);
        for (const std::filesystem::path& dump : result.dumps) {
            const MinidumpReading reading = ReadMinidump(dump);
            EXPECT_EQ(reading.fault, "");
            EXPECT_FALSE(reading.dump.exception.has_value());
            EXPECT_GE(reading.dump.threads.size(), 2u);
        }
    }
}

TEST(Banner, NamesTheProgramItsVersionAndItsCommandLine)
{
    const ScratchFolder scratch;
    // Longer than a formatted text may be, with a character that the trace output has not.
    const ReporterResult result =
        RunReporter(scratch.Path(), "banner\tcontinue x\x1F\xC3y " + std::string(32700, 'z'));
    const std::string version = PROGRAMS_HAVE_VERSIONS ? "1.2.3b" : "0.0.0";
    const std::string log = Plain(result.log);
    EXPECT_EQ(result.exitCode, 3u);
    EXPECT_TRUE(log.starts_with("\nReporter.exe version " + version + " (demonstration)\n\n")) << log;
    EXPECT_NE(log.find("\n\nThe command line is: Reporter.exe banner continue x y zzz"), std::string::npos)
        << log;
    EXPECT_NE(log.find("zzz\n\nThis is *NOT* a retail build.\n\n[ "), std::string::npos) << log;
}

// The report from inside comes on the thread that the reporting one waits for.
TEST(FatalReport, WhoseCallbackReportsFromTheStackDumpComesToItsEnd)
{
    const ScratchFolder scratch;
    const ReporterResult result = RunReporter(scratch.Path(), "symbols again");
    EXPECT_EQ(result.exitCode, 1u);
    EXPECT_EQ(result.boxes.size(), 1u);
    EXPECT_NE(result.log.find("ERROR: Second chance FATAL ERROR!"), std::string::npos) << result.log;
    EXPECT_NE(result.log.find("Message: from the callback"), std::string::npos) << result.log;
    EXPECT_NE(result.log.find("Assertion: User pressed Ok."), std::string::npos) << result.log;
}

// With all of the program's heap blocks failing.
TEST(FatalReport, OutOfMemoryLacksButItsDump)
{
    const ScratchFolder scratch;
    const ReporterResult result = RunReporter(scratch.Path(), "symbols starved");
    EXPECT_EQ(result.exitCode, 1u);
    const std::string log = Plain(result.log);
    EXPECT_EQ(log.substr(0, HEADING.size()), HEADING);
    EXPECT_NE(log.find("\nAssertion: User pressed "), std::string::npos)
        << log; // the host's box takes memory
    EXPECT_TRUE(result.dumps.empty());
}

TEST(Reports, OfTwoThreadsComeOneAfterTheOther)
{
    for (int time = 0; time < 3; ++time) { // each the first two of their process
        const ScratchFolder scratch;
        const ReporterResult result = RunReporter(scratch.Path(), "symbols continue twice");
        EXPECT_EQ(result.exitCode, 3u);
        EXPECT_TRUE(result.dumps.empty());
        std::string once = HEADING + END;
        once.replace(once.find("FATAL ERROR"), 11, "ASSERTION FAILED");
        EXPECT_EQ(Plain(result.log), once + once + "exit handlers run\n");
    }
}

} // namespace
