// What a stand-in program says of its start; see StandIn.cpp.
#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

constexpr int STAND_IN_EXIT_CODE = 42;

struct StandInReport {
    std::filesystem::path file;
    std::map<std::string, std::string> values; // by name, "environment" apart
    std::set<std::string> environment;         // "NAME=value"
};

// Waits until the program's reports are that many and takes them; fewer when they do not come in 20 seconds.
std::vector<StandInReport> AwaitReports(const std::filesystem::path& program, std::size_t count);

// Removes a program that may have run a moment ago: the platform keeps the file of a process until it has
// ended, which is after its report. Throws where that takes longer than 20 seconds.
void RemoveProgram(const std::filesystem::path& program);
