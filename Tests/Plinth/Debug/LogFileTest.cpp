#include "Plinth/Debug/LogFile.h"

#include "Plinth/Debug/Trace.h"
#include "Plinth/Debug/TraceState.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace Plinth {
namespace {

TEST(LogFiles, AreReplacedOrAppendedTo)
{
    const ScratchFolder scratch;
    const TraceCapture trace;
    const std::filesystem::path native = scratch.Path() / "l\u00f6g.txt";
    const CString path = ToUtf8(ToPlatform(native)).c_str();
    struct Row {
        std::uint32_t flags;
        const char* content;
    };
    for (const Row& row : {Row{DiagFlagAppendLog, "\r\nx\r\n"}, Row{DiagFlagAppendLog, "\r\nx\r\n\r\nx\r\n"},
                           Row{DiagFlagSuppressErrorReports, "\r\nx\r\n"}, Row{0, "\r\nx\r\n"}}) {
        SetLastError(77);
        EXPECT_TRUE(OpenLogFile(path, row.flags)); // closes the one of the round before
        EXPECT_EQ(GetLastError(), 77u);
        Trace("\nx\n"); // the empty line is written although one was before
        std::ifstream file(native, std::ios::binary);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), row.content);
        Trace("\n");
        CloseLogFile();
        std::filesystem::resize_file(native, std::string(row.content).size());
        ASSERT_TRUE(OpenLogFile(path, DiagFlagAppendLog));
    }
    EXPECT_EQ(CreateLogFile(path, 0), nullptr); // others may only read it
    CloseLogFile();
}

TEST(LogFiles, ThatCannotBeOpenedAreNone)
{
    const ScratchFolder scratch;
    const TraceCapture trace;
    const std::string folder = ToUtf8(ToPlatform(scratch.Path()));
    ASSERT_TRUE(OpenLogFile((folder + "\\log").c_str(), 0));
    for (const std::string& path : {std::string(), folder, folder + "\\missing\\log"}) {
        SetLastError(77);
        EXPECT_FALSE(OpenLogFile(path.c_str(), 0));
        EXPECT_EQ(GetLastError(), 77u);
        EXPECT_EQ(traceState.logFile, nullptr);
    }
    Trace("x\n");
    EXPECT_EQ(trace.Text(), "x\n");
}

} // namespace
} // namespace Plinth
