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
    const std::string full(1024, 'x');
    const std::pair<std::string, std::string> rows[] = {
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
        {full + "xxx\ny\n", full + "\ny\n"},
        {std::string(1023, 'x') + "\t\ty\n", std::string(1023, 'x') + " \n"},
        {std::string(70, '\a') + "x\n", std::string(256, ' ') + "x\n"},
        {std::string(70, '\a') + std::string(7, '\b') + "x\n", std::string(252, ' ') + "x\n"},
        {std::string(64, '\a') + full + "xxx\n", std::string(256, ' ') + full + "\n"},
        {"", ""},
    };
    for (const auto& [text, lines] : rows) {
        const TraceCapture trace;
        Trace(text.c_str());
        EXPECT_EQ(trace.Text(), lines);
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
    const TraceCapture trace;
    TraceF("%s%s", std::string(32000, '\r').c_str(), std::string(1000, 'x').c_str()); // 32766 are kept
    Trace("\n");
    EXPECT_EQ(trace.Text(), std::string(766, 'x') + "\n");
}

TEST(Trace, SurvivesFaultsInFormattingAndInTheCallback)
{
    const TraceCapture trace;
    Trace("before ");
    SetLastError(77);
    TraceF("lost %s", reinterpret_cast<const char*>(badAddress));
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
    struct Row {
        std::uint32_t size;
        const char *format, *text;
    };
    for (const Row& row : {Row{8, "abcdefghij", "abcdef"}, Row{8, nullptr, ""}, Row{1, "x", ""},
                           Row{2, "x", ""}, Row{0, "x", "#########"}}) {
        char buffer[] = "#########";
        TryFormat(buffer, row.size, row.format);
        EXPECT_STREQ(buffer, row.text);
        EXPECT_TRUE(row.size == 0 || buffer[row.size - 1] == 0);
        EXPECT_EQ(buffer[row.size], '#');
    }
    TryFormat(nullptr, 8, "x");
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
    Trace("\ax\n\b\nunfinished");
    EXPECT_EQ(Content(), "    x\r\n\r\n");
    EXPECT_EQ(trace_.Text(), Content());
    TraceRaw("raw\n\x01\xE9\0more", 11);
    TraceRaw(nullptr, 3);
    TraceRaw("\0abc", 3);
    TraceRaw("abc", 0);
    Trace("\n");
    WriteLogFile(traceState.logFile, nullptr, 5);
    const std::string content("    x\r\n\r\nraw\n\x01\xE9\0moreunfinished\r\n", 32);
    EXPECT_EQ(Content(), content);
    EXPECT_EQ(trace_.Text(), "    x\r\n\r\nunfinished\r\n");
    CloseLogFile();
    EXPECT_EQ(traceState.logFile, nullptr);
    CloseLogFile();
    Trace("x\n");
    TraceRaw("x", 1);
    EXPECT_EQ(Content(), content);
}

TEST_F(LogFile, LeavesTheLastErrorAloneAndTakesNoHeapMemory)
{
    const HeapWatch watch;
    SetLastError(77);
    TraceTimeStamp();
    TraceF(" %s %d %f\n", "text", 1, 2.5);
    TraceRaw("raw", 3);
    EXPECT_EQ(GetLastError(), 77u);
    CloseHandle(traceState.logFile); // the next calls fail
    SetLastError(77);
    Trace("y\n");
    CloseLogFile();
    EXPECT_EQ(GetLastError(), 77u);
    EXPECT_EQ(watch.Blocks(), 0u);
    const std::regex lines(
        R"(\[ \d{4}/[01]\d/[0-3]\d [0-2]\d:[0-5]\d:[0-5]\d:[ \d]{3}\d \] text 1 2.500000\r\ny\r\n)");
    EXPECT_TRUE(std::regex_match(trace_.Text(), lines)) << trace_.Text();
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
