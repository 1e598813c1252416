#include "Tests/Support/StandInReport.h"

#include "Platform/Win32.h"

#include <chrono>
#include <fstream>
#include <system_error>

namespace {

std::chrono::steady_clock::time_point EndOfPatience()
{
    return std::chrono::steady_clock::now() + std::chrono::seconds(20);
}

// Who gave the report its name has it open for a moment longer, and Wine then lets nobody read it.
StandInReport ReadReport(const std::filesystem::path& file)
{
    const auto end = EndOfPatience();
    std::ifstream lines(file, std::ios::binary);
    while (!lines.is_open() && std::chrono::steady_clock::now() < end) {
        Sleep(5);
        lines.open(file, std::ios::binary);
    }
    StandInReport report{file, {}, {}};
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(": ");
        const std::string name = line.substr(0, colon);
        const std::string value = line.substr(colon + 2);
        if (name == "environment") {
            report.environment.insert(value);
        } else {
            report.values[name] = value;
        }
    }
    return report;
}

std::vector<std::filesystem::path> FindReports(const std::filesystem::path& program)
{
    std::vector<std::filesystem::path> reports;
    for (const auto& entry : std::filesystem::directory_iterator(program.parent_path())) {
        if (entry.path().extension() == ".report" && entry.path().stem().stem() == program.filename()) {
            reports.push_back(entry.path());
        }
    }
    return reports;
}

} // namespace

std::vector<StandInReport> AwaitReports(const std::filesystem::path& program, std::size_t count)
{
    const auto end = EndOfPatience();
    std::vector<std::filesystem::path> files = FindReports(program);
    while (files.size() < count && std::chrono::steady_clock::now() < end) {
        Sleep(5);
        files = FindReports(program);
    }
    std::vector<StandInReport> reports;
    for (const std::filesystem::path& file : files) {
        reports.push_back(ReadReport(file));
        std::filesystem::remove(file);
    }
    return reports;
}

void RemoveProgram(const std::filesystem::path& program)
{
    const auto end = EndOfPatience();
    std::error_code error;
    while (!std::filesystem::remove(program, error) && error && std::chrono::steady_clock::now() < end) {
        Sleep(5);
    }
    if (error) {
        throw std::filesystem::filesystem_error("still in use", program, error);
    }
}
