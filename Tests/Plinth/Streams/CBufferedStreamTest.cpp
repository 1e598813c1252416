#include "Plinth/Streams/CBufferedStream.h"
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Plinth/Streams/RecordingStream.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/FailingInTurn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <new>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

namespace Plinth {
namespace {

constexpr bool READING = true;
constexpr bool WRITING = false;
constexpr bool ALIGNED = true;
constexpr bool PLAIN = false;

// What stands at a position is always the same byte, and never 0.
const std::string BYTES = [] {
    std::string bytes(120, 0);
    std::iota(bytes.begin(), bytes.end(), '\1');
    return bytes;
}();

// Works a buffered stream by operations such as "r 10 p 3 !Read r 10":
//
//     r, R, F  read, in part, strictly, or strictly with other flags' bits    w  write
//     p        set the position                                               f  flush
//     b, c, e, x  seek from the beginning, from here, from the end, from origin 3
//     !Read    in the next operation this inner one fails
//
// A failure is recorded by its kind.
struct Script {
    Script(std::size_t size, bool reading, std::uint32_t capacity, bool aligned)
        : inner(log, BYTES.substr(0, size)), stream(&inner, reading, false, capacity, aligned)
    {
    }

    void Run(const std::string& operations)
    {
        std::istringstream input(operations);
        for (std::string word; input >> word;) {
            if (word[0] == '!') {
                inner.failing = word.substr(1);
                continue;
            }
            std::int64_t number = 0;
            input >> number;
            try {
                Do(word[0], number);
            } catch (const CFileException& exception) {
                log += (log.empty() ? "throws " : ", throws ") + std::to_string(exception.kind);
                EXPECT_STREQ(exception.fileName.CStr(), RecordingStream::NAME);
            }
            inner.failing.clear();
        }
    }

    void Do(char operation, std::int64_t number)
    {
        const auto count = static_cast<std::uint32_t>(number);
        std::uint32_t from = stream.GetPosition();
        switch (operation) {
        case 'w':
            return stream.Write(BYTES.data() + from, count);
        case 'p':
            return stream.SetPosition(count);
        case 'f':
            return stream.Flush();
        case 'b':
        case 'c':
        case 'e':
        case 'x':
            from = stream.Seek(static_cast<std::int32_t>(number),
                               static_cast<std::uint32_t>(std::string("bcex").find(operation)));
            EXPECT_EQ(from, stream.GetPosition());
            return;
        default:
            std::string bytes(count, '#');
            const std::uint32_t flags = operation == 'r' ? READ_ALLOW_PARTIAL : (operation == 'R' ? 0 : 6);
            bytes.resize(stream.Read(bytes.data(), count, flags));
            EXPECT_EQ(bytes, BYTES.substr(std::min<std::size_t>(from, 100), bytes.size())) << log;
        }
    }

    std::string log;
    RecordingStream inner;
    CBufferedStream stream;
};

struct Row {
    const char* operations;
    const char* calls;
    std::uint32_t position;
    std::uint32_t capacity = 16;
    std::size_t size = 100;
    std::uint32_t largestRead = UINT32_MAX;
};

void RunRows(const std::vector<Row>& rows, bool reading, bool aligned)
{
    for (const Row& row : rows) {
        Script script(reading ? row.size : 0, reading, row.capacity, aligned);
        script.inner.largestRead = row.largestRead;
        script.Run(row.operations);
        EXPECT_EQ(script.log, row.calls) << row.operations;
        EXPECT_EQ(script.stream.GetPosition(), row.position) << row.operations;
        script.stream.Flush();
        for (std::size_t i = 0; i < script.inner.bytes.size(); ++i) {
            EXPECT_TRUE(script.inner.bytes[i] == BYTES[i] || script.inner.bytes[i] == 0) << row.operations;
        }
    }
}

TEST(CBufferedStream, ReadsAhead)
{
    const std::vector<Row> both = {
        {"r 10 r 20", "Read 16 1, Read 16 1", 30},
        {"r 16 r 16", "Read 16 1, Read 16 1", 32},
        {"r 0 R 0", "", 0},
        {"F 1", "Read 16 7", 1},
        {"r 10 p 3 c 2 b 15 c -15 b 0 r 16", "Read 16 1", 16}, // within the block
        {"r 10 b 50 r 1", "Read 10 1, Seek 50 0, Read 10 1", 51, 10},
        {"r 40", "Read 16 1, Read 16 1, Read 16 1", 40},
        {"r 10 r 38 p 32 r 16", "Read 16 1, Read 16 1, Read 16 1", 48},
        {"r 10 r 39 p 48 r 16", "Read 16 1, Read 16 1, Read 16 1, Read 16 1", 64},
        {"r 32 p 16 c 15 p 0", "Read 16 1, Read 16 1, SetPosition 0", 0},
        {"R 10 r 10 R 10", "Read 16 1, Read 16 1, throws 3, Read 16 1, Read 16 1, throws 3", 4, 16, 4},
        {"r 50", "Read 16 1, Read 16 1, Read 16 1, Read 16 1", 20, 16, 20},
        {"r 12", "Read 16 1, Read 16 1, Read 16 1", 12, 16, 100, 5},
        {"r 26", "Read 16 1, Read 16 1, Read 16 1, Read 16 1, Read 16 1, Read 16 1", 26, 16, 100, 5},
        {"r 2 p 1", "Read 1 1, Read 1 1", 1, 0}, // a block of 1
        {"w 1 w 0 f 0", "throws 5, throws 5", 0},
        {"!Read r 5 r 5", "Read 16 1, throws 1, Read 16 1", 5},
        {"r 10 !Read r 10 p 32 r 1", "Read 16 1, Read 16 1, throws 1, SetPosition 32, Read 16 1", 33},
        {"r 10 !Read r 60 p 32 r 1", "Read 16 1, Read 16 1, throws 1, SetPosition 32, Read 16 1", 33},
        {"r 10 !SetPosition p 48 p 0 r 1", "Read 16 1, SetPosition 48, throws 1, SetPosition 0, Read 16 1",
         1},
        {"r 10 !Seek b 48 b 0 r 1", "Read 16 1, Seek 48 0, throws 1, Seek 0 0, Read 16 1", 1},
        {"r 10 !GetPosition c 50 p 0 r 1", "Read 16 1, GetPosition, throws 1, SetPosition 0, Read 16 1", 1},
    };
    RunRows(both, READING, PLAIN);
    RunRows(both, READING, ALIGNED);
}

TEST(CBufferedStream, MovesWhatItReads)
{
    const std::vector<Row> rows = {
        {"r 10 p 16 r 1", "Read 16 1, SetPosition 16, Read 16 1", 17},
        {"p 37 r 1", "SetPosition 37, Read 16 1", 38},
        {"r 10 c 6 r 1", "Read 16 1, GetPosition, Seek 0 1, Read 16 1", 17},
        {"r 10 c -11", "Read 16 1, GetPosition, Seek -17 1", UINT32_MAX},
        {"r 20 b 15 r 1", "Read 16 1, Read 16 1, Seek 15 0, Read 16 1", 16},
        {"r 10 e -95 r 1", "Read 16 1, Seek -95 2, Read 16 1", 6}, // never within the block
        {"r 10 x 3 r 1", "Read 16 1, Seek 3 3, Read 16 1", 4},
        {"r 10 p 4294967295 p 3", "Read 16 1, SetPosition 4294967295, SetPosition 3", 3},
        {"p 4294967295 c 2 r 1", "SetPosition 4294967295, GetPosition, Seek 2 1, Read 16 1", 2},
        {"r 10 c 2147483647", "Read 16 1, GetPosition, Seek 2147483641 1", 2147483657},
        {"r 10 !Seek e 0 b 3 r 1", "Read 16 1, Seek 0 2, throws 1, Seek 3 0, Read 16 1", 4},
    };
    RunRows(rows, READING, PLAIN);
    const std::vector<Row> alignedRows = {
        {"p 37 r 1 p 33 c -1 r 1", "SetPosition 32, Read 16 1", 33},
        {"p 32 r 1", "SetPosition 32, Read 16 1", 33},
        {"p 37 p 33 r 1", "SetPosition 32, SetPosition 32, Read 16 1", 34},
        {"p 37 r 40", "SetPosition 32, Read 16 1, Read 16 1, Read 16 1", 77},
        {"p 37 c 3 r 1", "SetPosition 32, GetPosition, Seek 0 1, Read 16 1", 41},
        {"r 10 c 30 r 1", "Read 16 1, GetPosition, Seek 16 1, Read 16 1", 41},
        {"b 37 r 1", "Seek 32 0, Read 16 1", 38},
        {"e -5 r 1", "GetSize, Seek -20 2, Read 16 1", 96},
        {"x 5", "GetSize, Seek -4 3", 5},
        {"p 107 r 1 R 1", "SetPosition 96, Read 16 1, Read 16 1, Read 16 1, throws 3", 107},
        {"p 4294967295", "SetPosition 4294967280", UINT32_MAX},
        {"p 5 r 1", "SetPosition 5, Read 1 1", 6, 0},
        {"p 37 !Read r 1 r 1", "SetPosition 32, Read 16 1, throws 1, Read 16 1", 38},
        {"r 10 !GetSize e 0 p 3 r 1", "Read 16 1, GetSize, throws 1, SetPosition 0, Read 16 1", 4},
    };
    RunRows(alignedRows, READING, ALIGNED);
}

TEST(CBufferedStream, CollectsWhatItWrites)
{
    const std::vector<Row> rows = {
        {"w 40", "Write 16, Write 16", 40},
        {"w 16", "", 16},
        {"w 16 w 0", "", 16},
        {"w 16 f 0 f 0", "Write 16, Write 0", 16},
        {"w 5 c 0", "", 5},
        {"w 5 e 0 w 1", "Write 5, Seek 0 2", 6},
        {"w 5 c 1 w 1", "Write 5, Seek 1 1", 7},
        {"w 5 b 0 w 1", "Write 5, Seek 0 0", 1},
        {"w 5 x 7", "Write 5, Seek 7 3", 7},
        {"w 5 p 2 w 20", "Write 5, SetPosition 2, Write 16", 22},
        {"p 0", "Write 0, SetPosition 0", 0},
        {"w 3", "Write 1, Write 1", 3, 0},
        {"r 1 r 0 R 0", "throws 5, throws 5, throws 5", 0},
        {"w 5 !Write f 0 f 0", "Write 5, throws 1, Write 5", 5},
        {"w 16 !Write w 5 w 5", "Write 16, throws 1, Write 16", 21},
        {"w 10 !Write w 40 w 1", "Write 16, throws 1, Write 16", 17},
        {"w 5 !Write p 2 p 2", "Write 5, throws 1, Write 5, SetPosition 2", 2},
        {"w 5 !Write e 0 w 1", "Write 5, throws 1", 6},
        {"w 5 !SetPosition p 2 w 1", "Write 5, SetPosition 2, throws 1", 6},
        {"w 5 !Seek b 2 w 1", "Write 5, Seek 2 0, throws 1", 6},
    };
    RunRows(rows, WRITING, PLAIN);
    RunRows(rows, WRITING, ALIGNED);
}

TEST(CBufferedStream, CountsFromWhereTheInnerStreamStands)
{
    std::string log;
    RecordingStream inner(log, BYTES);
    inner.position = 50;
    CBufferedStream stream(&inner, READING, false, 16, PLAIN);
    char bytes[4] = {};
    stream.Read(bytes, 4, 0);
    EXPECT_EQ(bytes[0], 51);
    stream.SetPosition(2);
    stream.Read(bytes, 1, 0);
    EXPECT_EQ(bytes[0], 53);
    EXPECT_EQ(stream.GetPosition(), 3u);
    stream.SetPosition(20);
    stream.Read(bytes, 1, 0);
    EXPECT_EQ(bytes[0], 21);
}

// Whatever `body` throws, by its message.
template <typename Body>
std::string MessageOf(const Body& body)
{
    try {
        body();
    } catch (const CException& exception) {
        return exception.message.CStr();
    }
    return "nothing";
}

TEST(CBufferedStream, RefusesNull)
{
    std::string log;
    RecordingStream inner(log, "text");
    CBufferedStream reader(&inner, READING, false, 16, PLAIN);
    EXPECT_EQ(MessageOf([&] { reader.Read(nullptr, 5, READ_ALLOW_PARTIAL); }),
              "Read operation on stream a %s recording with NULL destination buffer!");
    EXPECT_EQ(reader.Read(nullptr, 0, 0), 0u);
    EXPECT_EQ(MessageOf([&] { reader.Write(nullptr, 5); }),
              "Read/write Operation on file \"a %s recording\" is not allowed by its mode!");
    CBufferedStream writer(&inner, WRITING, false, 16, PLAIN);
    EXPECT_EQ(MessageOf([&] { writer.Write(nullptr, 5); }),
              "Write operation on stream a %s recording with NULL source buffer!");
    writer.Write(nullptr, 0);
    EXPECT_EQ(MessageOf([&] { writer.Read(nullptr, 5, 0); }),
              "Read/write Operation on file \"a %s recording\" is not allowed by its mode!");
    EXPECT_EQ(log, "");
    EXPECT_EQ(MessageOf([] { delete CreateBufferedStream(nullptr, READING, true, 16, PLAIN); }),
              "Stream pointer is NULL!");
}

TEST(CBufferedStream, HandsOnWhatIsNotBuffered)
{
    for (const bool reading : {READING, WRITING}) {
        std::string log;
        RecordingStream inner(log, "text");
        inner.time = 0x123456789ABCDEF0;
        CBufferedStream stream(&inner, reading, false, 16, PLAIN);
        EXPECT_EQ(stream.IsReading(), reading);
        EXPECT_STREQ(stream.GetName().CStr(), RecordingStream::NAME);
        EXPECT_EQ(stream.GetTime(), inner.time);
        EXPECT_EQ(stream.GetSize(), 4u);
        stream.SetSize(UINT32_MAX);
        stream.SetTime(UINT64_MAX);
        EXPECT_EQ(log, "GetTime, GetSize, SetSize 4294967295, SetTime 18446744073709551615");
    }
}

struct BrokenStream : RecordingStream {
    using RecordingStream::RecordingStream;
    void Write(const void* /*buffer*/, std::uint32_t /*count*/) override { throw std::bad_alloc(); }
};

TEST(CBufferedStream, FlushesAtItsEnd)
{
    for (const bool owns : {true, false}) {
        const char* const deletion = owns ? ", delete" : "";
        std::string log;
        auto* inner = new RecordingStream(log, "text");
        delete CreateBufferedStream(inner, READING, owns, 16, PLAIN);
        EXPECT_EQ(log, owns ? "delete" : "");
        const std::unique_ptr<RecordingStream> notOwned(owns ? nullptr : inner);
        log.clear();
        inner = new RecordingStream(log);
        inner->failing = "Write";
        const TraceCapture trace;
        delete CreateBufferedStream(inner, WRITING, owns, 16, PLAIN); // flushes nothing as well
        EXPECT_EQ(log, std::string("Write 0") + deletion);
        EXPECT_EQ(trace.Text(), "A file error occurred (\"a %s recording\")!\n");
        const std::unique_ptr<RecordingStream> notOwnedEither(owns ? nullptr : inner);
        log.clear();
    }
    std::string log;
    const TraceCapture trace;
    delete CreateBufferedStream(new BrokenStream(log), WRITING, true, 16, PLAIN);
    EXPECT_EQ(trace.Text(), "A buffered stream could not be flushed!\n");
    EXPECT_EQ(log, "delete");
}

TEST(CBufferedStream, LeavesTheInnerStreamAloneWithoutMemory)
{
    FailingInTurn points("CreateBufferedStream");
    while (points.Next()) {
        const TraceCapture trace;
        std::string log;
        auto inner = std::make_unique<RecordingStream>(log);
        CBufferedStream* stream = nullptr;
        if (points.Try([&] { stream = CreateBufferedStream(inner.get(), READING, true, 16, PLAIN); })) {
            static_cast<void>(inner.release()); // the buffered stream's own now
        }
        EXPECT_EQ(log, "");
        delete stream;
    }
}

} // namespace
} // namespace Plinth
