// The Reporter or the Crasher as a process, with what it left behind.
#pragma once

#include "Tests/Support/MessageBoxWatcher.h"
#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/WideText.h"

#include <filesystem>
#include <string>
#include <vector>

struct ReporterResult {
    DWORD exitCode; // STILL_ACTIVE when it did not end within 30 seconds
    std::vector<SeenMessageBox> boxes;
    std::string log;     // with the platform's line ends
    std::string heapLog; // empty without the word "counted"
    std::vector<std::filesystem::path> dumps;
};

struct ReporterOptions {
    std::filesystem::path program = BuiltProgram("Reporter.exe");
    const char* log = "report.log";
    std::filesystem::path picture; // a file for one of the box, as MessageBoxWatcher takes it; empty: none
};

// The folder is the Reporter's to write into.
ReporterResult RunReporter(const std::filesystem::path& folder, const std::string& words,
                           const ReporterOptions& options = {});

// A copy of it in the folder, which it leaves its log in. What was there before stays.
ReporterResult RunCrasher(const std::filesystem::path& folder, const std::string& words);
