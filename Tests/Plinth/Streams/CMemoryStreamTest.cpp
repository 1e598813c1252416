#include "Plinth/Streams/CMemoryStream.h"
#include "Plinth/Debug/Allocation.h"
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/FailingInTurn.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>

namespace Plinth {
namespace {

// A stream is no value: it is made where it stays.
struct Stream : CMemoryStream {
    explicit Stream(const std::string& text, const char* name = "")
    {
        Write(text.data(), static_cast<std::uint32_t>(text.size()));
        SetPosition(0);
        SetName(name);
    }

    [[nodiscard]] std::string Text() { return {reinterpret_cast<const char*>(GetData()), GetSize()}; }
};

TEST(CMemoryStream, BeginsEmpty)
{
    Stream stream("");
    EXPECT_EQ(stream.GetSize() + stream.GetPosition() + stream.GetCapacity(), 0u);
    EXPECT_EQ(stream.GetData(), nullptr);
    EXPECT_EQ(stream.GetTime(), 0u);
    stream.SetTime(5);
    EXPECT_EQ(stream.GetTime(), 0u);
    char byte = 'x';
    EXPECT_THROW(stream.Read(&byte, 1, 0), CFileException);
    EXPECT_EQ(stream.Read(&byte, 1, READ_ALLOW_PARTIAL), 0u);
    EXPECT_EQ(stream.Read(&byte, 0, 0), 0u);
    stream.Write(nullptr, 5);
    stream.Write(&byte, 0);
    stream.SetCapacity(0);
    stream.Resize(0, true);
    EXPECT_EQ(stream.GetCapacity(), 0u);
    EXPECT_EQ(byte, 'x');
}

TEST(CMemoryStream, StaysWhenItCannotReadAll)
{
    Stream stream("abcdef");
    std::string text(4, '#');
    stream.SetPosition(4);
    EXPECT_EQ(stream.Read(nullptr, 1, 0), 0u);
    EXPECT_THROW(stream.Read(text.data(), 3, 0), CFileException);
    EXPECT_EQ(text, "####");
    EXPECT_EQ(stream.GetPosition(), 4u);
}

TEST(CMemoryStream, SeeksWithinItsContent)
{
    struct Row {
        std::uint32_t from;
        std::int32_t offset;
        std::uint32_t origin;
        std::uint32_t position;
    };
    const Row rows[] = {
        {3, 4, ORIGIN_BEGIN, 4},
        {3, -1, ORIGIN_BEGIN, 0},
        {3, 11, ORIGIN_BEGIN, 10},
        {3, 4, ORIGIN_CURRENT, 7},
        {3, INT32_MAX, ORIGIN_CURRENT, 10},
        {7, -20, ORIGIN_CURRENT, 0},
        {7, -2, ORIGIN_CURRENT, 5},
        {3, -3, ORIGIN_END, 7},
        {3, 0, ORIGIN_END, 10},
        {3, 5, ORIGIN_END, 10},
        {3, INT32_MIN, ORIGIN_END, 0},
        {3, INT32_MIN, ORIGIN_CURRENT, 0},
        {3, 1, 3, 3},
        {100, 0, ORIGIN_CURRENT, 10},
    };
    Stream stream("0123456789");
    for (const Row& row : rows) {
        stream.SetPosition(row.from);
        EXPECT_EQ(stream.Seek(row.offset, row.origin), row.position) << row.offset << ' ' << row.origin;
        EXPECT_EQ(stream.GetPosition(), row.position);
    }
}

TEST(CMemoryStream, GrowsTwiceAsLargeByWriting)
{
    CMemoryStream stream;
    for (std::uint32_t written = 1; written <= 5000; ++written) {
        stream.Write("x", 1);
        std::uint32_t expected = 1024;
        while (expected < written) {
            expected *= 2;
        }
        ASSERT_EQ(stream.GetCapacity(), expected) << written;
    }
    const std::string large(20000, 'y');
    stream.Write(large.data(), 20000);
    EXPECT_EQ(stream.GetCapacity(), 25000u); // more than twice
    stream.SetPosition(1);
    stream.Write("z", 1);
    EXPECT_EQ(stream.GetSize(), 25000u);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(stream.GetData()), 3), "xzx");
    stream.GrowTo(2);
    EXPECT_EQ(stream.GetSize(), 2u);
    EXPECT_EQ(stream.GetPosition(), 2u);
}

TEST(CMemoryStream, TakesExactlyTheSizeThatIsSet)
{
    CMemoryStream stream;
    stream.SetSize(2000);
    EXPECT_EQ(stream.GetCapacity(), 2000u);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(stream.GetData()), 2000), std::string(2000, '\0'));
    Stream ten("0123456789");
    ten.SetPosition(7);
    ten.SetSize(4);
    EXPECT_EQ(ten.GetPosition(), 4u);
    ten.SetSize(10);
    EXPECT_EQ(ten.Text(), std::string("0123") + std::string(6, '\0'));
    EXPECT_EQ(ten.GetPosition(), 4u);
    EXPECT_EQ(ten.GetCapacity(), 1024u);
    ten.Reserve(1000);
    EXPECT_EQ(ten.GetCapacity(), 1024u);
    ten.SetCapacity(5);
    EXPECT_EQ(ten.GetCapacity(), 10u);
    {
        const HeapWatch watch;
        ten.SetCapacity(3);
        EXPECT_EQ(watch.Blocks(), 0u);
    }
    ten.Reserve(11);
    EXPECT_EQ(ten.GetCapacity(), 11u);
    ten.Resize(11, false);
    EXPECT_EQ(ten.GetSize(), 11u);
    ten.SetName("kept");
    ten.Free();
    EXPECT_EQ(ten.GetSize() + ten.GetPosition() + ten.GetCapacity(), 0u);
    EXPECT_STREQ(ten.GetName().CStr(), "kept");
}

TEST(CMemoryStream, HandsItsBlockOver)
{
    Stream stream("abc", "kept");
    std::uint8_t* const block = stream.Detach();
    EXPECT_EQ(std::string(reinterpret_cast<char*>(block), 3), "abc");
    EXPECT_EQ(stream.GetSize() + stream.GetPosition() + stream.GetCapacity(), 0u);
    EXPECT_EQ(stream.GetData(), nullptr);
    EXPECT_STREQ(stream.GetName().CStr(), "kept");
    FreeMemory(block);
}

TEST(CMemoryStream, CopiesAnotherStream)
{
    struct Row {
        const char* name;
        std::uint32_t size;
        std::uint32_t from;
        std::uint32_t extra;
        std::uint32_t capacity;
    };
    const Row rows[] = {
        {"whole", 100, 0, 0, 100}, {"with room", 100, 0, 16, 116}, {"the rest", 100, 40, 0, 100},
        {"nothing", 0, 0, 0, 0},   {"only room", 0, 0, 2, 2},
    };
    for (const Row& row : rows) {
        std::string text(row.size, 'x');
        std::iota(text.begin(), text.end(), ' ');
        Stream source(text, row.name);
        source.SetPosition(row.from);
        CMemoryStream copy;
        EXPECT_EQ(copy.CopyFrom(source, row.extra, true), row.size - row.from) << row.name;
        EXPECT_EQ(copy.GetSize(), row.size) << row.name;
        EXPECT_EQ(copy.GetCapacity(), row.capacity) << row.name;
        EXPECT_STREQ(copy.GetName().CStr(), row.name);
        EXPECT_EQ(source.GetPosition(), row.size) << row.name;
        EXPECT_EQ(std::string(reinterpret_cast<char*>(copy.GetData()), row.size - row.from),
                  text.substr(row.from));
    }
    Stream source("0123456789");
    Stream target("abcdef");
    target.SetPosition(5);
    target.CopyFrom(source, 0, false);
    EXPECT_EQ(target.GetPosition(), 5u);
    EXPECT_EQ(target.GetCapacity(), 1024u);
    source.SetPosition(0);
    target.CopyFrom(source, 0, true);
    EXPECT_EQ(target.GetPosition(), 0u);
    EXPECT_EQ(target.Text(), "0123456789");
}

// Says that it has another size than it has, and counts what is read.
struct BoastingStream : CMemoryStream {
    explicit BoastingStream(std::uint32_t newShown) : shown(newShown) {}
    std::uint32_t GetSize() override { return shown; }
    std::uint32_t Read(void* buffer, std::uint32_t count, std::uint32_t flags) override
    {
        ++reads;
        return CMemoryStream::Read(buffer, count, flags);
    }

    std::uint32_t shown;
    unsigned reads = 0;
};

TEST(CMemoryStream, IsEmptyAfterACopyThatFailed)
{
    BoastingStream source(13);
    source.Write("abc", 3);
    source.SetPosition(0);
    Stream target("0123456789");
    EXPECT_THROW(target.CopyFrom(source, 20, true), CFileException);
    EXPECT_EQ(target.GetSize() + target.GetPosition(), 0u);
    EXPECT_EQ(target.GetCapacity(), 1024u);
    const TraceCapture trace;
    BoastingStream largest(UINT32_MAX); // with room behind it more than can be
    EXPECT_THROW(target.CopyFrom(largest, 2, true), CException);
    EXPECT_EQ(largest.reads, 0u);
    EXPECT_NE(trace.Text().find("Failed to allocate 4294967295 bytes!"), std::string::npos);
}

TEST(CMemoryStream, IsWrittenFromAnotherStream)
{
    Stream source("abcdef");
    Stream target("01234");
    target.SetPosition(3);
    target.WriteFrom(source, 4);
    BoastingStream unread(10);
    target.WriteFrom(unread, 0);
    EXPECT_EQ(unread.reads, 0u);
    EXPECT_EQ(target.Text(), "012abcd");
    EXPECT_EQ(target.GetPosition(), 7u);
    EXPECT_EQ(source.GetPosition(), 4u);
    EXPECT_THROW(target.WriteFrom(source, 3), CFileException);
    EXPECT_EQ(target.GetPosition(), 7u);
    EXPECT_EQ(target.GetSize(), 10u);
}

TEST(CMemoryStream, KeepsItsContentWithoutMemory)
{
    static const std::string more(2000, 'x');
    static Stream source(more);
    void (*const changes[])(CMemoryStream&) = {
        [](CMemoryStream& stream) { stream.SetSize(2000); },
        [](CMemoryStream& stream) { stream.SetCapacity(10); },
        [](CMemoryStream& stream) { stream.GrowTo(2000); },
        [](CMemoryStream& stream) { stream.Write(more.data(), 2000); },
        [](CMemoryStream& stream) { stream.Write("x", UINT32_MAX); }, // more than can be
        [](CMemoryStream& stream) { stream.WriteFrom(source, 2000); },
    };
    for (const auto change : changes) {
        const TraceCapture trace;
        Stream stream("0123456789");
        stream.SetPosition(4);
        const HeapWatch watch({.ordinal = 1});
        EXPECT_THROW(change(stream), CException);
        EXPECT_EQ(stream.Text(), "0123456789");
        EXPECT_EQ(stream.GetPosition(), 4u);
        EXPECT_EQ(stream.GetCapacity(), 1024u);
        EXPECT_NE(trace.Text().find("Failed to allocate"), std::string::npos);
    }
}

TEST(CMemoryStream, CopiesWholeOrThrows)
{
    const std::string text(2000, 'x');
    Stream source(text, "a name of more than one block");
    for (const std::uint32_t extra : {0u, 10u}) {
        FailingInTurn points("CMemoryStream::CopyFrom");
        while (points.Next()) {
            const TraceCapture trace;
            Stream copy("old");
            source.SetPosition(0);
            const bool done = points.Try([&] { copy.CopyFrom(source, extra, true); });
            EXPECT_EQ(copy.Text(), done ? text : (extra != 0 ? "" : "old"));
            EXPECT_EQ(copy.GetCapacity(), done ? 2000 + extra : 1024u);
        }
    }
}

} // namespace
} // namespace Plinth
