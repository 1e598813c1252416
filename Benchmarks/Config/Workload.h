// The documents that all sides of a measurement work on: the same in every process.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

// Two sections and eight keys, about 200 bytes.
std::string SmallDocument();

// So many sections of 30 keys each, about 1 KiB a section. The sections are in no order, their keys are.
std::string LargeDocument(std::size_t sections);

constexpr std::size_t SECTIONS_OF_1_MIB = 1000;
constexpr std::pair<const char*, std::size_t> LARGE_DOCUMENTS[] = {{"1 MiB", SECTIONS_OF_1_MIB},
                                                                   {"64 MiB", 64000}};

// Section and key, drawn at random from the document of 1 MiB.
using Lookup = std::pair<std::string, std::string>;
std::vector<Lookup> Lookups(std::size_t count);

// The most memory that the process had since the start of the measurement, beyond what it had then.
class MemoryPeak {
public:
    MemoryPeak();
    [[nodiscard]] double Bytes() const;

private:
    double before_;
};
