#include "Plinth/FileSystem/CFileStream.h"
#include "Plinth/FileSystem/CWindowsFileSystem.h"
#include "Plinth/Streams/Exceptions.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace Plinth {
namespace {

std::string log; // what file system and streams are told

struct InnerStream : IStream {
    ~InnerStream() override { log += "closed "; }

    void Tell(const char* operation, std::uint64_t a, std::uint64_t b = 0)
    {
        log += operation + std::to_string(a) + "," + std::to_string(b) + " ";
    }
    CString GetName() override { return "name"; }
    std::uint64_t GetTime() override { return 0x123456789; }
    std::uint32_t GetSize() override { return 11; }
    void SetSize(std::uint32_t size) override { Tell("SetSize", size); }
    std::uint32_t GetPosition() override { return 12; }
    void SetPosition(std::uint32_t position) override { Tell("SetPosition", position); }
    void SetTime(const std::uint64_t& time) override { Tell("SetTime", time); }
    std::uint32_t Read(void* buffer, std::uint32_t count, std::uint32_t flags) override
    {
        *static_cast<char*>(buffer) = 'r';
        Tell("Read", count, flags);
        return 13;
    }
    std::uint32_t Seek(std::int32_t offset, std::uint32_t origin) override
    {
        Tell("Seek", static_cast<std::uint32_t>(offset), origin);
        return 14;
    }
    void Write(const void* buffer, std::uint32_t count) override
    {
        Tell("Write", count, *static_cast<const std::uint8_t*>(buffer));
    }
};

struct RecordingFileSystem : CWindowsFileSystem {
    IStream* OpenStream(const CString& path, std::uint32_t mode) override
    {
        log += path.CStr() + (":" + std::to_string(mode)) + " ";
        if (path == CString("throws")) {
            throw CFileException(FILE_ERROR_NOT_FOUND, path);
        }
        return path == CString("missing") ? nullptr : new InnerStream;
    }
};

// All that a stream answers, one after the other.
std::string Answers(CFileStream& stream)
{
    char byte = '-';
    const std::uint32_t numbers[] = {stream.GetSize(), stream.GetPosition(), stream.Read(&byte, 10, 0),
                                     stream.Seek(-2, 7)};
    stream.SetSize(1);
    stream.SetPosition(2);
    stream.SetTime(0x300000000);
    stream.Write("w", 4);
    std::string answers = stream.GetName().CStr() + std::to_string(stream.GetTime()) + byte;
    for (const std::uint32_t number : numbers) {
        answers += " " + std::to_string(number);
    }
    return answers;
}

TEST(CFileStream, HandsOnWhileItIsOpen)
{
    log.clear();
    RecordingFileSystem files;
    CFileStream stream(&files);
    EXPECT_EQ(Answers(stream), "0- 0 0 0 0");
    EXPECT_TRUE(stream.Open("a", MODE_DEFAULT));
    EXPECT_NE(dynamic_cast<InnerStream*>(stream.GetStream()), nullptr);
    EXPECT_EQ(Answers(stream), "name4886718345r 11 12 13 14");
    stream.Close();
    stream.Close();
    EXPECT_EQ(stream.GetStream(), nullptr);
    EXPECT_EQ(Answers(stream), "0- 0 0 0 0");
    EXPECT_EQ(log, "a:4294967295 Read10,0 Seek4294967294,7 SetSize1,0 SetPosition2,0 "
                   "SetTime12884901888,0 Write4,119 closed ");
}

TEST(CFileStream, IsClosedBeforeItOpens)
{
    std::optional<RecordingFileSystem> files(std::in_place);
    CFileStream stream(&*files);
    for (const char* name : {"throws", "missing"}) {
        log.clear();
        stream.Open("a", 1);
        try {
            EXPECT_FALSE(stream.Open(name, 2));
            EXPECT_STREQ(name, "missing");
        } catch (const CFileException& exception) {
            EXPECT_STREQ(exception.fileName.CStr(), "throws");
        }
        EXPECT_EQ(log, std::string("a:1 closed ") + name + ":2 ");
        EXPECT_EQ(stream.GetStream(), nullptr);
        EXPECT_EQ(Answers(stream), "0- 0 0 0 0");
    }
    stream.Open("a", 1);
    files.reset(); // the stream ends without it
}

} // namespace
} // namespace Plinth
