#include "Platform/Host/Regions.h"

#include "Platform/Host/Api/Memory.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/LoadedModules.h"

#include <algorithm>
#include <charconv>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace Platform::Host {

namespace {

// The host's list, a line a region. The path at a line's end may be of any length, and is left out.
class RegionList {
public:
    RegionList() : file_(open("/proc/self/maps", O_RDONLY | O_CLOEXEC)) {}
    ~RegionList()
    {
        if (file_ >= 0) {
            close(file_);
        }
    }
    RegionList(const RegionList&) = delete;
    RegionList& operator=(const RegionList&) = delete;

    // Empty behind the last line. It holds until the next one is asked for.
    std::string_view NextLine()
    {
        std::size_t length = 0;
        for (int byte = NextByte(); byte >= 0 && byte != '\n'; byte = NextByte()) {
            if (length < sizeof(line_)) {
                line_[length++] = static_cast<char>(byte);
            }
        }
        return {line_, length};
    }

private:
    // Negative: there is none.
    int NextByte()
    {
        if (next_ == end_) {
            const ssize_t length = file_ >= 0 ? read(file_, bytes_, sizeof(bytes_)) : 0;
            next_ = 0;
            end_ = length > 0 ? static_cast<std::size_t>(length) : 0;
        }
        return next_ < end_ ? static_cast<unsigned char>(bytes_[next_++]) : -1;
    }

    const int file_;
    std::size_t next_ = 0;
    std::size_t end_ = 0;
    char bytes_[4096];
    char line_[128];
};

std::string_view TakeUntil(std::string_view& line, char end)
{
    const std::string_view field = line.substr(0, line.find(end));
    line.remove_prefix(std::min(line.size(), field.size() + 1));
    return field;
}

std::uintptr_t ToAddress(std::string_view digits)
{
    std::uintptr_t address = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), address, 16);
    return address;
}

// "7f00a000-7f00b000 r-xp 00000000 08:01 1234  /a/path"
MemoryRegion ToRegion(std::string_view line)
{
    MemoryRegion region{};
    region.start = ToAddress(TakeUntil(line, '-'));
    region.end = ToAddress(TakeUntil(line, ' '));
    const std::string_view rights = TakeUntil(line, ' ');
    region.isRead = rights.starts_with('r');
    region.isWritten = rights.substr(1).starts_with('w');
    region.isExecuted = rights.substr(2).starts_with('x');
    return region;
}

DWORD ProtectionOf(const MemoryRegion& region)
{
    if (region.isExecuted) {
        return region.isWritten ? PAGE_EXECUTE_READWRITE : PAGE_EXECUTE_READ;
    }
    const DWORD protection = region.isRead ? PAGE_READONLY : PAGE_NOACCESS;
    return region.isWritten ? PAGE_READWRITE : protection;
}

void DescribeUsed(const MemoryRegion& region, std::uintptr_t address, MEMORY_BASIC_INFORMATION& information)
{
    const std::optional<LoadedModule> module = FindModule(address);
    const std::uintptr_t start = module.has_value() ? module->start : region.start;
    information.AllocationBase = reinterpret_cast<LPVOID>(start);
    information.AllocationProtect = information.Protect;
    information.State = MEM_COMMIT;
    information.Type = module.has_value() ? MEM_IMAGE : MEM_PRIVATE;
}

void Describe(const MemoryRegion& region, std::uintptr_t address, MEMORY_BASIC_INFORMATION& information)
{
    const std::uintptr_t page = address - address % static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    information = {.BaseAddress = reinterpret_cast<LPVOID>(page),
                   .AllocationBase = nullptr,
                   .AllocationProtect = 0,
                   .RegionSize = region.end - page,
                   .State = MEM_FREE,
                   .Protect = ProtectionOf(region),
                   .Type = 0};
    if (!region.isFree) {
        DescribeUsed(region, address, information);
    }
}

} // namespace

std::optional<MemoryRegion> FindRegion(std::uintptr_t address)
{
    if (address >= ADDRESS_SPACE) {
        return std::nullopt;
    }
    RegionList list;
    std::uintptr_t end = 0; // of the region before
    for (std::string_view line = list.NextLine(); !line.empty(); line = list.NextLine()) {
        const MemoryRegion region = ToRegion(line);
        if (address < region.end) {
            const std::uintptr_t next = std::min(region.start, ADDRESS_SPACE);
            return address < next ? MemoryRegion{.start = end, .end = next, .isFree = true} : region;
        }
        end = region.end;
    }
    return end != 0 ? std::optional(MemoryRegion{.start = end, .end = ADDRESS_SPACE, .isFree = true})
                    : std::nullopt;
}

} // namespace Platform::Host

using namespace Platform::Host;

SIZE_T WINAPI VirtualQuery(LPCVOID address, PMEMORY_BASIC_INFORMATION information, SIZE_T length)
{
    if (GateStops("VirtualQuery")) {
        return 0;
    }
    if (length < sizeof(*information)) {
        Fail(ERROR_BAD_LENGTH);
        return 0;
    }
    const auto place = reinterpret_cast<std::uintptr_t>(address);
    const std::optional<MemoryRegion> region = FindRegion(place);
    if (!region.has_value()) {
        Fail(ERROR_INVALID_PARAMETER);
        return 0;
    }
    Describe(*region, place, *information);
    return sizeof(*information);
}
