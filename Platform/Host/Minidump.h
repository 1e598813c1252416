// The structures of a minidump as they lie in its file: little-endian, packed to four bytes. Offsets ("Rva")
// count from the dump's first byte.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace Platform::Host::Minidump {

static_assert(std::endian::native == std::endian::little, "the structures are written as they lie in memory");

constexpr std::uint32_t SIGNATURE = 0x504D444D; // "MDMP"
constexpr std::uint32_t VERSION = 0xA793;

enum Stream : std::uint32_t {
    THREAD_LIST = 3,
    MODULE_LIST = 4,
    EXCEPTION = 6,
    SYSTEM_INFO = 7,
};

constexpr std::uint16_t ARCHITECTURE_AMD64 = 9;
constexpr std::uint16_t ARCHITECTURE_UNKNOWN = 0xFFFF;

#pragma pack(push, 4)

struct Header {
    std::uint32_t signature;
    std::uint32_t version;
    std::uint32_t streamCount;
    std::uint32_t directoryRva;
    std::uint32_t checksum;
    std::uint32_t timeDateStamp; // seconds since 1970
    std::uint64_t flags;         // the dump's type
};

struct Location {
    std::uint32_t size;
    std::uint32_t rva;
};

struct DirectoryEntry {
    Stream type;
    Location location;
};

struct MemoryRange {
    std::uint64_t start;
    Location memory;
};

// The list's count comes first, as 32 bits.
struct Thread {
    std::uint32_t id;
    std::uint32_t suspendCount;
    std::uint32_t priorityClass;
    std::uint32_t priority;
    std::uint64_t environmentBlock;
    MemoryRange stack;
    Location context;
};

// The same. The name is a 32-bit count of bytes, UTF-16 and a terminator that does not count.
struct Module {
    std::uint64_t base;
    std::uint32_t size;
    std::uint32_t checksum;
    std::uint32_t timeDateStamp;
    std::uint32_t nameRva;
    std::uint32_t version[13];
    Location codeView;
    Location miscellaneous;
    std::uint64_t reserved[2];
};

constexpr std::size_t MOST_PARAMETERS = 15;

struct Exception {
    std::uint32_t threadId;
    std::uint32_t padding;
    std::uint32_t code;
    std::uint32_t flags;
    std::uint64_t record;
    std::uint64_t address;
    std::uint32_t parameterCount;
    std::uint32_t morePadding;
    std::uint64_t parameters[MOST_PARAMETERS];
    Location context;
};

struct SystemInfo {
    std::uint16_t architecture;
    std::uint16_t processorLevel;
    std::uint16_t processorRevision;
    std::uint8_t processorCount;
    std::uint8_t productType;
    std::uint32_t majorVersion;
    std::uint32_t minorVersion;
    std::uint32_t build;
    std::uint32_t platform;
    std::uint32_t servicePackRva;
    std::uint16_t suiteMask;
    std::uint16_t reserved;
    std::uint64_t processorFeatures[3];
};

#pragma pack(pop)

constexpr std::uint32_t CONTEXT_AMD64_FULL = 0x00100007; // control, integer and segment registers

// Of the AMD64 processor.
struct Context {
    std::uint64_t homes[6];
    std::uint32_t flags;
    std::uint32_t mxCsr;
    std::uint16_t cs, ds, es, fs, gs, ss;
    std::uint32_t eFlags;
    std::uint64_t debug[6];
    std::uint64_t rax, rcx, rdx, rbx, rsp, rbp, rsi, rdi;
    std::uint64_t further[8]; // R8 to R15
    std::uint64_t rip;
    std::uint8_t floatingPoint[512];
    std::uint8_t vectors[416];
    std::uint64_t vectorControl;
    std::uint64_t debugControl[5];
};

static_assert(sizeof(Header) == 32 && sizeof(DirectoryEntry) == 12 && sizeof(MemoryRange) == 16);
static_assert(sizeof(Thread) == 48 && sizeof(Module) == 108 && sizeof(Exception) == 168);
static_assert(sizeof(SystemInfo) == 56 && sizeof(Context) == 1232);
static_assert(offsetof(Context, rax) == 0x78 && offsetof(Context, rip) == 0xF8);

} // namespace Platform::Host::Minidump
