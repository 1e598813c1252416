#include "Tests/Support/VersionedFile.h"

namespace {

using namespace VersionedFilePlaces;

constexpr std::uint32_t SECTION_ADDRESS = 0x1000; // in memory; in the file it is TYPES
constexpr std::uint32_t RESOURCE_SIZE = END - RESOURCE;

std::uint32_t ToAddress(std::size_t place)
{
    return static_cast<std::uint32_t>(place - TYPES + SECTION_ADDRESS);
}

// What a linker says of a program for either width; the fields that differ in width stay 0.
void SetHeaders(std::string& file, const VersionedFileOptions& options)
{
    const std::uint32_t optionalSize = options.is64Bit ? 240 : 224;
    const std::size_t directories = MAGIC + optionalSize - 128;
    const std::size_t section = MAGIC + optionalSize;
    file.replace(0, 2, "MZ");
    SetNumber(file, HEADERS, SIGNATURE);
    file.replace(SIGNATURE, 2, "PE");
    SetNumber(file, SIGNATURE + 4, options.is64Bit ? 0x8664 : 0x14C, 2);
    SetNumber(file, SECTION_COUNT, 1, 2);
    SetNumber(file, TIME_STAMP, options.timeStamp);
    SetNumber(file, OPTIONAL_HEADER_SIZE, optionalSize, 2);
    SetNumber(file, OPTIONAL_HEADER_SIZE + 2, 0x2102, 2); // a library that may be run
    SetNumber(file, MAGIC, options.is64Bit ? 0x20B : 0x10B, 2);
    SetNumber(file, MAGIC + 32, 0x1000); // alignment in memory
    SetNumber(file, MAGIC + 36, 0x200);  // and in the file
    SetNumber(file, MAGIC + 56, 0x2000); // the size of all in memory
    SetNumber(file, MAGIC + 60, TYPES);  // and of the headers
    SetNumber(file, MAGIC + 68, 2, 2);   // with windows
    SetNumber(file, directories - 4, 16);
    SetNumber(file, directories + 16, SECTION_ADDRESS);
    SetNumber(file, directories + 20, END - TYPES);
    file.replace(section, 5, ".rsrc");
    SetNumber(file, section + 8, END - TYPES);
    SetNumber(file, section + 12, SECTION_ADDRESS);
    SetNumber(file, section + 16, END - TYPES);
    SetNumber(file, section + 20, TYPES);
    SetNumber(file, section + 36, 0x40000040); // data to be read
}

// A folder of the resource tree with one entry, which leads to the next place.
void SetFolder(std::string& file, std::size_t place, std::uint32_t number, std::size_t next)
{
    const bool leadsToFolder = next != DATA;
    SetNumber(file, place + 14, 1, 2);
    SetNumber(file, place + 16, number);
    SetNumber(file, place + 20, static_cast<std::uint32_t>(next - TYPES) | (leadsToFolder ? 0x80000000 : 0));
}

void SetVersion(std::string& file, std::size_t place, const VersionNumbers& numbers)
{
    SetNumber(file, place, static_cast<std::uint32_t>(numbers[0] << 16 | numbers[1]));
    SetNumber(file, place + 4, static_cast<std::uint32_t>(numbers[2] << 16 | numbers[3]));
}

} // namespace

std::string VersionedFile(const VersionedFileOptions& options)
{
    std::string file(END, '\0');
    SetHeaders(file, options);
    SetFolder(file, TYPES, 16, NAMES);
    SetFolder(file, NAMES, 1, LANGUAGES);
    SetFolder(file, LANGUAGES, 0x409, DATA);
    SetNumber(file, DATA, ToAddress(RESOURCE));
    SetNumber(file, DATA + 4, RESOURCE_SIZE);
    SetNumber(file, RESOURCE, RESOURCE_SIZE, 2);
    SetNumber(file, RESOURCE + 2, END - FIXED_INFO, 2);
    std::size_t place = KEY;
    for (const char letter : std::string("VS_VERSION_INFO")) {
        file[place] = letter;
        place += 2;
    }
    SetNumber(file, FIXED_INFO, 0xFEEF04BD);
    SetNumber(file, FIXED_INFO + 4, 0x10000); // the form's own version
    SetVersion(file, FIXED_INFO + 8, options.file);
    SetVersion(file, FIXED_INFO + 16, options.product);
    return file;
}

void SetNumber(std::string& file, std::size_t place, std::uint32_t value, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i) {
        file.at(place + i) = static_cast<char>(value >> 8 * i & 0xFF);
    }
}
