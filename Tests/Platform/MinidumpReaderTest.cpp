// The reader of minidumps that other tests rely on: a small dump is read, and each damage to it is seen.
#include "Tests/Support/MinidumpReader.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <tuple>
#include <vector>

namespace {

// Where the parts of the dump are. With the context last, no truncation goes unseen.
constexpr std::uint32_t DIRECTORY = 32;
constexpr std::uint32_t SYSTEM = 92;
constexpr std::uint32_t THREADS = 148;
constexpr std::uint32_t MODULES = 248;
constexpr std::uint32_t MEMORY = 468;
constexpr std::uint32_t EXCEPTION = 488;
constexpr std::uint32_t TEXT = 656;
constexpr std::uint32_t STACK = 664;
constexpr std::uint32_t CONTEXT = 680;
constexpr std::uint32_t CONTEXT_SIZE = 716;
constexpr std::uint32_t END = CONTEXT + CONTEXT_SIZE;

void Put(std::string& dump, std::size_t place, std::initializer_list<std::uint32_t> words)
{
    const char* const bytes = reinterpret_cast<const char*>(words.begin());
    dump.replace(place, words.size() * 4, bytes, words.size() * 4);
}

std::string GoodDump()
{
    std::string dump(END, '\0');
    Put(dump, 0, {0x504D444D, 0x1234A793, 5, DIRECTORY});
    Put(dump, DIRECTORY, {7, 56, SYSTEM, 3, 100, THREADS, 4, 220, MODULES, 5, 20, MEMORY, 6, 168, EXCEPTION});
    Put(dump, SYSTEM + 24, {TEXT});
    Put(dump, THREADS, {2, 41, 0, 0, 0, 0, 0, 0x1000, 0, 16, STACK, CONTEXT_SIZE, CONTEXT});
    Put(dump, THREADS + 52, {42, 0, 0, 0, 0, 0, 0x2000, 0, 16, STACK, CONTEXT_SIZE, CONTEXT});
    Put(dump, MODULES, {2, 0x500000, 0, 0x1000, 0, 99, TEXT});
    Put(dump, MODULES + 112, {0x4FF000, 0, 0x1000, 0, 99, TEXT});
    Put(dump, MEMORY, {1, 0x2000, 0, 16, STACK});
    Put(dump, EXCEPTION, {42, 0, 0xC0000005, 0, 0, 0, 0x500123, 0, 2, 0, 0, 0, 7});
    Put(dump, EXCEPTION + 160, {CONTEXT_SIZE, CONTEXT});
    Put(dump, TEXT, {2, 'x'});
    return dump;
}

// Reads a block of exactly that size, so that one byte too far is seen.
MinidumpReading Parse(const std::string& dump, std::size_t size = END)
{
    const std::vector<char> block(dump.begin(), dump.begin() + static_cast<std::ptrdiff_t>(size));
    return ParseMinidump({block.data(), size});
}

TEST(MinidumpReader, ReadsWhatIsThere)
{
    const auto [dump, fault] = Parse(GoodDump());
    ASSERT_EQ(fault, "");
    EXPECT_EQ(dump.processor, 0);
    ASSERT_EQ(dump.threads.size(), 2u);
    EXPECT_EQ(dump.threads[1].id, 42u);
    EXPECT_EQ(dump.threads[1].stackStart, 0x2000u);
    EXPECT_EQ(dump.threads[1].stackSize, 16u);
    EXPECT_EQ(dump.threads[1].context.size(), CONTEXT_SIZE);
    ASSERT_EQ(dump.modules.size(), 2u);
    EXPECT_EQ(dump.modules[0].base, 0x500000u);
    EXPECT_EQ(dump.modules[0].size, 0x1000u);
    EXPECT_EQ(dump.modules[0].timeStamp, 99u);
    EXPECT_EQ(dump.modules[0].path, u"x");
    ASSERT_TRUE(dump.exception.has_value());
    EXPECT_EQ(dump.exception->thread, 42u);
    EXPECT_EQ(dump.exception->code, 0xC0000005u);
    EXPECT_EQ(dump.exception->address, 0x500123u);
    EXPECT_EQ(dump.exception->parameters, (std::vector<std::uint64_t>{0, 7}));
    EXPECT_EQ(dump.exception->context.size(), CONTEXT_SIZE);
}

TEST(MinidumpReader, SeesEachDamage)
{
    const std::tuple<std::uint32_t, std::uint32_t, const char*> rows[] = {
        {0, 0x504D444E, "header: another signature"},
        {4, 0xA7931234, "header: another version"},
        {8, 0x55555556, "directory: outside the file"}, // times 12 it is 8 in 32 bits
        {12, END - 59, "directory: outside the file"},
        {8, 4, ""}, // no exception
        {32, 99, "system information: missing"},
        {44, 99, "threads: missing"},
        {56, 99, "modules: missing"},
        {68, 99, ""}, // no list of memory
        {68, 4, "modules: more than one stream"},
        {36, END - SYSTEM + 1, "stream 7: outside the file"},
        {36, 55, "system information: another size"},
        {SYSTEM, 9, "context of thread 41: too small for the processor"},
        {SYSTEM, 5, "system information: another processor"},
        {SYSTEM + 24, END - 3, "service pack: outside the file"},
        {THREADS, 1, "threads: size and number do not agree"},
        {THREADS, 0x80000002, "threads: size and number do not agree"},
        {48, 3, "threads: size and number do not agree"},
        {THREADS + 4, 0, "thread 0: no id"},
        {THREADS + 52, 41, "thread 41: more than once"},
        {THREADS + 36, 0, ""}, // the other one is whole
        {THREADS + 88, END + 1, "stack of thread 42: outside the file"},
        {THREADS + 92, CONTEXT_SIZE + 1, "context of thread 42: outside the file"},
        {THREADS + 92, CONTEXT_SIZE - 1, "context of thread 42: too small for the processor"},
        {MODULES + 4, 0, "modules: one without a place"},
        {MODULES + 12, 0, "modules: one without a place"},
        {MODULES + 120, 0x1001, "modules: two in one place"},
        {MODULES + 24, END, "path of module 0: outside the file"},
        {MODULES + 132, TEXT + 2, "path of module 1: too long"},
        {TEXT, 1, "service pack: half a character"},
        {TEXT + 4, 'x' | 'y' << 16, "path of module 0: without an end"},
        {TEXT, 0, "path of module 0: without an end"},
        {MODULES + 24, TEXT + 6, "path of module 0: empty"},
        {MODULES + 80, END + 1, "debug record of module 0: outside the file"},
        {MODULES + 84 + 4, END + 1, "other record of module 0: outside the file"},
        {MEMORY + 12, END, "memory: outside the file"},
        {84, 167, "exception: another size"},
        {EXCEPTION, 43, "exception: in no thread of the dump"},
        {EXCEPTION + 32, 16, "exception: too many parameters"},
        {EXCEPTION + 160, 0, "context of the exception: missing"},
        {EXCEPTION + 164, CONTEXT + 1, "context of the exception: outside the file"},
    };
    for (const auto& [place, value, fault] : rows) {
        std::string dump = GoodDump();
        Put(dump, place, {value});
        EXPECT_EQ(Parse(dump).fault, fault) << place << " = " << value;
    }
}

TEST(MinidumpReader, StaysWithinTheFile)
{
    const std::string good = GoodDump();
    for (std::size_t size = 0; size < END; ++size) {
        EXPECT_NE(Parse(good, size).fault, "") << size;
    }
    for (std::size_t place = 0; place + 4 <= CONTEXT; ++place) {
        for (const std::uint32_t value : {0u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
            std::string dump = good;
            Put(dump, place, {value});
            Parse(dump);
        }
    }
    EXPECT_EQ(ReadMinidump("no such file").fault, "file: cannot be opened");
}

} // namespace
