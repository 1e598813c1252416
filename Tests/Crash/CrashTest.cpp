// Crashes for real, each in a process of its own, and reads what is left.
#include "Tests/Crash/CrashCase.h"
#include "Tests/Crash/ReporterRun.h"
#include "Tests/Support/Hexadecimal.h"
#include "Tests/Support/MinidumpReader.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

namespace {

// Line ends as LF.
std::string Plain(std::string text)
{
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
}

bool Has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

// What the expression's only group matches last; empty: nothing.
std::string Find(const std::string& text, const std::string& expression)
{
    const std::regex pattern(expression);
    std::string found;
    for (auto i = std::sregex_iterator(text.begin(), text.end(), pattern); i != std::sregex_iterator(); ++i) {
        found = (*i)[1];
    }
    return found;
}

unsigned Number(const std::string& text, int base)
{
    return text.empty() ? 0 : static_cast<unsigned>(std::stoul(text, nullptr, base));
}

class Crash : public testing::TestWithParam<const CrashCase*> {
protected:
    void Run(const std::string& words)
    {
        result_ = RunCrasher(scratch_.Path(), GetParam()->word + words);
        log_ = Plain(result_.log);
    }

    [[nodiscard]] std::string Seen() const
    {
        std::string seen = log_;
        for (const SeenMessageBox& box : result_.boxes) {
            seen += ToUtf8(box.caption) + '\n' + ToUtf8(box.text) + '\n';
        }
        return seen;
    }

    static DWORD ExitCode()
    {
        const CrashCase& crash = *GetParam();
        return FAULTS_ARE_SIGNALS && crash.signal != 0 ? 128 + static_cast<DWORD>(crash.signal)
                                                       : crash.exitCode;
    }

    // From the heading to the registers, with nothing in between that is not known.
    void ExpectFault() const
    {
        const CrashCase& crash = *GetParam();
        const std::string code = Hexadecimal(crash.code);
        const std::string module = crash.bytes[0] == '?' ? "Unknown" : "Crasher\\.exe";
        const std::string eip = Find(log_, " EIP=([0-9a-f]{8}) ");
        EXPECT_TRUE(std::regex_search(
            log_,
            std::regex("^\n\\[ [0-9/]{10} [0-9:]{8} \\] ERROR: Exception 0x" + code +
                       " at 0x[0-9a-f]{8}!\n\n  Crasher\\.exe \\(time stamp 0x[0-9a-f]{8}\\) caused " +
                       crash.phrase + " exception in\n  module " + module + " \\(time stamp 0x" +
                       "[0-9a-f]{8}, base address 0x[0-9a-f]{8}\\) at [0-9a-f]{4}:" + eip + "\\.\n\n")));
        // The x87 unit tells of an instruction before the one that it stops at.
        const unsigned before = Number(eip, 16) - Number(Find(log_, "at 0x([0-9a-f]{8})!"), 16);
        EXPECT_LE(before, crash.code == EXCEPTION_FLT_DIVIDE_BY_ZERO ? 2u : 0u);
        EXPECT_TRUE(Has(log_, "\n  CS:EIP memory dump:\n\n    " + eip + "  " + crash.bytes)) << eip;
    }

    void ExpectStack() const
    {
        const CrashCase& crash = *GetParam();
        const unsigned start = Number(Find(log_, ", stack 0x([0-9a-f]{8})\n"), 16);
        const unsigned above = start + 0x10000; // whoever told of the stack may have been further down
        const unsigned depth = above - Number(Find(log_, " ESP=([0-9a-f]{8}) "), 16);
        constexpr unsigned LARGE = 0x80000;
        EXPECT_EQ(crash.code == EXCEPTION_STACK_OVERFLOW, depth > LARGE) << depth;
        EXPECT_LT(depth, 64 * LARGE);
        const std::size_t frames = log_.find("\n  Stack dump:\n\n    ");
        const std::string stack =
            log_.substr(std::min(frames, log_.size()), log_.find("\nMemory load ") - frames);
        if (crash.frame != nullptr) {
            EXPECT_TRUE(Has(stack, ':' + Find(log_, " EIP=([0-9a-f]{8}) ")) && Has(stack, crash.frame))
                << stack;
        }
    }

    void ExpectDump() const
    {
        ASSERT_EQ(result_.dumps.size(), 1u);
        const MinidumpReading reading = ReadMinidump(result_.dumps[0]);
        EXPECT_EQ(reading.fault, "");
        ASSERT_TRUE(reading.dump.exception.has_value());
        EXPECT_EQ(reading.dump.exception->code, GetParam()->code);
        if (!log_.empty()) {
            EXPECT_EQ(reading.dump.exception->thread, Number(Find(log_, "\nthread ([0-9]+),"), 10));
            EXPECT_EQ(Hexadecimal(reading.dump.exception->address), Find(log_, " at 0x([0-9a-f]{8})!"));
            EXPECT_TRUE(Has(log_, "\nMinidump successfully written.\n"));
        }
    }

    ScratchFolder scratch_;
    ReporterResult result_{};
    std::string log_;
};

TEST_P(Crash, LeavesWhatItShould)
{
    const CrashCase& crash = *GetParam();
    Run("");
    SCOPED_TRACE(Seen());
    if (ExitCode() != ANY_EXIT_CODE) {
        EXPECT_EQ(Hexadecimal(result_.exitCode), Hexadecimal(ExitCode()));
    } else {
        EXPECT_TRUE(result_.exitCode != RETURNED && result_.exitCode != STILL_ACTIVE) << result_.exitCode;
    }
    for (const char* const text : crash.says) {
        EXPECT_TRUE(text == nullptr || Has(Seen(), text)) << text;
    }
    EXPECT_EQ(crash.log == CrashLog::EMPTY, log_.empty());
    if (crash.log == CrashLog::REPORT) {
        ExpectFault();
        ExpectStack();
        EXPECT_TRUE(Has(log_, "\nMemory load ") && Has(log_, "Memory dump:\n\nthread "));
    }
    if (crash.dump == CrashDump::VALID) {
        ExpectDump();
    } else {
        EXPECT_TRUE(crash.dump == CrashDump::ANY || result_.dumps.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(EachWay, Crash, testing::ValuesIn(CRASH_CASES),
                         [](const auto& one) { return one.param->word; });

TEST(PureCalls, AreReportedWithTheirPlace)
{
    const ScratchFolder scratch;
    const std::string log = RunCrasher(scratch.Path(), "PureCall").log;
    const unsigned before = Number(Find(log, "shortly behind 0x([0-9a-f]{8})"), 16);
    const unsigned place = Number(Find(log, "the problem occurred is 0x([0-9a-f]{8})\\."), 16);
    EXPECT_TRUE(before < place && place < before + 1024) << log;
}

TEST(CrashLogs, AreReplacedOrGoneOnWith)
{
    const ScratchFolder scratch;
    for (const auto& [words, reports] :
         {std::pair("ReadViolation", 1), {"BadJump append", 2}, {"ReadViolation", 1}}) {
        const std::string log = RunCrasher(scratch.Path(), words).log;
        const std::regex heading("ERROR: Exception 0xc0000005 at ");
        EXPECT_EQ(std::distance(std::sregex_iterator(log.begin(), log.end(), heading), {}), reports) << log;
    }
}

} // namespace
