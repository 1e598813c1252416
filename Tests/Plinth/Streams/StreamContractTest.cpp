// What every stream keeps, whatever stands behind it.
#include "Plinth/FileSystem/CFileStream.h"
#include "Plinth/FileSystem/CWindowsFileSystem.h"
#include "Plinth/Streams/CBufferedStream.h"
#include "Plinth/Streams/CMemoryStream.h"
#include "Plinth/Streams/CWindowsFileStream.h"
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Support/RegistryKey.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <numeric>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace Plinth {
namespace {

constexpr std::uint32_t READ_WRITE = MODE_READ | MODE_WRITE;
constexpr std::uint64_t STAMP = 0x01C000000000000A;

struct Variant {
    std::string name;
    bool onDisk;
    std::uint32_t access;
    std::optional<std::uint32_t> block; // of a buffer in front
    bool aligned = false;
    bool byName = false; // through a file system

    [[nodiscard]] bool Reads() const { return (access & MODE_READ) != 0; }
    [[nodiscard]] bool Writes() const { return (access & MODE_WRITE) != 0; }
    [[nodiscard]] bool IsBuffered() const { return block || (byName && access <= MODE_WRITE); }
};

std::vector<Variant> Variants()
{
    std::vector<Variant> variants = {
        {"Memory", false, READ_WRITE, {}},
        {"File", true, READ_WRITE, {}},
        {"NamedForReading", true, MODE_READ, {}, false, true},
        {"NamedForWriting", true, MODE_WRITE, {}, false, true},
        {"NamedUnbuffered", true, MODE_READ | MODE_UNBUFFERED_READ, {}, false, true},
        {"NamedForBoth", true, READ_WRITE, {}, false, true},
    };
    for (const std::uint32_t block : {0U, 1U, 7U, 16U, 64U, 1000U}) {
        for (const bool onDisk : {false, true}) {
            const std::string name = (onDisk ? "File" : "Memory") + std::to_string(block);
            variants.push_back({"Writing" + name, onDisk, MODE_WRITE, block, block == 7});
            variants.push_back({"Reading" + name, onDisk, MODE_READ, block});
            variants.push_back({"ReadingAligned" + name, onDisk, MODE_READ, block, true});
        }
    }
    return variants;
}

// A stream of the variant, at the beginning of this content.
class Subject {
public:
    Subject(const Variant& variant, const std::string& content) : onDisk_(variant.onDisk)
    {
        memory_.Write(content.data(), static_cast<std::uint32_t>(content.size()));
        memory_.SetPosition(0);
        memory_.SetName(name.c_str());
        if (onDisk_) {
            std::ofstream(path_, std::ios::binary) << content;
            file_.Open(name.c_str(), MODE_OPEN_EXISTING | MODE_WRITE);
            file_.SetTime(STAMP);
            file_.Close();
        }
        if (variant.byName) {
            EXPECT_TRUE(named_.Open(name.c_str(), MODE_OPEN_EXISTING | variant.access));
            stream_ = &named_;
        } else if (onDisk_) {
            EXPECT_TRUE(file_.Open(name.c_str(), MODE_OPEN_EXISTING | variant.access));
            stream_ = &file_;
        }
        if (variant.block) {
            buffered_.emplace(stream_, variant.Reads(), false, *variant.block, variant.aligned);
            stream_ = &*buffered_;
        }
    }

    IStream* operator->() { return stream_; }

    // Ends the stream.
    std::string Content()
    {
        buffered_.reset();
        named_.Close();
        file_.Close();
        return onDisk_ ? ReadFile(path_)
                       : std::string(reinterpret_cast<char*>(memory_.GetData()), memory_.GetSize());
    }

private:
    bool onDisk_;
    ScratchFolder folder_;
    std::filesystem::path path_ = folder_.Path() / u8"Spielst\u00E4nde \u20AC.bin";

public:
    const std::string name = ToUtf8(ToPlatform(path_));

private:
    CWindowsFileSystem files_;
    CMemoryStream memory_;
    CWindowsFileStream file_;
    CFileStream named_{&files_};
    std::optional<CBufferedStream> buffered_;
    IStream* stream_ = &memory_;
};

class StreamContract : public testing::TestWithParam<Variant> {};

TEST_P(StreamContract, TellsItsNameTimeAndSize)
{
    Subject subject(GetParam(), "content");
    EXPECT_EQ(subject->GetName().CStr(), subject.name);
    EXPECT_EQ(subject->GetTime(), GetParam().onDisk ? STAMP : 0u);
    EXPECT_EQ(subject->GetSize(), 7u);
    EXPECT_EQ(subject->GetPosition(), 0u);
    if (GetParam().Writes()) {
        constexpr std::uint64_t later = STAMP + 0x100000001;
        subject->SetTime(later);
        EXPECT_EQ(subject->GetTime(), GetParam().onDisk ? later : 0u);
        subject->SetSize(5);
        subject->SetSize(8);
        EXPECT_EQ(subject.Content(), std::string("conte") + std::string(3, '\0'));
    }
}

// A stream and what it should be, slow and obvious, go through the same operations.
struct Model {
    explicit Model(const Variant& newVariant) : variant(newVariant) {}

    std::uint32_t Any(std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); }
    [[nodiscard]] std::uint32_t Size() const { return static_cast<std::uint32_t>(bytes.size()); }

    void Move(std::uint32_t origin)
    {
        const std::uint32_t starts[] = {0, position, Size()};
        position = Any(Size() + (variant.onDisk ? 20 : 1));
        if (origin > ORIGIN_END) {
            subject->SetPosition(position);
            ASSERT_EQ(subject->GetSize(), bytes.size()); // nothing is pending
        } else {
            const auto offset = static_cast<std::int32_t>(position - starts[origin]);
            ASSERT_EQ(subject->Seek(offset, origin), position);
        }
    }

    void Read(std::uint32_t count, std::uint32_t flags)
    {
        const std::string expected = position < Size() ? bytes.substr(position, count) : "";
        const bool fails = flags % 2 != READ_ALLOW_PARTIAL && expected.size() != count;
        std::vector<char> read(count, '#'); // of the exact size, so that a byte too far is seen
        try {
            ASSERT_EQ(subject->Read(read.data(), count, flags), expected.size());
            ASSERT_FALSE(fails);
            ASSERT_EQ(std::string(read.begin(), read.end()),
                      expected + std::string(count - expected.size(), '#'));
        } catch (const CFileException& exception) {
            ASSERT_TRUE(fails);
            ASSERT_EQ(exception.kind, FILE_ERROR_END_OF_FILE);
            ASSERT_EQ(exception.message.CStr(), "End of file \"" + subject.name + "\"!");
        }
        const bool stays = fails && !variant.onDisk && !variant.block; // memory alone reads all or nothing
        position += stays ? 0 : static_cast<std::uint32_t>(expected.size());
    }

    void Write(const std::string& text)
    {
        const auto count = static_cast<std::uint32_t>(text.size());
        subject->Write(text.data(), count);
        if (count != 0) {
            bytes.resize(std::max(Size(), position + count));
            bytes.replace(position, count, text);
            position += count;
        }
    }

    void Step()
    {
        const std::uint32_t operation = Any(8);
        if (operation < 4) {
            Move(operation);
        } else if (operation < 6 && variant.Reads()) {
            Read(Any(40), Any(4));
        } else if (operation < 7 && variant.Writes()) {
            Write(std::string(Any(40), static_cast<char>(Any(256))));
        } else if (variant.Writes() && !variant.IsBuffered()) { // a buffer in front is not told of it
            bytes.resize(Any(300));
            subject->SetSize(Size());
            position = variant.onDisk ? Size() : std::min(position, Size());
        }
        ASSERT_EQ(subject->GetPosition(), position);
        ASSERT_TRUE(variant.IsBuffered() || subject->GetSize() == Size());
    }

    const Variant& variant;
    std::mt19937 random;
    std::string bytes = [] {
        std::string all(200, 0);
        std::iota(all.begin(), all.end(), '\0');
        return all;
    }();
    std::uint32_t position = 0;
    Subject subject{variant, bytes};
};

TEST_P(StreamContract, DoesWhatAModelDoes)
{
    Model model(GetParam());
    for (unsigned step = 0; step < 4000 && !HasFatalFailure(); ++step) {
        SCOPED_TRACE(step);
        model.Step();
    }
    EXPECT_EQ(model.subject.Content(), model.bytes);
}

INSTANTIATE_TEST_SUITE_P(Streams, StreamContract, testing::ValuesIn(Variants()),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace Plinth
