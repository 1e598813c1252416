// Files an error report as a game would that has its diagnostics on; for the tests and the demonstration.
//
//     Reporter FOLDER [WORD...]    writes FOLDER\report.log and FOLDER\Report_TIME.dmp
//
// Words: "symbols" has the symbol engine started first; "continue" makes the report one that returns; "deep"
// files it from 40 functions further in; "again" reports from the callback with each line; "counted" writes
// the program's heap blocks so far behind each line into FOLDER\heap.log, all of them failing.
//
// The exit code is 3 after a report that returned.
#include "Plinth/Debug/ErrorReport.h"
#include "Plinth/Debug/LogFile.h"
#include "Plinth/Debug/Minidump.h"
#include "Plinth/Debug/Symbols.h"
#include "Plinth/Text/ZeroTerminatedText.h"
#include "Tests/Support/HeapWatch.h"

#include <optional>
#include <sstream>
#include <string>

namespace {

constexpr int RETURNED = 3;

HANDLE heapLog;
std::optional<HeapWatch> heap;

void WriteCountBehind(const char* line)
{
    char text[1400];
    Plinth::FormatText(text, sizeof(text), "%u %s", heap->Blocks(), line);
    Plinth::WriteLogFile(heapLog, text, static_cast<std::uint32_t>(std::strlen(text)));
}

void ReportAgain(const char* /*line*/)
{
    Plinth::ReportError(0, nullptr, 0, nullptr, "from the callback");
}

} // namespace

// The chain of calls that the report's stack shows.
namespace Game {

[[gnu::noinline]] int CheckTexture(std::uint32_t flags, int width)
{
    Plinth::ReportErrorF(flags, "Game/Texture.cpp", 118, "width <= 4096", "The texture is %d wide", width);
    return width;
}

[[gnu::noinline]] int LoadLevel(std::uint32_t flags, int further)
{
    const int width = further > 0 ? LoadLevel(flags, further - 1) : CheckTexture(flags, 5000);
    return width + 1; // so that the call is not the function's last act
}

[[gnu::noinline]] int Run(std::uint32_t flags, bool deep)
{
    return LoadLevel(flags, deep ? 40 : 2) + 1;
}

} // namespace Game

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR commandLine, int)
{
    std::istringstream words(commandLine);
    std::string folder;
    words >> folder;
    folder += '\\';
    if (!Plinth::OpenLogFile((folder + "report.log").c_str(), 0)) {
        return 1;
    }
    Plinth::SetMinidumpLocation(folder.c_str(), "Report");
    std::uint32_t flags = 0;
    bool deep = false;
    for (std::string word; words >> word;) {
        if (word == "symbols") {
            Plinth::LoadDbgHelp();
            Plinth::InitSymbols();
        } else if (word == "continue") {
            flags |= Plinth::ReportFlagContinue;
        } else if (word == "deep") {
            deep = true;
        } else if (word == "again") {
            Plinth::SetReportCallback(ReportAgain);
        } else if (word == "counted") {
            heapLog = Plinth::CreateLogFile((folder + "heap.log").c_str(), 0);
            Plinth::SetReportCallback(WriteCountBehind);
            heap.emplace(HeapRule{.ordinal = 1, .lasting = true});
        }
    }
    return Game::Run(flags, deep) != 0 ? RETURNED : 0;
}
