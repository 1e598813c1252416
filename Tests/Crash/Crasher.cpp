// Ends as one of the cases of CrashCase.h does, with its diagnostics on; for the tests and the demonstration.
//
//     Crasher CASE [append] [banner]    writes Crasher.log beside the program, Crash_TIME.dmp into the
//     current
//                                       directory
#include "Plinth/Debug/Diagnostics.h"
#include "Plinth/Debug/Minidump.h"
#include "Plinth/Debug/SystemInfo.h"
#include "Tests/Crash/CrashCase.h"

#include <algorithm>
#include <iterator>
#include <string_view>

// A sanitizer would answer the faults itself; and who survives one leaves things lying about.
// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" const char* __asan_default_options()
{
    return "handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0:handle_abort=0:"
           "use_sigaltstack=0:detect_leaks=0";
}

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR commandLine, int)
{
    const std::string_view words(commandLine);
    const auto* const crash =
        std::find_if(std::begin(CRASH_CASES), std::end(CRASH_CASES),
                     [words](const CrashCase* one) { return words.substr(0, words.find(' ')) == one->word; });
    if (crash == std::end(CRASH_CASES)) {
        return 2;
    }
    const bool appends = words.find(" append") != std::string_view::npos;
    Plinth::InitDiagnostics((*crash)->logPath, appends ? Plinth::DiagFlagAppendLog : 0);
    Plinth::SetMinidumpLocation(".", "Crash");
    if (words.find(" banner") != std::string_view::npos) {
        Plinth::TraceProgramBanner(nullptr, "demonstration");
    }
    AnnounceThread();
    (*crash)->crash();
    return RETURNED;
}
