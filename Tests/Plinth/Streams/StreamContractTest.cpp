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

#include <fstream>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace Plinth {
namespace {

constexpr std::uint32_t READ_WRITE = MODE_READ | MODE_WRITE;
constexpr std::uint32_t SHARED_FILE = MODE_OPEN_EXISTING | MODE_SHARE_READ | MODE_SHARE_WRITE;
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
    [[nodiscard]] bool CollectsWrites() const { return IsBuffered() && Writes(); }
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
    for (const std::uint32_t block : {0u, 1u, 7u, 16u, 64u, 1000u}) {
        for (const bool onDisk : {false, true}) {
            for (const bool aligned : {false, true}) {
                for (const std::uint32_t access : {MODE_READ, MODE_WRITE}) {
                    const std::string name = std::string(access == MODE_READ ? "Reading" : "Writing") +
                                             (onDisk ? "File" : "Memory") + (aligned ? "Aligned" : "") +
                                             std::to_string(block);
                    variants.push_back({name, onDisk, access, block, aligned});
                }
            }
        }
    }
    return variants;
}

// A stream of the variant, at the beginning of this content.
class Subject {
public:
    Subject(const Variant& variant, const std::string& content) : onDisk_(variant.onDisk)
    {
        IStream* inner = &memory_;
        if (onDisk_) {
            std::ofstream(path_, std::ios::binary) << content;
            Open(MODE_WRITE);
            file_.SetTime(STAMP);
            Open(variant.access);
            inner = &file_;
        } else {
            memory_.Write(content.data(), static_cast<std::uint32_t>(content.size()));
            memory_.SetPosition(0);
            memory_.SetName(name_.c_str());
        }
        stream_ = inner;
        if (variant.byName) {
            file_.Close();
            auto named = std::make_unique<CFileStream>(&files_);
            EXPECT_TRUE(named->Open(name_.c_str(), SHARED_FILE | variant.access));
            front_ = std::move(named);
        } else if (variant.block) {
            front_.reset(
                CreateBufferedStream(inner, variant.Reads(), false, *variant.block, variant.aligned));
        }
        stream_ = front_ != nullptr ? front_.get() : inner;
    }

    IStream* operator->() { return stream_; }
    IStream& operator*() { return *stream_; }

    [[nodiscard]] const std::string& Name() const { return name_; }

    // Ends the stream.
    std::string Content()
    {
        front_.reset();
        file_.Close();
        return onDisk_ ? ReadFile(path_)
                       : std::string(reinterpret_cast<char*>(memory_.GetData()), memory_.GetSize());
    }

private:
    void Open(std::uint32_t access) { EXPECT_TRUE(file_.Open(name_.c_str(), SHARED_FILE | access)); }

    bool onDisk_;
    ScratchFolder folder_;
    std::filesystem::path path_ = folder_.Path() / u8"Spielst\u00E4nde \u20AC.bin";
    std::string name_ = ToUtf8(ToPlatform(path_));
    CWindowsFileSystem files_;
    CMemoryStream memory_;
    CWindowsFileStream file_;
    std::unique_ptr<IStream> front_;
    IStream* stream_;
};

// The block is just as large, so that a byte too far is seen.
std::string ReadFrom(IStream& stream, std::uint32_t count, std::uint32_t flags)
{
    std::vector<char> bytes(count, '#');
    const std::uint32_t got = stream.Read(bytes.data(), count, flags);
    return {bytes.data(), got};
}

class StreamContract : public testing::TestWithParam<Variant> {};

TEST_P(StreamContract, TellsItsNameTimeAndSize)
{
    Subject subject(GetParam(), "content");
    CString copy = subject->GetName();
    copy.Append(" of the caller's own");
    EXPECT_EQ(subject->GetName().CStr(), subject.Name());
    EXPECT_EQ(subject->GetTime(), GetParam().onDisk ? STAMP : 0u);
    EXPECT_EQ(subject->GetSize(), 7u);
    EXPECT_EQ(subject->GetPosition(), 0u);
    if (GetParam().Writes()) {
        constexpr std::uint64_t later = STAMP + 0x100000001;
        subject->SetTime(later);
        EXPECT_EQ(subject->GetTime(), GetParam().onDisk ? later : 0u);
        for (const std::uint32_t size : {5u, 8u}) {
            subject->SetSize(size);
            EXPECT_EQ(subject->GetSize(), size);
        }
        EXPECT_EQ(subject.Content(), std::string("conte") + std::string(3, '\0'));
    }
}

TEST_P(StreamContract, ReadsStrictlyOrInPart)
{
    if (!GetParam().Reads()) {
        return;
    }
    Subject subject(GetParam(), "0123456789");
    EXPECT_EQ(ReadFrom(*subject, 4, 0), "0123");
    EXPECT_EQ(ReadFrom(*subject, 0, 0), "");
    EXPECT_EQ(subject->GetPosition(), 4u);
    EXPECT_EQ(subject->Seek(2, ORIGIN_CURRENT), 6u);
    EXPECT_EQ(ReadFrom(*subject, 10, READ_ALLOW_PARTIAL | 2), "6789");
    EXPECT_EQ(ReadFrom(*subject, 10, READ_ALLOW_PARTIAL), "");
    EXPECT_EQ(ReadFrom(*subject, 0, 0), "");
    for (const std::uint32_t from : {10u, 7u}) {
        subject->SetPosition(from);
        try {
            ReadFrom(*subject, 4, 2);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const CFileException& exception) {
            EXPECT_EQ(exception.kind, FILE_ERROR_END_OF_FILE);
            EXPECT_EQ(exception.message.CStr(), "End of file \"" + subject.Name() + "\"!");
        }
    }
    EXPECT_EQ(subject->Seek(-3, ORIGIN_END), 7u);
    EXPECT_EQ(ReadFrom(*subject, 3, 0), "789");
    EXPECT_EQ(subject->Seek(1, ORIGIN_BEGIN), 1u);
    EXPECT_EQ(ReadFrom(*subject, 2, 0), "12");
}

// A second stream, slow and obvious, goes through the same operations.
class Model {
public:
    Model(const Variant& variant, unsigned seed) : variant_(variant), random_(seed)
    {
        for (unsigned i = 0; i < 200; ++i) {
            bytes_ += static_cast<char>(Any(256));
        }
        subject_.emplace(variant, bytes_);
    }

    void Step()
    {
        const std::uint32_t operation = Any(8);
        if (operation < 2) {
            SetPosition();
        } else if (operation < 4) {
            Seek();
        } else if (variant_.Reads() && operation < 6) {
            Read();
        } else if (variant_.Writes()) {
            operation == 7 ? SetSize() : Write();
        }
        ASSERT_EQ(Stream().GetPosition(), position_);
        if (!variant_.CollectsWrites()) {
            ASSERT_EQ(Stream().GetSize(), bytes_.size());
        }
    }

    void CompareContent() { EXPECT_EQ(subject_->Content(), bytes_); }

private:
    IStream& Stream() { return **subject_; }
    std::uint32_t Any(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }
    [[nodiscard]] std::uint32_t Size() const { return static_cast<std::uint32_t>(bytes_.size()); }
    std::uint32_t AnyPosition() { return Any(Size() + (variant_.onDisk ? 20 : 1)); }

    void SetPosition()
    {
        position_ = AnyPosition();
        Stream().SetPosition(position_);
        ASSERT_EQ(Stream().GetSize(), bytes_.size()); // nothing is pending
    }

    void Seek()
    {
        const std::uint32_t origin = Any(3);
        const std::uint32_t starts[] = {0, position_, Size()};
        position_ = AnyPosition();
        const auto offset = static_cast<std::int32_t>(position_ - starts[origin]);
        ASSERT_EQ(Stream().Seek(offset, origin), position_);
    }

    void Read()
    {
        const std::uint32_t count = Any(40);
        const std::string expected = position_ < Size() ? bytes_.substr(position_, count) : "";
        const bool strict = Any(2) == 0;
        if (!strict || expected.size() == count) {
            ASSERT_EQ(ReadFrom(**subject_, count, strict ? 0 : READ_ALLOW_PARTIAL), expected);
        } else {
            ASSERT_THROW(ReadFrom(**subject_, count, 0), CFileException);
        }
        const bool stays = strict && expected.size() != count && !variant_.onDisk && !variant_.block;
        position_ += stays ? 0 : static_cast<std::uint32_t>(expected.size());
    }

    void Write()
    {
        const std::string bytes(Any(40), static_cast<char>(Any(256)));
        const auto count = static_cast<std::uint32_t>(bytes.size());
        Stream().Write(bytes.data(), count);
        if (count != 0) {
            bytes_.resize(std::max(Size(), position_ + count));
            bytes_.replace(position_, count, bytes);
            position_ += count;
        }
    }

    // A buffer in front is not told of it.
    void SetSize()
    {
        if (!variant_.IsBuffered()) {
            bytes_.resize(Any(300));
            Stream().SetSize(Size());
            position_ = variant_.onDisk ? Size() : std::min(position_, Size());
        }
    }

    const Variant& variant_;
    std::mt19937 random_;
    std::string bytes_;
    std::uint32_t position_ = 0;
    std::optional<Subject> subject_;
};

TEST_P(StreamContract, DoesWhatAModelDoes)
{
    for (const unsigned seed : {1u, 2u}) {
        Model model(GetParam(), seed);
        for (unsigned step = 0; step < 2000 && !HasFatalFailure(); ++step) {
            SCOPED_TRACE(step);
            model.Step();
        }
        model.CompareContent();
    }
}

INSTANTIATE_TEST_SUITE_P(Streams, StreamContract, testing::ValuesIn(Variants()),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace Plinth
