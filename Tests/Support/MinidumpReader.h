// A reader for minidump files that checks all it reads: debuggers forgive much, and show nonsense then.
//
//     const MinidumpReading reading = ReadMinidump(path);
//     ASSERT_EQ(reading.fault, "");
//     EXPECT_TRUE(reading.dump.exception.has_value());
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct Minidump {
    // The thread that writes a dump of its own process may have neither stack nor context; one at least has
    // both.
    struct Thread {
        std::uint32_t id;
        std::uint64_t stackStart; // its lowest address
        std::uint32_t stackSize;
        std::string context; // of the processor
    };
    struct Module {
        std::uint64_t base;
        std::uint32_t size;
        std::uint32_t timeStamp;
        std::u16string path;
    };
    struct Exception {
        std::uint32_t thread; // one of the dump's
        std::uint32_t code;
        std::uint64_t address;
        std::vector<std::uint64_t> parameters;
        std::string context;
    };

    std::uint16_t processor = 0; // 0: x86, 9: AMD64
    std::vector<Thread> threads;
    std::vector<Module> modules; // not empty
    std::optional<Exception> exception;
};

struct MinidumpReading {
    Minidump dump;     // what was read before the fault
    std::string fault; // the first one, such as "stack of thread 2: outside the file"; empty: there is none
};

MinidumpReading ParseMinidump(std::string_view file);

// The same for a file; one that cannot be read is a fault too.
MinidumpReading ReadMinidump(const std::filesystem::path& path);
