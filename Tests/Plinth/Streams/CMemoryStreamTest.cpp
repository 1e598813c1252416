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
    explicit Stream(const std::string& text, std::uint32_t position = 0)
    {
        Write(text.data(), static_cast<std::uint32_t>(text.size()));
        SetPosition(position);
        SetName("a name of more than one block");
    }

    [[nodiscard]] std::string Text() { return {reinterpret_cast<const char*>(GetData()), GetSize()}; }

    // Size, position and capacity.
    [[nodiscard]] std::string State()
    {
        return std::to_string(GetSize()) + ' ' + std::to_string(GetPosition()) + ' ' +
               std::to_string(GetCapacity());
    }
};

TEST(CMemoryStream, BeginsEmpty)
{
    Stream stream("");
    char byte = 'x';
    stream.SetTime(5);
    EXPECT_EQ(stream.GetTime(), 0u);
    EXPECT_THROW(stream.Read(&byte, 1, 0), CFileException);
    EXPECT_EQ(stream.Read(&byte, 1, READ_ALLOW_PARTIAL) + stream.Read(&byte, 0, 0), 0u);
    stream.Write(nullptr, 5);
    stream.Write(&byte, 0);
    stream.SetCapacity(0);
    stream.Resize(0, true);
    EXPECT_EQ(stream.State(), "0 0 0");
    EXPECT_EQ(stream.GetData(), nullptr);
    EXPECT_EQ(byte, 'x');
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
        {3, 4, ORIGIN_BEGIN, 4},       {3, -1, ORIGIN_BEGIN, 0},
        {3, 11, ORIGIN_BEGIN, 10},     {3, INT32_MAX, ORIGIN_CURRENT, 10},
        {7, -20, ORIGIN_CURRENT, 0},   {7, -2, ORIGIN_CURRENT, 5},
        {3, -3, ORIGIN_END, 7},        {3, 5, ORIGIN_END, 10},
        {3, INT32_MIN, ORIGIN_END, 0}, {3, 1, 3, 3},
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
    Stream stream("");
    for (std::uint32_t written = 1, expected = 1024; written <= 5000; ++written) {
        stream.Write("x", 1);
        expected *= expected < written ? 2 : 1;
        ASSERT_EQ(stream.GetCapacity(), expected) << written;
    }
    stream.Write(std::string(20000, 'y').data(), 20000);
    EXPECT_EQ(stream.State(), "25000 25000 25000"); // more than twice
    stream.SetPosition(1);
    stream.Write("z", 1);
    EXPECT_EQ(stream.Text().substr(0, 3), "xzx");
    stream.GrowTo(1);
    EXPECT_EQ(stream.State(), "1 1 25000");
}

TEST(CMemoryStream, TakesExactlyTheSizeThatIsSet)
{
    Stream large("");
    large.SetSize(2000);
    EXPECT_EQ(large.State(), "2000 0 2000");
    EXPECT_EQ(large.Text(), std::string(2000, '\0'));
    Stream stream("0123456789", 7);
    stream.SetSize(4);
    stream.SetSize(10);
    EXPECT_EQ(stream.Text(), std::string("0123") + std::string(6, '\0'));
    stream.Reserve(1000);
    EXPECT_EQ(stream.State(), "10 4 1024");
    stream.SetCapacity(5);
    EXPECT_EQ(stream.State(), "10 4 10");
    {
        const HeapWatch watch;
        stream.SetCapacity(3);
        EXPECT_EQ(watch.Blocks(), 0u);
    }
    stream.Reserve(11);
    stream.Resize(11, false);
    EXPECT_EQ(stream.State(), "11 4 11");
    std::uint8_t* const block = stream.Detach();
    EXPECT_EQ(std::string(block, block + 4), "0123");
    EXPECT_EQ(stream.GetData(), nullptr);
    EXPECT_EQ(stream.State() + stream.GetName().CStr(), "0 0 0a name of more than one block");
    FreeMemory(block);
    large.Free();
    EXPECT_EQ(large.State(), "0 0 0");
}

TEST(CMemoryStream, CopiesAnotherStream)
{
    struct Row {
        std::uint32_t size;
        std::uint32_t from;
        std::uint32_t extra;
        const char* state;
    };
    for (const Row& row : {Row{100, 0, 0, "100 0 100"},
                           {100, 0, 16, "100 0 116"},
                           {100, 40, 0, "100 0 100"},
                           {0, 0, 0, "0 0 0"},
                           {0, 0, 2, "0 0 2"}}) {
        std::string text(row.size, 'x');
        std::iota(text.begin(), text.end(), ' ');
        Stream source(text, row.from);
        Stream copy("");
        copy.SetName("");
        EXPECT_EQ(copy.CopyFrom(source, row.extra, true), row.size - row.from) << row.state;
        EXPECT_EQ(copy.State(), row.state);
        EXPECT_STREQ(copy.GetName().CStr(), "a name of more than one block");
        EXPECT_EQ(source.GetPosition(), row.size) << row.state;
        EXPECT_EQ(copy.Text().substr(0, row.size - row.from), text.substr(row.from));
    }
    for (const bool rewinds : {false, true}) {
        Stream source("0123456789");
        Stream target("abcdef", 5);
        target.CopyFrom(source, 0, rewinds);
        EXPECT_EQ(target.State(), rewinds ? "10 0 1024" : "10 5 1024");
        EXPECT_EQ(target.Text(), "0123456789");
    }
}

// Says that it has another size than it has, and counts what is read.
struct BoastingStream : Stream {
    explicit BoastingStream(std::uint32_t newShown) : Stream("abc"), shown(newShown) {}
    std::uint32_t GetSize() override { return shown; }
    std::uint32_t Read(void* buffer, std::uint32_t count, std::uint32_t flags) override
    {
        return ++reads, CMemoryStream::Read(buffer, count, flags);
    }

    std::uint32_t shown;
    unsigned reads = 0;
};

TEST(CMemoryStream, IsEmptyAfterACopyThatFailed)
{
    BoastingStream source(13);
    Stream target("0123456789");
    EXPECT_THROW(target.CopyFrom(source, 20, true), CFileException);
    EXPECT_EQ(target.State(), "0 0 1024");
    const TraceCapture trace;
    BoastingStream largest(UINT32_MAX); // with room behind it more than can be
    EXPECT_THROW(target.CopyFrom(largest, 2, true), CException);
    EXPECT_EQ(largest.reads, 0u);
    EXPECT_NE(trace.Text().find("Failed to allocate 4294967295 bytes!"), std::string::npos);
}

TEST(CMemoryStream, IsWrittenFromAnotherStream)
{
    Stream source("abcdef");
    Stream target("01234", 3);
    target.WriteFrom(source, 4);
    BoastingStream unread(10);
    target.WriteFrom(unread, 0);
    EXPECT_EQ(unread.reads, 0u);
    EXPECT_EQ(target.Text(), "012abcd");
    EXPECT_EQ(source.GetPosition(), 4u);
    EXPECT_THROW(target.WriteFrom(source, 3), CFileException);
    EXPECT_EQ(target.State(), "10 7 1024");
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
        Stream stream("0123456789", 4);
        const HeapWatch watch({.ordinal = 1});
        EXPECT_THROW(change(stream), CException);
        EXPECT_EQ(stream.Text() + ' ' + stream.State(), "0123456789 10 4 1024");
        EXPECT_NE(trace.Text().find("Failed to allocate"), std::string::npos);
    }
}

TEST(CMemoryStream, CopiesWholeOrThrows)
{
    const std::string text(2000, 'x');
    Stream source(text);
    for (const std::uint32_t extra : {0u, 10u}) {
        FailingInTurn points("CMemoryStream::CopyFrom");
        while (points.Next()) {
            const TraceCapture trace;
            Stream copy("old");
            copy.SetName("old");
            source.SetPosition(0);
            const bool done = points.Try([&] { copy.CopyFrom(source, extra, true); });
            EXPECT_EQ(copy.Text(), done ? text : (extra != 0 ? "" : "old"));
            EXPECT_EQ(copy.GetCapacity(), done ? 2000 + extra : 1024u);
        }
    }
}

} // namespace
} // namespace Plinth
