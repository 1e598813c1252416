#include "Tests/Support/MinidumpReader.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>
#include <utility>

namespace {

constexpr std::uint32_t SIGNATURE = 0x504D444D; // "MDMP"
constexpr std::uint16_t VERSION = 0xA793;       // the low word; the high one is the writer's own

constexpr std::size_t HEADER_SIZE = 32;
constexpr std::size_t DIRECTORY_ENTRY_SIZE = 12;
constexpr std::size_t THREAD_SIZE = 48;
constexpr std::size_t MODULE_SIZE = 108;
constexpr std::size_t MEMORY_DESCRIPTOR_SIZE = 16;
constexpr std::size_t EXCEPTION_SIZE = 168;
constexpr std::size_t SYSTEM_INFORMATION_SIZE = 56;

enum StreamType : std::uint32_t {
    THREADS = 3,
    MODULES = 4,
    MEMORY = 5,
    EXCEPTION = 6,
    SYSTEM_INFORMATION = 7
};

constexpr std::uint16_t X86 = 0;
constexpr std::uint16_t AMD64 = 9;

// A context may have more registers behind these, but not without an end.
constexpr std::size_t X86_CONTEXT_SIZE = 716;
constexpr std::size_t AMD64_CONTEXT_SIZE = 1232;
constexpr std::size_t LARGEST_CONTEXT_SIZE = 16384;

constexpr std::uint32_t LONGEST_PATH = 32767;
constexpr std::uint32_t TERMINATOR_SIZE = 2;
constexpr std::uint32_t MOST_EXCEPTION_PARAMETERS = 15;

struct Fault {
    std::string text;
};

void Require(bool holds, const std::string& what, const char* fault)
{
    if (!holds) {
        throw Fault{what + ": " + fault};
    }
}

// Zero where the bytes do not reach that far.
template <typename Number>
Number NumberAt(std::string_view bytes, std::size_t place)
{
    char number[sizeof(Number)]{};
    bytes.substr(std::min(place, bytes.size())).copy(number, sizeof(number));
    Number result{};
    std::copy_n(number, sizeof(number), reinterpret_cast<char*>(&result));
    return result;
}

constexpr auto Short = NumberAt<std::uint16_t>;
constexpr auto Word = NumberAt<std::uint32_t>;
constexpr auto Long = NumberAt<std::uint64_t>;

class Reader {
public:
    Reader(std::string_view file, Minidump& dump) : file_(file), dump_(dump) {}

    void Read()
    {
        ReadDirectory();
        ReadSystemInformation();
        ReadThreads();
        ReadModules();
        ReadMemory();
        ReadException();
    }

private:
    [[nodiscard]] std::string_view Part(std::uint64_t place, std::uint64_t size,
                                        const std::string& what) const
    {
        Require(place <= file_.size() && size <= file_.size() - place, what, "outside the file");
        return file_.substr(static_cast<std::size_t>(place), static_cast<std::size_t>(size));
    }

    // What the location at a place of the record leads to.
    [[nodiscard]] std::string_view Located(std::string_view record, std::size_t place,
                                           const std::string& what) const
    {
        return Part(Word(record, place + 4), Word(record, place), what);
    }

    // A text, which its length stands before and maybe a terminator behind.
    [[nodiscard]] std::u16string Text(std::uint32_t place, std::uint32_t terminatorSize,
                                      const std::string& what) const
    {
        const std::uint32_t size = Word(Part(place, 4, what), 0);
        Require(size % 2 == 0, what, "half a character");
        Require(size / 2 <= LONGEST_PATH, what, "too long");
        const std::string_view bytes =
            Part(place + std::uint64_t{4}, std::uint64_t{size} + terminatorSize, what);
        Require(Short(bytes, size) == 0, what, "without an end");
        std::u16string text;
        for (std::size_t i = 0; i < size; i += 2) {
            text += static_cast<char16_t>(Short(bytes, i));
        }
        return text;
    }

    // Empty where there is none.
    [[nodiscard]] std::string Context(std::string_view record, std::size_t place,
                                      const std::string& what) const
    {
        const std::string_view context = Located(record, place, what);
        Require(context.empty() ||
                    context.size() >= (dump_.processor == X86 ? X86_CONTEXT_SIZE : AMD64_CONTEXT_SIZE),
                what, "too small for the processor");
        Require(context.size() <= LARGEST_CONTEXT_SIZE, what, "too large");
        return std::string(context);
    }

    void ReadDirectory()
    {
        const std::string_view header = Part(0, HEADER_SIZE, "header");
        Require(Word(header, 0) == SIGNATURE, "header", "another signature");
        Require(Short(header, 4) == VERSION, "header", "another version");
        directory_ =
            Part(Word(header, 12), std::uint64_t{Word(header, 8)} * DIRECTORY_ENTRY_SIZE, "directory");
        for (std::size_t place = 0; place < directory_.size(); place += DIRECTORY_ENTRY_SIZE) {
            const std::string what = "stream " + std::to_string(Word(directory_, place));
            static_cast<void>(Located(directory_, place + 4, what));
        }
    }

    [[nodiscard]] std::optional<std::string_view> FindStream(std::uint32_t type, const char* what) const
    {
        std::optional<std::string_view> found;
        for (std::size_t place = 0; place < directory_.size(); place += DIRECTORY_ENTRY_SIZE) {
            if (Word(directory_, place) == type) {
                Require(!found, what, "more than one stream");
                found = Located(directory_, place + 4, what);
            }
        }
        return found;
    }

    [[nodiscard]] std::string_view Stream(std::uint32_t type, const char* what) const
    {
        const std::optional<std::string_view> stream = FindStream(type, what);
        Require(stream.has_value(), what, "missing");
        return *stream;
    }

    // The records of a list, which their number stands before.
    static std::vector<std::string_view> Records(std::string_view list, std::size_t size, const char* what)
    {
        Require(list.size() >= 4 && list.size() - 4 == std::uint64_t{Word(list, 0)} * size, what,
                "size and number do not agree");
        std::vector<std::string_view> records;
        for (std::size_t place = 4; place < list.size(); place += size) {
            records.push_back(list.substr(place, size));
        }
        return records;
    }

    void ReadSystemInformation()
    {
        const std::string_view information = Stream(SYSTEM_INFORMATION, "system information");
        Require(information.size() == SYSTEM_INFORMATION_SIZE, "system information", "another size");
        dump_.processor = Short(information, 0);
        Require(dump_.processor == X86 || dump_.processor == AMD64, "system information",
                "another processor");
        static_cast<void>(Text(Word(information, 24), 0, "service pack"));
    }

    void ReadThreads()
    {
        std::set<std::uint32_t> ids;
        for (const std::string_view record : Records(Stream(THREADS, "threads"), THREAD_SIZE, "threads")) {
            const std::uint32_t id = Word(record, 0);
            const std::string name = "thread " + std::to_string(id);
            Require(id != 0, name, "no id");
            Require(ids.insert(id).second, name, "more than once");
            const std::string_view stack = Located(record, 32, "stack of " + name);
            dump_.threads.push_back({.id = id,
                                     .stackStart = Long(record, 24),
                                     .stackSize = static_cast<std::uint32_t>(stack.size()),
                                     .context = Context(record, 40, "context of " + name)});
        }
        const auto isWhole = [](const Minidump::Thread& thread) {
            return thread.stackSize != 0 && !thread.context.empty();
        };
        Require(std::any_of(dump_.threads.begin(), dump_.threads.end(), isWhole), "threads", "none is whole");
    }

    void ReadModules()
    {
        for (const std::string_view record : Records(Stream(MODULES, "modules"), MODULE_SIZE, "modules")) {
            const std::string name = "module " + std::to_string(dump_.modules.size());
            dump_.modules.push_back({.base = Long(record, 0),
                                     .size = Word(record, 8),
                                     .timeStamp = Word(record, 16),
                                     .path = Text(Word(record, 20), TERMINATOR_SIZE, "path of " + name)});
            Require(!dump_.modules.back().path.empty(), "path of " + name, "empty");
            static_cast<void>(Located(record, 76, "debug record of " + name));
            static_cast<void>(Located(record, 84, "other record of " + name));
        }
        Require(!dump_.modules.empty(), "modules", "none");
        RequireModulesApart();
    }

    void RequireModulesApart() const
    {
        std::vector<std::pair<std::uint64_t, std::uint64_t>> ranges;
        for (const Minidump::Module& module : dump_.modules) {
            Require(module.base != 0 && module.size != 0, "modules", "one without a place");
            Require(module.base + module.size > module.base, "modules", "one beyond all addresses");
            ranges.emplace_back(module.base, module.base + module.size);
        }
        std::sort(ranges.begin(), ranges.end());
        for (std::size_t i = 1; i < ranges.size(); ++i) {
            Require(ranges[i - 1].second <= ranges[i].first, "modules", "two in one place");
        }
    }

    void ReadMemory() const
    {
        const auto stream = FindStream(MEMORY, "memory");
        if (!stream) {
            return;
        }
        for (const std::string_view record : Records(*stream, MEMORY_DESCRIPTOR_SIZE, "memory")) {
            static_cast<void>(Located(record, 8, "memory"));
        }
    }

    void ReadException()
    {
        const auto stream = FindStream(EXCEPTION, "exception");
        if (!stream) {
            return;
        }
        Require(stream->size() == EXCEPTION_SIZE, "exception", "another size");
        const std::uint32_t count = Word(*stream, 32);
        Require(count <= MOST_EXCEPTION_PARAMETERS, "exception", "too many parameters");
        Minidump::Exception exception{.thread = Word(*stream, 0),
                                      .code = Word(*stream, 8),
                                      .address = Long(*stream, 24),
                                      .parameters = {},
                                      .context = Context(*stream, 160, "context of the exception")};
        for (std::size_t i = 0; i < count; ++i) {
            exception.parameters.push_back(Long(*stream, 40 + 8 * i));
        }
        const auto isItsThread = [&](const Minidump::Thread& thread) {
            return thread.id == exception.thread;
        };
        Require(std::any_of(dump_.threads.begin(), dump_.threads.end(), isItsThread), "exception",
                "in no thread of the dump");
        Require(!exception.context.empty(), "context of the exception", "missing");
        dump_.exception = std::move(exception);
    }

    std::string_view file_;
    std::string_view directory_;
    Minidump& dump_;
};

} // namespace

MinidumpReading ParseMinidump(std::string_view file)
{
    MinidumpReading reading;
    try {
        Reader(file, reading.dump).Read();
    } catch (const Fault& fault) {
        reading.fault = fault.text;
    }
    return reading;
}

MinidumpReading ReadMinidump(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return {.dump = {}, .fault = "file: cannot be opened"};
    }
    return ParseMinidump(std::string(std::istreambuf_iterator<char>(file), {}));
}
