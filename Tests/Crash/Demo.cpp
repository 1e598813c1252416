// Shows what a fatal report and a crash leave behind: runs the Reporter and the Crasher, and prints their
// logs, boxes and dumps.
//
//     Demo FOLDER     for the files; colours when the environment has COLOUR
#include "Tests/Crash/ReporterRun.h"
#include "Tests/Support/Target.h"
#include "Tests/Support/Terminal.h"

#include <algorithm>
#include <iostream>
#include <string>

namespace {

void PrintIndented(std::string text)
{
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        std::cout << "    " << text.substr(start, end - start) << '\n';
        start = end + 1;
    }
}

void Print(const ReporterResult& result)
{
    PrintTitle("The log");
    PrintIndented(result.log);
    for (const SeenMessageBox& box : result.boxes) {
        PrintTitle("The box: " + ToUtf8(box.caption));
        PrintIndented(ToUtf8(box.text));
    }
    PrintTitle("The dump");
    for (const std::filesystem::path& dump : result.dumps) {
        std::cout << "    " << dump.filename().string() << ", " << std::filesystem::file_size(dump)
                  << " bytes\n";
    }
    std::cout << "\nexit code " << result.exitCode << '\n';
}

bool ShowReport(const std::filesystem::path& folder)
{
    PrintTitle("A fatal report");
    const ReporterResult result = RunReporter(folder, "symbols banner", {.picture = folder / "box.bmp"});
    Print(result);
    return result.exitCode == 1 && result.boxes.size() == 1 && result.dumps.size() == 1;
}

bool ShowCrash(const std::filesystem::path& folder)
{
    PrintTitle("A crash");
    std::filesystem::create_directory(folder);
    const ReporterResult result = RunCrasher(folder, "WriteViolation banner");
    Print(result);
    const auto says = [&result](const char* text) { return result.log.find(text) != std::string::npos; };
    const std::string longerLog = RunCrasher(folder, "ReadViolation append").log;
    std::cout << "\nA crash that appends makes the log " << longerLog.size() - result.log.size()
              << " bytes longer.\n";
    return longerLog.starts_with(result.log) && longerLog.size() > result.log.size() &&
           result.exitCode != 0 && says(" caused an access violation exception in") && says("LoadLevel") &&
           says("Minidump successfully written.") && result.dumps.size() == 1;
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        return 2;
    }
    const std::filesystem::path folder = std::filesystem::absolute(arguments[1]);
    const bool isReported = ShowReport(folder);
    return ShowCrash(folder / "crash") && isReported ? 0 : 1;
}
