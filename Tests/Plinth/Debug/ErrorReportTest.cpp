#include "Plinth/Debug/ErrorReport.h"

#include "Plinth/Debug/Clipboard.h"
#include "Plinth/Debug/TraceState.h"
#include "Plinth/Text/ZeroTerminatedText.h"
#include "Tests/Plinth/Debug/FreshDiagnostics.h"
#include "Tests/Support/BoxAnswers.h"
#include "Tests/Support/HeapWatch.h"
#include "Tests/Support/StartedProcess.h"

#include <gtest/gtest.h>

#include <cstring>
#include <regex>

namespace Plinth {
namespace {

volatile std::uintptr_t badAddress = 0x10;

std::string Clipped()
{
    char text[16384];
    PasteTextFromClipboard(text, sizeof(text));
    return text;
}

std::string captured;
bool reportsAgain;

void Capture(const char* line)
{
    captured += line;
    if (std::exchange(reportsAgain, false)) {
        ReportError(0, nullptr, 7, "", nullptr);
    }
}

std::string WithoutTime(const std::string& text)
{
    static const std::regex time(R"(\[ \d{4}/[01]\d/[0-3]\d [0-2]\d:[0-5]\d:[0-5]\d \])");
    return std::regex_replace(text, time, "[ TIME ]");
}

class Reports : public testing::Test {
protected:
    Reports()
    {
        captured.clear();
        reportsAgain = false;
        Trace("line\n"); // the additional information holds from here on
        SetReportCallback(Capture);
    }

    FreshDiagnostics fresh_;
};

TEST_F(Reports, TellTheSameInTraceBoxAndClipboard)
{
    struct Row {
        std::uint32_t flags;
        const char *file, *expression, *message, *information;
        const char *heading, *kind, *body;
    };
    const Row rows[] = {
        {0x40, "a.cpp", "x > 0", "too small", "level 3", "ASSERTION FAILED", "Assertion failed",
         "Expression: x > 0\nError: too small\nAdditional info: level 3\n\nFile: a.cpp\nLine: 12\n"},
        {0x51, nullptr, "x", nullptr, "", "DEBUG ERROR", "Debug error", "Expression: x\n"},
        {0x71, "", "", "m", "", "DEBUG ERROR", "Debug error", "Error: m\n\nFile: \nLine: 12\n"},
        {0x40, "a.cpp", nullptr, "", "", "ASSERTION FAILED", "Assertion failed", "File: a.cpp\nLine: 12\n"},
        {0x60, nullptr, nullptr, nullptr, nullptr, "ASSERTION FAILED", "Assertion failed", ""},
    };
    BoxAnswers answers;
    for (const Row& row : rows) {
        captured.clear();
        SetAdditionalInfo(row.information);
        EXPECT_FALSE(ReportError(row.flags, row.file, 12, row.expression, row.message));
        const std::string indented = std::regex_replace(std::string(row.body), std::regex("(.+)"), "    $1");
        EXPECT_EQ(WithoutTime(captured), "\n[ TIME ] ERROR: " + std::string(row.heading) + "!\n\n" +
                                             indented + (indented.empty() ? "" : "\n") +
                                             "Assertion: User pressed Ok.\n");
        const std::vector<AnsweredBox> boxes = answers.Take();
        ASSERT_EQ(boxes.size(), 1u);
        EXPECT_EQ(boxes[0].text, std::string(row.kind) + "!\n\n" + row.body);
        const std::string program = ToUtf8(OwnProgram());
        EXPECT_EQ(boxes[0].caption, program.substr(program.find_last_of('\\') + 1) + " - Error");
        EXPECT_EQ(Clipped(), boxes[0].text);
        EXPECT_EQ(traceState.callback, nullptr);
    }
}

TEST_F(Reports, AreCutWhereTheyAreTooLong)
{
    BoxAnswers answers;
    const std::string text(5000, 'x');
    SetAdditionalInfo(text.c_str());
    EXPECT_EQ(GetAdditionalInfo(), text.substr(0, 1023));
    ReportErrorF(ReportFlagContinue, text.c_str(), 1, text.c_str(), "%s", text.c_str());
    const std::string body = "Expression: " + text + "\nError: " + text.substr(0, 1022) +
                             "\nAdditional info: " + text.substr(0, 1023) + "\n\nFile: " + text;
    EXPECT_EQ(answers.Take().at(0).text, "Assertion failed!\n\n" + body.substr(0, 8191 - 19));
    ReportErrorF(ReportFlagContinue, nullptr, 1, nullptr, "%s", reinterpret_cast<const char*>(badAddress));
    EXPECT_EQ(answers.Take().at(0).text,
              "Assertion failed!\n\nAdditional info: " + text.substr(0, 1023) + "\n");
}

TEST_F(Reports, ClosedWithCtrlAreSilentFromThenOn)
{
    BoxAnswers answers(BoxAnswer::OK_WITH_CTRL);
    const std::string longName(300, 'n');
    const auto isReported = [&](const char* file, std::uint32_t line) {
        captured.clear();
        EXPECT_FALSE(ReportError(ReportFlagContinue, file, line, nullptr, nullptr));
        EXPECT_EQ(captured.empty(), answers.Take().empty());
        return !captured.empty();
    };
    EXPECT_TRUE(isReported(nullptr, 0)); // the table's empty places stand for nothing
    EXPECT_FALSE(isReported("", 0));
    EXPECT_TRUE(isReported("a.cpp", 1));
    EXPECT_FALSE(isReported("a.cpp", 1));
    EXPECT_TRUE(isReported("A.cpp", 1));
    for (std::uint32_t line = 2; line <= 18; ++line) {
        EXPECT_TRUE(isReported("a.cpp", line));
    }
    EXPECT_FALSE(isReported(nullptr, 0));
    EXPECT_TRUE(isReported("a.cpp", 19)); // the twenty-first takes the first one's place
    EXPECT_TRUE(isReported(nullptr, 0));  // and so on
    EXPECT_TRUE(isReported("a.cpp", 1));
    EXPECT_FALSE(isReported("a.cpp", 19));
    EXPECT_TRUE(isReported(longName.c_str(), 1)); // cut, so never the same
    EXPECT_TRUE(isReported(longName.c_str(), 1));
    EXPECT_FALSE(isReported(longName.substr(0, 259).c_str(), 1));
}

TEST_F(Reports, WithoutABoxAreAborted)
{
    BoxAnswers answers(BoxAnswer::NOT_SHOWN);
    for (int time = 0; time < 2; ++time) { // nothing is silenced
        captured.clear();
        EXPECT_FALSE(ReportError(ReportFlagContinue, "a.cpp", 1, nullptr, nullptr));
        EXPECT_EQ(WithoutTime(captured),
                  "\n[ TIME ] ERROR: ASSERTION FAILED!\n\n    File: a.cpp\n    Line: 1\n\n"
                  "Assertion: User pressed Abort.\n");
        EXPECT_EQ(answers.Take().size(), 1u);
    }
}

// The report from inside takes the callback away from the one around it.
TEST_F(Reports, FromInsideAReportAreCutDown)
{
    BoxAnswers answers;
    reportsAgain = true;
    ReportError(ReportFlagContinue, "a.cpp", 1, nullptr, nullptr);
    EXPECT_EQ(captured, "\nERROR: Second chance FATAL ERROR!\n\nFile: <NULL>\nLine: 7\nExpression: \n"
                        "Message: <NULL>\n\n");
    EXPECT_EQ(answers.Take().size(), 1u);
    EXPECT_EQ(reportState.depth, 0);
    captured.clear();
    ReportError(ReportFlagContinue, "a.cpp", 1, nullptr, nullptr);
    EXPECT_FALSE(captured.empty());
}

TEST_F(Reports, WithABadPointerUnderAGuardLeaveNothingBehind)
{
    BoxAnswers answers;
    EXPECT_TRUE(Platform::RunGuarded(
        [] { ReportError(ReportFlagContinue, nullptr, 1, "x", reinterpret_cast<const char*>(badAddress)); }));
    EXPECT_EQ(answers.Take().at(0).text, "Assertion failed!\n\nExpression: x\n");
    EXPECT_EQ(reportState.depth, 0);
}

// What the host layer takes for the clipboard, the program's path and the box is its own.
TEST_F(Reports, ThatReturnTakeNoHeapMemory)
{
    static HeapWatch* heap;
    static unsigned blocks;
    SetReportCallback([](const char* line) {
        if (std::strstr(line, "User pressed") == nullptr) { // the last one, after the box
            blocks = heap->Blocks();
        }
    });
    BoxAnswers answers(BoxAnswer::NOT_SHOWN);
    const auto blocksOf = [](void (*operation)()) {
        HeapWatch watch({.ordinal = 1, .lasting = true});
        heap = &watch;
        blocks = 0;
        operation();
        return watch.Blocks();
    };
    const unsigned shown = blocksOf([] {
        char path[1000];
        GetModuleFileNameA(nullptr, path, sizeof(path));
        constexpr char TEXT[] = "Assertion failed!\n\nExpression: x\nError: 1 y\n\nFile: a.cpp\nLine: 1\n";
        CopyTextToClipboard(TEXT);
        MessageBoxA(nullptr, TEXT, "PlinthTests.exe - Error", MB_OK);
    });
    EXPECT_EQ(blocksOf([] { ReportErrorF(ReportFlagContinue, "a.cpp", 1, "x", "%d %s", 1, "y"); }), shown);
    EXPECT_EQ(blocks, 0u);
}

} // namespace
} // namespace Plinth
