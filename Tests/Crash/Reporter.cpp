// Files an error report as a game would that has its diagnostics on; for the tests and the demonstration.
//
//     Reporter [WORD...]    writes report.log and Report_TIME.dmp into the current directory
//
// Words: "symbols" has the symbol engine started first; "banner" traces what runs where, and the command
// line; "continue" makes the report one that returns; "twice" files it from two threads at once; "again"
// files another one from the callback, on the thread that dumps the stack; "counted" writes the program's
// heap blocks so far before each line into heap.log; "starved" lets all of them fail.
//
// The exit code is 3 after a report that returned.
#include "Plinth/Debug/ErrorReport.h"
#include "Plinth/Debug/LogFile.h"
#include "Plinth/Debug/Minidump.h"
#include "Plinth/Debug/Symbols.h"
#include "Plinth/Debug/SystemInfo.h"
#include "Plinth/Text/ZeroTerminatedText.h"
#include "Tests/Support/HeapWatch.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sstream>
#include <string>

namespace {

constexpr int RETURNED = 3;

HANDLE heapLog;
std::optional<HeapWatch> heap;

void WriteWithCount(const char* line)
{
    char text[1400];
    Plinth::FormatText(text, sizeof(text), "%u %s", heap->Blocks(), line);
    Plinth::WriteLogFile(heapLog, text, static_cast<std::uint32_t>(std::strlen(text)));
}

void ReportAgain(const char* line)
{
    if (std::strstr(line, "Stack dump:") != nullptr) {
        Plinth::ReportError(0, nullptr, 0, nullptr, "from the callback");
    }
}

} // namespace

// The chain of calls that the report's stack shows.
namespace Game {

[[gnu::noinline]] int CheckTexture(std::uint32_t flags, int width)
{
    Plinth::ReportErrorF(flags, "Game/Texture.cpp", 118, "width <= 4096", "The texture is %d wide", width);
    return width;
}

[[gnu::noinline]] int LoadLevel(std::uint32_t flags)
{
    volatile int width = CheckTexture(flags, 5000); // as volatile it keeps the call from being a jump
    return width + 1;
}

[[gnu::noinline]] int Run(std::uint32_t flags)
{
    volatile int width = LoadLevel(flags);
    return width + 1;
}

} // namespace Game

namespace {

struct Wanted {
    std::uint32_t flags =
        Plinth::ReportFlagFatal | Plinth::ReportFlagDebugError; // as the runtime's handlers have it
    bool twice = false;
    bool starved = false;
};

Wanted wanted;

void StartSymbols()
{
    Plinth::LoadDbgHelp();
    Plinth::InitSymbols();
}

void Take(const std::string& word)
{
    if (word == "symbols") {
        StartSymbols();
    } else if (word == "banner") {
        Plinth::TraceProgramBanner(nullptr, "demonstration");
        Plinth::TraceCommandLine();
    } else if (word == "continue") {
        wanted.flags = Plinth::ReportFlagContinue;
    } else if (word == "twice") {
        wanted.twice = true;
    } else if (word == "again") {
        Plinth::SetReportCallback(ReportAgain);
    } else if (word == "starved") {
        wanted.starved = true;
    } else if (word == "counted") {
        heapLog = Plinth::CreateLogFile("heap.log", 0);
        Plinth::SetReportCallback(WriteWithCount);
    }
}

std::atomic<int> waiting{2};

DWORD WINAPI RunTogether(LPVOID /*parameter*/)
{
    for (--waiting; waiting > 0;) {
    }
    return static_cast<DWORD>(Game::Run(wanted.flags));
}

int RunTwice()
{
    auto* const other = CreateThread(nullptr, 0, RunTogether, nullptr, 0, nullptr);
    RunTogether(nullptr);
    WaitForSingleObject(other, INFINITE);
    CloseHandle(other);
    return RETURNED;
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR commandLine, int)
{
    std::istringstream words(commandLine);
    if (!Plinth::OpenLogFile("report.log", 0)) {
        return 2;
    }
    std::atexit([] { Plinth::Trace("exit handlers run\n"); });
    Plinth::SetMinidumpLocation(".", "Report");
    for (std::string word; words >> word;) {
        Take(word);
    }
    if (wanted.twice) {
        return RunTwice();
    }
    heap.emplace(HeapRule{.largest = wanted.starved ? 0 : SIZE_MAX});
    return Game::Run(wanted.flags) != 0 ? RETURNED : 0;
}
