#include "Plinth/Debug/TraceLogFile.h"
#include "Plinth/Debug/TraceState.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>

namespace Plinth {
namespace {

volatile std::uintptr_t badAddress = 0x10;

TEST(Trace, MakesLines)
{
    struct Row {
        std::string text;
        std::string lines;
    };
    const Row rows[] = {
        {"a\tb\n", "a   b\n"},
        {"\tabcd\te\n", "    abcd    e\n"},
        {"\ax\n\by\n", "    x\ny\n"},
        {"\b\bx\n", "x\n"},
        {"\ax\b\n", "x\n"}, // the indent counts when the line ends
        {"\n\n\n", "\n"},
        {"\n\nx\n\n\ny\n", "\nx\n\ny\n"},
        {"\a\n", "\n"},
        {"a\r\x01\x1F\x80\xE9\x7F~\n", "a\x7F~\n"},
        {"unfinished", ""},
        {std::string(2000, 'x') + "\ny\n", std::string(1024, 'x') + "\ny\n"},
        {std::string(1023, 'x') + "\t\ty\n", std::string(1023, 'x') + " \n"},
        {std::string(70, '\a') + "x\n", std::string(256, ' ') + "x\n"},
        {std::string(70, '\a') + std::string(7, '\b') + "x\n", std::string(252, ' ') + "x\n"},
        {std::string(64, '\a') + std::string(1100, 'x') + "\n",
         std::string(256, ' ') + std::string(1024, 'x') + "\n"},
        {"", ""},
    };
    for (const Row& row : rows) {
        const TraceCapture trace;
        Trace(row.text.c_str());
        EXPECT_EQ(trace.Text(), row.lines);
    }
}

TEST(Trace, HasSeveralWaysIn)
{
    const TraceCapture trace;
    Trace(nullptr);
    TraceLevel(3, "level");
    TraceF(" %d\n", 1);
    TraceIndent();
    TraceLevelF(1, "%s\n", "indented");
    TraceUnindent();
    TraceUnindent();
    TraceF("%s\n", "back");
    EXPECT_EQ(trace.Text(), "level 1\n    indented\nback\n");
    SetTraceCallback(nullptr);
    Trace("nobody\n");
    EXPECT_EQ(trace.Text(), "level 1\n    indented\nback\n");
}

TEST(Trace, FormatsLongTexts)
{
    std::string line = std::string(63, 'x') + "\n";
    std::string text;
    for (int i = 0; i < 600; ++i) {
        text += line;
    }
    const TraceCapture trace;
    TraceF("%s", text.c_str());
    Trace("\n");
    EXPECT_EQ(trace.Text(), text.substr(0, 32766) + "\n");
}

TEST(Trace, SurvivesFaultsInFormattingAndInTheCallback)
{
    const TraceCapture trace;
    const auto* const bad = reinterpret_cast<const char*>(badAddress);
    Trace("before ");
    SetLastError(77);
    TraceF("lost %s", bad);
    EXPECT_EQ(GetLastError(), 77u);
    EXPECT_EQ(trace.Text(), "before \n\nExceptions during string formating!\n\n");

    static int calls;
    calls = 0;
    SetTraceCallback([](const char* /*line*/) {
        ++calls;
        static_cast<void>(*reinterpret_cast<const volatile char*>(badAddress));
    });
    Trace("1\n2\n");
    EXPECT_EQ(calls, 2);
}

void TryFormat(char* buffer, std::uint32_t size, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    TryFormatTextV(buffer, size, format, arguments);
    va_end(arguments);
}

TEST(Trace, TryFormatKeepsToItsBuffer)
{
    char buffer[] = "#########";
    TryFormat(buffer, 8, "%s", "abcdefghij");
    EXPECT_STREQ(buffer, "abcdef");
    EXPECT_EQ(buffer[8], '#');
    buffer[7] = '#';
    TryFormat(buffer, 8, nullptr);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(buffer[7], 0);
    for (const std::uint32_t size : {1u, 2u}) {
        TryFormat(buffer, size, "%s", "x");
        EXPECT_STREQ(buffer, "");
    }
    buffer[0] = 'a';
    TryFormat(buffer, 0, "x");
    TryFormat(nullptr, 8, "x");
    EXPECT_EQ(buffer[0], 'a');
}

class LogFile : public testing::Test {
protected:
    LogFile()
    {
        traceState.logFile = CreateFileW(ToPlatform(path_).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                         CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    }

    ~LogFile() override { CloseLogFile(); }

    [[nodiscard]] std::string Content() const
    {
        std::ifstream file(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TraceCapture trace_;

private:
    ScratchFolder scratch_;
    std::filesystem::path path_ = scratch_.Path() / "log.txt";
};

TEST_F(LogFile, GetsEachLineAsItEnds)
{
    ASSERT_NE(traceState.logFile, INVALID_HANDLE_VALUE);
    Trace("\ax\n\b\nunfinished");
    EXPECT_EQ(Content(), "    x\r\n\r\n");
    EXPECT_EQ(trace_.Text(), Content());
    TraceRaw("raw\n\x01\xE9\0more", 11);
    TraceRaw(nullptr, 3);
    TraceRaw("\0abc", 3);
    TraceRaw("abc", 0);
    EXPECT_EQ(Content(), std::string("    x\r\n\r\nraw\n\x01\xE9\0more", 20));
    Trace("\n");
    EXPECT_EQ(Content().substr(20), "unfinished\r\n");
    EXPECT_EQ(trace_.Text(), "    x\r\n\r\nunfinished\r\n");
    WriteLogFile(traceState.logFile, nullptr, 5);
    CloseLogFile();
    EXPECT_EQ(traceState.logFile, nullptr);
    CloseLogFile();
    Trace("x\n");
    TraceRaw("x", 1);
    EXPECT_EQ(Content().size(), 32u);
}

TEST_F(LogFile, LeavesTheLastErrorAlone)
{
    SetLastError(77);
    Trace("x\n");
    EXPECT_EQ(GetLastError(), 77u);
    CloseHandle(traceState.logFile); // the next calls fail
    SetLastError(77);
    Trace("y\n");
    CloseLogFile();
    EXPECT_EQ(GetLastError(), 77u);
    EXPECT_EQ(trace_.Text(), "x\r\ny\r\n");
}

TEST_F(LogFile, TakesNoHeapMemory)
{
    const HeapWatch watch;
    TraceTimeStamp();
    TraceF("%s %d %f\n", "text", 1, 2.5);
    TraceRaw("raw", 3);
    EXPECT_EQ(watch.Blocks(), 0u);
}

TEST(Trace, StampsTheTime)
{
    const TraceCapture trace;
    TraceTimeStamp();
    Trace("\n");
    const std::regex stamp(R"(\[ \d{4}/[01]\d/[0-3]\d [0-2]\d:[0-5]\d:[0-5]\d:[ \d]{3}\d \]\n)");
    EXPECT_TRUE(std::regex_match(trace.Text(), stamp)) << trace.Text();
}

// What a second thread may do to the line between two steps.
TEST(Trace, KeepsToTheLineWhateverItsLength)
{
    for (const std::uint32_t length : {1025u, 1100u, 0xFFFFFFFFu}) {
        const TraceCapture trace;
        Trace("x");
        traceState.lineLength = length;
        Trace("y\tz");
        EXPECT_EQ(traceState.additionalInfo[0], 0);
        Trace("\n");
        EXPECT_EQ(trace.Text(), "x"); // what follows is as it was, zeros
    }
}

TEST(Trace, IsOffOnlyWhereItIsTurnedOff)
{
    const TraceCapture trace;
    traceState.initialised = -1;
    Trace("x\n");
    EXPECT_EQ(trace.Text(), "");
    traceState.initialised = 0;
    std::fill(std::begin(traceState.additionalInfo), std::end(traceState.additionalInfo), 'x');
    traceState.lineLength = 5;
    traceState.blankLineWritten = 1;
    TraceIndent();
    Trace("\ny\n");
    EXPECT_EQ(trace.Text(), "\ny\n");
    EXPECT_EQ(traceState.additionalInfo[1023], 0);
}

} // namespace
} // namespace Plinth
