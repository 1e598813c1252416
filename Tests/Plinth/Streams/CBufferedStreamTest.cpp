#include "Plinth/Streams/CBufferedStream.h"
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Plinth/Streams/RecordingStream.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/FailingInTurn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
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
    } else if (flags.contains(operation)) {
        std::string bytes(count, '#');
        bytes.resize(stream.Read(bytes.data(), count, flags.at(operation)));
        EXPECT_EQ(bytes, BYTES.substr(std::min<std::size_t>(from, 100), bytes.size()));
    } else {
        const auto origin = static_cast<std::uint32_t>(std::string("bcex").find(operation));
        const std::uint32_t position = stream.Seek(static_cast<std::int32_t>(number), origin);
        EXPECT_EQ(position, stream.GetPosition());
    }
}

// Operations are a letter and its number each, as in "r 10 p 3 !1Read r 10": there, the first Read but one
// fails.
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
            const std::size_t name = word.find_first_not_of("!0123456789");
            inner.failing = word.substr(name);
            inner.failsAfter = name == 1 ? 0 : std::stoi(word.substr(1));
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
    const std::string content(inner.GetData(), inner.GetData() + inner.GetSize());
    EXPECT_EQ(content, BYTES.substr(0, content.size()));
}

void RunRows(bool reading, std::initializer_list<bool> alignments, const std::vector<Row>& rows)
{
    for (const bool aligned : alignments) {
        for (const Row& row : rows) {
            Run(row, reading, aligned);
        }
    }
}

TEST(CBufferedStream, ReadsAhead)
{
    RunRows(
        READING, {PLAIN, ALIGNED},
        {
            {"r 0 R 0 r 10 r 20", "Read 16 1, Read 16 1", 30},
            {"r 16 r 16", "Read 16 1, Read 16 1", 32},
            {"F 1 F 40", "Read 16 7, Read 16 7, Read 16 7", 41},
            {"r 10 p 3 c 2 b 15 c -15 b 0 r 16", "Read 16 1", 16}, // within the block
            {"r 10 b 50 r 1", "Read 10 1, Seek 50 0, Read 10 1", 51, 10},
            {"r 10 r 38 p 32 r 16", "Read 16 1, Read 16 1, Read 16 1", 48},
            {"r 32 p 16 c 15 p 0", "Read 16 1, Read 16 1, SetPosition 0", 0},
            {"R 10 r 10 R 10", "Read 16 1, Read 16 1, throws 3, Read 16 1, Read 16 1, throws 3", 4, 16, 4},
            {"r 50", "Read 16 1, Read 16 1, Read 16 1, Read 16 1", 20, 16, 20},
            {"r 12 r 14", "Read 16 1, Read 16 1, Read 16 1, Read 16 1, Read 16 1, Read 16 1", 26, 16, 100, 5},
            {"r 2 p 1", "Read 1 1, Read 1 1", 1, 0}, // a block of 1
            {"w 1 w 0 f 0", "throws 5, throws 5", 0},
            {"!Read r 5 r 5", "Read 16 1, throws 1, Read 16 1", 5},
            {"r 10 !Read r 10 p 0 r 1", "Read 16 1, Read 16 1, throws 1", 1},
            {"r 10 !Read r 23 r 23", "Read 16 1, Read 16 1, throws 1, Read 16 1, Read 16 1", 33},
            {"r 10 !Seek b 48 r 1 p 0", "Read 16 1, Seek 48 0, throws 1", 0},
            {"r 10 !SetPosition p 48 r 1", "Read 16 1, SetPosition 48, throws 1", 11},
            {"r 10 !GetPosition c 50 r 1", "Read 16 1, GetPosition, throws 1", 11},
        });
}

TEST(CBufferedStream, MovesWhatItReads)
{
    RunRows(
        READING, {PLAIN},
        {
            {"r 10 p 16 r 1", "Read 16 1, SetPosition 16, Read 16 1", 17},
            {"r 10 !1Read r 40 p 10 r 20",
             "Read 16 1, Read 16 1, Read 16 1, throws 1, SetPosition 10, Read 16 1, Read 16 1", 30},
            {"r 10 !1Read r 12 p 8 r 1",
             "Read 16 1, Read 16 1, Read 16 1, Read 16 1, throws 1, SetPosition 8, Read 16 1", 9, 16, 100, 5},
            {"r 10 c 6 r 1", "Read 16 1, GetPosition, Seek 0 1, Read 16 1", 17},
            {"r 10 c -11 r 1", "Read 16 1, GetPosition, Seek -17 1, Read 16 1", 1},
            {"r 20 b 15 r 1", "Read 16 1, Read 16 1, Seek 15 0, Read 16 1", 16},
            {"r 10 e -95 r 1", "Read 16 1, Seek -95 2, Read 16 1", 6}, // never within the block
            {"r 10 x 3 r 1", "Read 16 1, Seek 3 3, Read 16 1", 17},
            {"p 4294967295 c 2 r 1", "SetPosition 4294967295, GetPosition, Seek -99 1, Read 16 1", 2},
            {"r 10 c 2147483647", "Read 16 1, GetPosition, Seek 2147483641 1", 100},
        });
    RunRows(
        READING, {ALIGNED},
        {
            {"p 37 r 1 p 33 c -1 r 1", "SetPosition 32, Read 16 1", 33},
            {"p 37 p 33 r 1", "SetPosition 32, SetPosition 32, Read 16 1", 34},
            {"p 37 r 40", "SetPosition 32, Read 16 1, Read 16 1, Read 16 1", 77},
            {"p 37 c 3 r 1", "SetPosition 32, GetPosition, Seek 0 1, Read 16 1", 41},
            {"b 37 r 1", "Seek 32 0, Read 16 1", 38},
            {"e -5 r 1", "GetSize, Seek -20 2, Read 16 1", 96},
            {"x 5", "GetSize, Seek -4 3", 9},
            {"p 107 r 1 R 1", "SetPosition 96, Read 16 1, Read 16 1, Read 16 1, throws 3", 107},
            {"p 4294967295", "SetPosition 4294967280", UINT32_MAX},
            {"p 37 !Read r 1 r 1", "SetPosition 32, Read 16 1, throws 1, Read 16 1", 38},
            {"r 10 !GetSize e 0 r 1", "Read 16 1, GetSize, throws 1", 11},
            {"p 13 r 4 r 1", "SetPosition 8, Read 8 1, Read 8 1, Read 8 1, Read 8 1", 18, 8, 100, 3},
            {"p 13 r 9", "SetPosition 8, Read 8 1, Read 8 1, Read 8 1, Read 8 1, Read 8 1", 22, 8, 100, 3},
        });
}

TEST(CBufferedStream, CollectsWhatItWrites)
{
    RunRows(WRITING, {PLAIN, ALIGNED},
            {
                {"w 40", "Write 16, Write 16", 40},
                {"w 16 w 0", "", 16},
                {"w 16 f 0 f 0", "Write 16, Write 0", 16},
                {"w 5 c 0", "", 5},
                {"w 5 e 0 w 1", "Write 5, Seek 0 2", 6},
                {"w 5 c -1 w 1", "Write 5, Seek -1 1", 5},
                {"w 5 x 7 x 0", "Write 5, Seek 7 3, Write 0, Seek 0 3", 5},
                {"w 5 p 2 w 20", "Write 5, SetPosition 2, Write 16", 22},
                {"p 0", "Write 0, SetPosition 0", 0},
                {"w 3", "Write 1, Write 1", 3, 0},
                {"r 1 r 0 R 0", "throws 5, throws 5, throws 5", 0},
                {"w 5 !Write f 0 f 0", "Write 5, throws 1, Write 5", 5},
                {"w 10 !Write w 40 w 1", "Write 16, throws 1, Write 16", 17},
                {"w 5 !Write p 2 p 2", "Write 5, throws 1, Write 5, SetPosition 2", 2},
                {"w 5 !SetPosition p 2 w 1", "Write 5, SetPosition 2, throws 1", 6},
                {"w 5 !Seek b 2 w 1", "Write 5, Seek 2 0, throws 1", 6},
            });
}

TEST(CBufferedStream, RefusesNull)
{
    std::string log;
    RecordingStream inner(log);
    CBufferedStream reader(&inner, READING, false, 16, PLAIN);
    CBufferedStream writer(&inner, WRITING, false, 16, PLAIN);
    EXPECT_EQ(reader.Read(nullptr, 0, 0), 0u);
    writer.Write(nullptr, 0);
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[&] { reader.Read(nullptr, 5, 1); },
         "Read operation on stream a %s recording with NULL destination buffer!"},
        {[&] { writer.Write(nullptr, 5); },
         "Write operation on stream a %s recording with NULL source buffer!"},
        {[&] { reader.Write(nullptr, 5); },
         "Read/write Operation on file \"a %s recording\" is not allowed by its mode!"},
        {[] { delete CreateBufferedStream(nullptr, READING, true, 16, PLAIN); }, "Stream pointer is NULL!"},
    };
    for (const auto& [refused, message] : rows) {
        try {
            refused();
            ADD_FAILURE() << message;
        } catch (const CException& exception) {
            EXPECT_STREQ(exception.message.CStr(), message);
        }
    }
    EXPECT_EQ(log, "");
}

TEST(CBufferedStream, CountsFromWhereTheInnerStreamStands)
{
    CMemoryStream inner;
    inner.Write(BYTES.data(), 100);
    inner.SetPosition(50);
    CBufferedStream stream(&inner, READING, false, 16, PLAIN);
    char byte = 0;
    stream.Read(&byte, 1, 0);
    EXPECT_EQ(byte, BYTES[50]);
    EXPECT_EQ(stream.GetPosition(), 1u);
}

TEST(CStreamBuffer, MovesItsBytesToTheFront)
{
    CStreamBuffer buffer(16, WRITING);
    const auto* source = reinterpret_cast<const std::uint8_t*>(BYTES.data());
    std::uint8_t taken[16] = {};
    std::uint8_t* destination = taken;
    std::uint32_t wanted[] = {10, 4, 8, 20, 9};
    EXPECT_EQ(buffer.Put(source, wanted[0]), 10u);
    EXPECT_EQ(buffer.Take(destination, wanted[1]), 4u);
    EXPECT_EQ(buffer.Put(source, wanted[2]), 6u); // up to the block's end
    buffer.Compact();
    EXPECT_EQ(buffer.Put(source, wanted[3]), 4u);
    EXPECT_EQ(buffer.Take(destination, wanted[4]), 9u);
    CMemoryStream rest;
    buffer.WriteTo(rest);
    EXPECT_EQ(std::string(taken, destination) + std::string(rest.GetData(), rest.GetData() + rest.GetSize()),
              BYTES.substr(0, 20));
    EXPECT_EQ(buffer.GetStart(), 0u); // from the front again
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
        auto* const inner = new RecordingStream(log);
        CBufferedStream* stream = nullptr;
        points.Try([&] { stream = CreateBufferedStream(inner, READING, true, 16, PLAIN); });
        EXPECT_EQ(log, "");
        delete stream;
        if (stream == nullptr) {
            delete inner;
        }
    }
}

} // namespace
} // namespace Plinth
