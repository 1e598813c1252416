#include "Benchmarks/Config/Workload.h"

#include <cstdlib>
#include <fstream>
#include <random>

namespace {

constexpr std::size_t KEYS = 30;
constexpr std::size_t STRIDE = 7919; // a prime: every section once

std::string SectionName(std::size_t number)
{
    return "Section" + std::to_string(number);
}

std::string KeyName(std::size_t number)
{
    return "Setting" + std::to_string(number / 10) + std::to_string(number % 10);
}

// Of a line "VmRSS:     1234 kB".
double StatusBytes(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word) {
        double kilobytes = 0;
        if (word == name + ':' && status >> kilobytes) {
            return kilobytes * 1024;
        }
    }
    std::abort(); // no figure is better than a wrong one
}

} // namespace

std::string SmallDocument()
{
    return "[GameUpdate]\r\nInfo=https://example.com/updates/of/the/game\r\nGameName=A game of dragons\r\n"
           "Sku=10442\r\n\r\n[Display]\r\nWidth=1920\r\nHeight=1080\r\nFullScreen=1\r\nLanguage=English\r\n"
           "LastServer=dragons.example.com\r\n";
}

std::string LargeDocument(std::size_t sections)
{
    std::mt19937 random(1);
    std::string text;
    text.reserve(sections * 1100);
    for (std::size_t i = 0; i < sections; ++i) {
        text += '[' + SectionName(i * STRIDE % sections) + "]\n";
        for (std::size_t key = 0; key < KEYS; ++key) {
            text += KeyName(key) + "=some value of it " + std::to_string(random() % 100000) + '\n';
        }
        text += '\n';
    }
    return text;
}

std::vector<Lookup> Lookups(std::size_t count)
{
    std::mt19937 random(2);
    std::vector<Lookup> lookups;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t section = random() % SECTIONS_OF_1_MIB;
        lookups.emplace_back(SectionName(section), KeyName(random() % KEYS));
    }
    return lookups;
}

MemoryPeak::MemoryPeak()
{
    std::ofstream peak("/proc/self/clear_refs");
    peak << 5 << std::flush; // begins anew
    if (!peak) {
        std::abort();
    }
    before_ = StatusBytes("VmRSS");
}

double MemoryPeak::Bytes() const
{
    return StatusBytes("VmHWM") - before_;
}
