// A small program file in the platform's format with a version resource and nothing that runs, for tests to
// write, damage and ask for its version.
#pragma once

#include <array>
#include <cstdint>
#include <string>

using VersionNumbers = std::array<std::uint16_t, 4>;

struct VersionedFileOptions {
    VersionNumbers file{1, 2, 3, 4};
    VersionNumbers product{5, 6, 7, 8};
    std::uint32_t timeStamp = 0; // of the linker; seconds since 1970-01-01 UTC
    bool is64Bit = false;
};

std::string VersionedFile(const VersionedFileOptions& options = {});

// Where its parts lie in the file. Those of the optional header are the 32-bit form's.
namespace VersionedFilePlaces {

constexpr std::size_t HEADERS = 0x3C; // the place of SIGNATURE
constexpr std::size_t SIGNATURE = 0x40;
constexpr std::size_t SECTION_COUNT = 0x46; // 16 bits
constexpr std::size_t TIME_STAMP = 0x48;
constexpr std::size_t OPTIONAL_HEADER_SIZE = 0x54; // 16 bits
constexpr std::size_t MAGIC = 0x58;                // 16 bits
constexpr std::size_t DIRECTORY_COUNT = 0xB4;
constexpr std::size_t RESOURCE_DIRECTORY = 0xC8; // address, size
constexpr std::size_t SECTION = 0x138; // the address, size in the file and place are 12, 16 and 20 on
constexpr std::size_t TYPES = 0x200;   // the count of numbers is 14 on, the first entry 16
constexpr std::size_t NAMES = 0x218;   // the entry that leads on is 24 on
constexpr std::size_t LANGUAGES = 0x230;
constexpr std::size_t DATA = 0x248;     // address, size
constexpr std::size_t RESOURCE = 0x258; // length, length of the value, type: 16 bits each
constexpr std::size_t KEY = 0x25E;
constexpr std::size_t FIXED_INFO = 0x280;
constexpr std::size_t END = 0x2B4;

} // namespace VersionedFilePlaces

// Writes a number's lowest bytes over what lies there, the lowest first.
void SetNumber(std::string& file, std::size_t place, std::uint32_t value, std::size_t size = 4);
