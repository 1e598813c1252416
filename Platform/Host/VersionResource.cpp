#include "Platform/Host/VersionResource.h"

#include "Platform/Host/Api/FileVersions.h"
#include "Platform/Host/Api/Images.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <vector>

namespace Platform::Host {

namespace {

constexpr DWORD PE_SIGNATURE = 0x00004550;
constexpr DWORD RESOURCES = 2; // of the optional header's directories
constexpr DWORD MOST_SECTIONS = 96;
constexpr DWORD TYPE_VERSION = 16;
constexpr DWORD NAME_VERSION = 1;
constexpr DWORD FIRST = 0; // whatever its number is
constexpr DWORD LEADS_TO_FOLDER = 0x80000000;

// A part of the image, and where it lies in memory.
struct Directory {
    DWORD address;
    DWORD size;
};

struct Section {
    char name[8];
    DWORD memorySize;
    DWORD address;
    DWORD size; // in the file
    DWORD place;
    DWORD unused[4];
};
static_assert(sizeof(Section) == 40);

// A folder of the resource tree: types, in these names, in these languages. Entries with a number for a name
// lie behind the others and ascend.
struct Folder {
    DWORD unused[3];
    WORD namedCount;
    WORD numberedCount;
};
static_assert(sizeof(Folder) == 16);

struct FolderEntry {
    DWORD number;
    DWORD place; // behind the tree's start; LEADS_TO_FOLDER, or to a Directory
};

// What a version resource begins with. The VS_FIXEDFILEINFO follows on the next place divisible by 4.
struct VersionHead {
    WORD length; // of all
    WORD fixedLength;
    WORD type;
    char16_t key[16];
};
constexpr std::size_t FIXED_PLACE = 40;
constexpr std::size_t SMALLEST_VERSION = FIXED_PLACE + sizeof(VS_FIXEDFILEINFO);
static_assert(sizeof(VersionHead) <= FIXED_PLACE && sizeof(VersionHead) + 4 > FIXED_PLACE);

constexpr char16_t KEY[] = u"VS_VERSION_INFO";
static_assert(sizeof(KEY) == sizeof(VersionHead::key));

bool IsVersion(const VersionHead& head)
{
    return head.length >= SMALLEST_VERSION && head.fixedLength >= sizeof(VS_FIXEDFILEINFO) &&
           std::equal(std::begin(KEY), std::end(KEY), head.key);
}

// Places are sums of few 32-bit numbers, in 64 bits. The functions are false where the file does not lead on.
class ImageReader {
public:
    explicit ImageReader(const FileReader& read) : read_(read) {}

    // The last byte tells whether the file has all of it.
    bool FindVersion(VersionPlace& version)
    {
        Directory data{};
        VersionHead head;
        char last = 0;
        if (!ReadHeaders() || !FindData(data) || data.size < SMALLEST_VERSION ||
            !FindInSections(data, version.start) || !Get(version.start, head) || !IsVersion(head)) {
            return false;
        }
        version.size = std::min(data.size, DWORD{head.length});
        return Get(version.start + version.size - 1, last);
    }

private:
    template <typename Structure>
    bool Get(std::uint64_t place, Structure& structure) const
    {
        return read_(place, &structure, sizeof(structure));
    }

    bool ReadHeaders()
    {
        IMAGE_DOS_HEADER start;
        DWORD signature = 0;
        IMAGE_FILE_HEADER header;
        if (!Get(0, start) || start.e_magic != IMAGE_DOS_SIGNATURE) {
            return false;
        }
        const std::uint64_t place = static_cast<DWORD>(start.e_lfanew);
        const std::uint64_t optionalHeader = place + sizeof(signature) + sizeof(header);
        if (!Get(place, signature) || signature != PE_SIGNATURE || !Get(place + sizeof(signature), header) ||
            header.NumberOfSections > MOST_SECTIONS) {
            return false;
        }
        sections_.resize(header.NumberOfSections);
        return read_(optionalHeader + header.SizeOfOptionalHeader, sections_.data(),
                     sections_.size() * sizeof(Section)) &&
               FindTree(optionalHeader, header.SizeOfOptionalHeader);
    }

    // The header for 64 bits has fields that are wider, and so its directories farther back.
    bool FindTree(std::uint64_t optionalHeader, std::uint64_t size)
    {
        WORD magic = 0;
        DWORD count = 0;
        Directory tree{};
        if (!Get(optionalHeader, magic) || (magic != 0x10B && magic != 0x20B)) {
            return false;
        }
        const std::uint64_t directories = magic == 0x10B ? 96 : 112;
        const std::uint64_t place = directories + RESOURCES * sizeof(tree);
        return size >= place + sizeof(tree) && Get(optionalHeader + directories - sizeof(count), count) &&
               count > RESOURCES && Get(optionalHeader + place, tree) && tree.size != 0 &&
               FindInSections({tree.address, sizeof(Folder)}, tree_);
    }

    // The place in the file of what lies in memory.
    bool FindInSections(const Directory& part, std::uint64_t& place) const
    {
        const std::uint64_t end = std::uint64_t{part.address} + part.size;
        for (const Section& section : sections_) {
            if (part.address >= section.address && end <= std::uint64_t{section.address} + section.size) {
                place = std::uint64_t{section.place} + (part.address - section.address);
                return true;
            }
        }
        return false;
    }

    bool FindData(Directory& data) const
    {
        FolderEntry entry{.number = 0, .place = LEADS_TO_FOLDER};
        for (const DWORD number : {TYPE_VERSION, NAME_VERSION, FIRST}) {
            if ((entry.place & LEADS_TO_FOLDER) == 0 || !GetEntry(number, entry)) {
                return false;
            }
        }
        return (entry.place & LEADS_TO_FOLDER) == 0 && Get(tree_ + entry.place, data);
    }

    // Goes from the entry that leads to a folder on to that folder's entry of the number. Numbers ascend from
    // 0, so no more entries than that can lie before it.
    bool GetEntry(DWORD number, FolderEntry& entry) const
    {
        Folder head;
        std::uint64_t place = tree_ + (entry.place & ~LEADS_TO_FOLDER);
        if (!Get(place, head)) {
            return false;
        }
        place += sizeof(head);
        if (number == FIRST) {
            return head.namedCount + head.numberedCount != 0 && Get(place, entry);
        }
        place += head.namedCount * sizeof(entry);
        for (DWORD i = 0; i < std::min(DWORD{head.numberedCount}, number + 1); ++i) {
            if (!Get(place + i * sizeof(entry), entry)) {
                return false;
            }
            if (entry.number == number) {
                return true;
            }
        }
        return false;
    }

    const FileReader& read_;
    std::vector<Section> sections_;
    std::uint64_t tree_ = 0;
};

} // namespace

std::optional<VersionPlace> FindVersionResource(const FileReader& read)
{
    VersionPlace version{};
    return ImageReader(read).FindVersion(version) ? std::optional(version) : std::nullopt;
}

bool ReadVersionBlock(const FileReader& read, const VersionPlace& version, char* block, DWORD size)
{
    const DWORD count = std::min(size, version.size);
    WORD length = 0;
    if (!read(version.start, block, count)) {
        return false;
    }
    std::memcpy(&length, block, sizeof(length));
    length = static_cast<WORD>(std::min(DWORD{length}, count));
    std::memcpy(block, &length, sizeof(length));
    return true;
}

std::optional<std::size_t> FindFixedVersion(const char* block)
{
    VersionHead head{};
    std::memcpy(&head.length, block, sizeof(head.length));
    if (head.length < SMALLEST_VERSION) {
        return std::nullopt;
    }
    std::memcpy(&head, block, sizeof(head));
    return IsVersion(head) ? std::optional(FIXED_PLACE) : std::nullopt;
}

} // namespace Platform::Host
