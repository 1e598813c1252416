#include "Tests/Support/VersionedFile.h"

#include <string_view>
#include <vector>

namespace {

using namespace VersionedFilePlaces;

constexpr std::u16string_view KEY_TEXT = u"VS_VERSION_INFO";

std::uint32_t Word(std::size_t upper, std::size_t lower)
{
    return static_cast<std::uint32_t>(upper << 16 | lower);
}

void SetWords(std::string& file, std::size_t place, const std::vector<std::uint32_t>& words)
{
    for (const std::uint32_t word : words) {
        SetNumber(file, place, word);
        place += sizeof(word);
    }
}

} // namespace

// One section, the resource tree: a type, two names, of which the second leads on (its entry lies over what
// nobody reads of the next folder), and a language, each in a folder of its own.
std::string VersionedFile(const VersionedFileOptions& options)
{
    const VersionNumbers& a = options.file;
    const VersionNumbers& b = options.product;
    std::string file(END, '\0');
    SetNumber(file, 0, 0x5A4D, 2);
    SetWords(file, HEADERS, {SIGNATURE, 0x4550, Word(1, 0x14C), options.timeStamp});
    SetWords(file, OPTIONAL_HEADER_SIZE, {Word(0x2102, 224), 0x10B}); // a library that may be run
    SetWords(file, MAGIC + 32, {0x1000, 0x200});                      // alignment in memory, in the file
    SetWords(file, MAGIC + 56, {0x2000, TYPES, 0, 2}); // size of all, of the headers; with windows
    SetWords(file, DIRECTORY_COUNT, {16, 0, 0, 0, 0, 0x1000, END - TYPES});
    SetWords(file, SECTION + 8, {END - TYPES, 0x1000, END - TYPES, TYPES, 0, 0, 0, 0x40000040});
    SetWords(file, TYPES + 12, {Word(1, 0), 16, 0x80000000 + NAMES - TYPES});
    SetWords(file, NAMES + 12, {Word(2, 0), 0, 0, 1, 0x80000000 + LANGUAGES - TYPES});
    SetWords(file, LANGUAGES + 12, {Word(1, 0), 0x409, DATA - TYPES, RESOURCE + 0xE00, END - RESOURCE});
    SetNumber(file, RESOURCE, Word(END - FIXED_INFO, END - RESOURCE));
    for (std::size_t i = 0; i < KEY_TEXT.size(); ++i) {
        SetNumber(file, KEY + 2 * i, KEY_TEXT[i], 2);
    }
    SetWords(file, FIXED_INFO, {0xFEEF04BD, Word(1, 0), Word(a[0], a[1]), Word(a[2], a[3])});
    SetWords(file, FIXED_INFO + 16, {Word(b[0], b[1]), Word(b[2], b[3])});
    if (options.is64Bit) { // has 16 bytes more before its directories, for which the headers have room
        SetNumber(file, SIGNATURE + 4, 0x8664, 2);
        SetNumber(file, OPTIONAL_HEADER_SIZE, 240, 2);
        SetNumber(file, MAGIC, 0x20B, 2);
        file.erase(TYPES - 16, 16).insert(DIRECTORY_COUNT - 16, 16, '\0');
    }
    return file;
}

void SetNumber(std::string& file, std::size_t place, std::uint32_t value, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i) {
        file.at(place + i) = static_cast<char>(value >> 8 * i & 0xFF);
    }
}
