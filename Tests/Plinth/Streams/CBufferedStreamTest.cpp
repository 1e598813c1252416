#include "Plinth/Streams/CBufferedStream.h"
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Plinth/Streams/RecordingStream.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/FailingInTurn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
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

struct Row {
    const char* operations;
    const char* calls; // of the inner stream; failures by their kind
    std::uint32_t position;
    std::uint32_t capacity = 16;
    std::uint32_t size = 100; // of what is read
    std::uint32_t largestRead = UINT32_MAX;
};

//     r, R, F  read, in part, strictly, or strictly with other flags' bits    w  write
//     p        set the position                                               f  flush
//     b, c, e, x  seek from the beginning, from here, from the end, from origin 3
void Do(CBufferedStream& stream, char operation, std::int64_t number)
{
    static const std::map<char, std::uint32_t> flags = {{'r', READ_ALLOW_PARTIAL}, {'R', 0}, {'F', 6}};
    const auto count = static_cast<std::uint32_t>(number);
    const std::uint32_t from = stream.GetPosition();
    if (operation == 'w') {
        stream.Write(BYTES.data() + from, count);
    } else if (operation == 'p') {
        stream.SetPosition(count);
    } else if (operation == 'f') {
        stream.Flush();
    } else if (const std::size_t origin = std::string("bcex").find(operation); origin != std::string::npos) {
        const std::uint32_t position =
            stream.Seek(static_cast<std::int32_t>(number), static_cast<std::uint32_t>(origin));
        EXPECT_EQ(position, stream.GetPosition());
    } else {
        std::string bytes(count, '#');
        bytes.resize(stream.Read(bytes.data(), count, flags.at(operation)));
        EXPECT_EQ(bytes, BYTES.substr(std::min<std::size_t>(from, 100), bytes.size()));
    }
}

// Operations are a letter and its number each, as in "r 10 p 3 !Read r 10": there, Read fails once.
void Run(const Row& row, bool reading, bool aligned)
{
    SCOPED_TRACE(row.operations);
    std::string log;
    RecordingStream inner(log);
    inner.CMemoryStream::Write(BYTES.data(), reading ? row.size : 0);
    inner.CMemoryStream::SetPosition(0);
    inner.largestRead = row.largestRead;
    CBufferedStream stream(&inner, reading, false, row.capacity, aligned);
    std::istringstream input(row.operations);
    for (std::string word; input >> word;) {
        if (word[0] == '!') {
            inner.failing = word.substr(1);
            input >> word;
        }
        std::int64_t number = 0;
        input >> number;
        try {
            Do(stream, word[0], number);
        } catch (const CFileException& exception) {
            log += (log.empty() ? "throws " : ", throws ") + std::to_string(exception.kind);
            EXPECT_STREQ(exception.fileName.CStr(), RecordingStream::NAME);
        }
        inner.failing.clear();
    }
    EXPECT_EQ(log, row.calls);
    EXPECT_EQ(stream.GetPosition(), row.position);
    stream.Flush();
    for (std::uint32_t i = 0; i < inner.GetSize(); ++i) {
        EXPECT_EQ(inner.GetData()[i], static_cast<std::uint8_t>(BYTES[i]));
    }
}

void RunRows(const std::vector<Row>& rows, bool reading, bool aligned)
{
    for (const Row& row : rows) {
        Run(row, reading, aligned);
    }
}

TEST(CBufferedStream, ReadsAhead)
{
    const std::vector<Row> both = {
        {"r 10 r 20", "Read 16 1, Read 16 1", 30},
        {"r 16 r 16", "Read 16 1, Read 16 1", 32},
        {"r 0 R 0", "", 0},
        {"F 1 F 40", "Read 16 7, Read 16 7, Read 16 7", 41},
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
        {"r 10 !Read r 23 p 0 r 1", "Read 16 1, Read 16 1, throws 1, SetPosition 0, Read 16 1", 1},
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
        {"r 10 c -11 r 1", "Read 16 1, GetPosition, Seek -17 1, Read 16 1", 1},
        {"r 20 b 15 r 1", "Read 16 1, Read 16 1, Seek 15 0, Read 16 1", 16},
        {"r 10 e -95 r 1", "Read 16 1, Seek -95 2, Read 16 1", 6}, // never within the block
        {"r 10 x 3 r 1", "Read 16 1, Seek 3 3, Read 16 1", 17},
        {"r 10 p 4294967295 p 3", "Read 16 1, SetPosition 4294967295, SetPosition 3", 3},
        {"p 4294967295 c 2 r 1", "SetPosition 4294967295, GetPosition, Seek -99 1, Read 16 1", 2},
        {"r 10 c 2147483647", "Read 16 1, GetPosition, Seek 2147483641 1", 100},
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
        {"x 5", "GetSize, Seek -4 3", 9},
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
        {"w 5 c -1 w 1", "Write 5, Seek -1 1", 5},
        {"w 5 b 0 w 1", "Write 5, Seek 0 0", 1},
        {"w 5 x 7", "Write 5, Seek 7 3", 5},
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
    RecordingStream inner(log);
    inner.Write(BYTES.data(), 100);
    inner.Seek(50, ORIGIN_BEGIN);
    CBufferedStream stream(&inner, READING, false, 16, PLAIN);
    std::uint8_t bytes[3] = {};
    stream.Read(bytes, 1, 0);
    stream.SetPosition(2);
    stream.Read(bytes + 1, 1, 0);
    stream.SetPosition(20);
    stream.Read(bytes + 2, 1, 0);
    EXPECT_EQ(std::to_string(bytes[0]) + ' ' + std::to_string(bytes[1]) + ' ' + std::to_string(bytes[2]),
              "51 53 21");
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
    const char* const wrongMode =
        "Read/write Operation on file \"a %s recording\" is not allowed by its mode!";
    std::string log;
    RecordingStream inner(log);
    CBufferedStream reader(&inner, READING, false, 16, PLAIN);
    CBufferedStream writer(&inner, WRITING, false, 16, PLAIN);
    EXPECT_EQ(MessageOf([&] { reader.Read(nullptr, 5, READ_ALLOW_PARTIAL); }),
              "Read operation on stream a %s recording with NULL destination buffer!");
    EXPECT_EQ(MessageOf([&] { writer.Write(nullptr, 5); }),
              "Write operation on stream a %s recording with NULL source buffer!");
    EXPECT_EQ(MessageOf([&] { reader.Write(nullptr, 5); }), wrongMode);
    EXPECT_EQ(MessageOf([&] { writer.Read(nullptr, 5, 0); }), wrongMode);
    EXPECT_EQ(reader.Read(nullptr, 0, 0), 0u);
    writer.Write(nullptr, 0);
    EXPECT_EQ(log, "");
    EXPECT_EQ(MessageOf([] { delete CreateBufferedStream(nullptr, READING, true, 16, PLAIN); }),
              "Stream pointer is NULL!");
}

TEST(CBufferedStream, HandsOnWhatIsNotBuffered)
{
    for (const bool reading : {READING, WRITING}) {
        std::string log;
        RecordingStream inner(log);
        CBufferedStream stream(&inner, reading, false, 16, PLAIN);
        EXPECT_EQ(stream.IsReading(), reading);
        EXPECT_STREQ(stream.GetName().CStr(), RecordingStream::NAME);
        EXPECT_EQ(stream.GetTime(), UINT64_MAX);
        EXPECT_EQ(stream.GetSize(), 0u);
        stream.SetSize(UINT32_MAX);
        stream.SetTime(UINT64_MAX);
        EXPECT_EQ(log, "GetTime, GetSize, SetSize 4294967295, SetTime 18446744073709551615");
    }
}

struct BrokenStream : RecordingStream {
    using RecordingStream::RecordingStream;
    void Write(const void* /*buffer*/, std::uint32_t /*count*/) override { throw std::bad_alloc(); }
};

TEST(CBufferedStream, EndsWithAFlushAndWhatItOwns)
{
    std::string log;
    RecordingStream kept(log);
    delete CreateBufferedStream(&kept, WRITING, false, 16, PLAIN); // flushes nothing as well
    delete CreateBufferedStream(new RecordingStream(log), READING, true, 16, PLAIN);
    auto* const failing = new RecordingStream(log);
    failing->failing = "Write";
    const TraceCapture trace;
    delete CreateBufferedStream(failing, WRITING, true, 16, PLAIN);
    delete CreateBufferedStream(new BrokenStream(log), WRITING, true, 16, PLAIN);
    EXPECT_EQ(log, "Write 0, delete, Write 0, delete, delete");
    EXPECT_EQ(trace.Text(), "A file error occurred (\"a %s recording\")!\n"
                            "A buffered stream could not be flushed!\n");
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
