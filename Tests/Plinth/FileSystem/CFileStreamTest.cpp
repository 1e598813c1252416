#include "Plinth/FileSystem/CFileStream.h"
#include "Plinth/FileSystem/CWindowsFileSystem.h"
#include "Tests/Plinth/Streams/RecordingStream.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace Plinth {
namespace {

std::string log; // what file system and streams are told

struct RecordingFileSystem : CWindowsFileSystem {
    IStream* OpenStream(const CString& path, std::uint32_t mode) override
    {
        log += (log.empty() ? "" : ", ") + std::string(path.CStr()) + ':' + std::to_string(mode);
        if (path == CString("throws")) {
            throw CFileException(FILE_ERROR_NOT_FOUND, path);
        }
        return path == CString("missing") ? nullptr : new RecordingStream(log);
    }
};

// All that a stream answers, one after the other.
std::string Answers(CFileStream& stream)
{
    char byte = '-';
    stream.Write("written", 7);
    std::string answers = stream.GetName().CStr();
    for (const std::uint64_t number :
         {stream.GetTime(), std::uint64_t{stream.GetSize()}, std::uint64_t{stream.Seek(-2, 2)},
          std::uint64_t{stream.Read(&byte, 1, 3)}, std::uint64_t{stream.GetPosition()}}) {
        answers += ' ' + std::to_string(number);
    }
    stream.SetSize(1);
    stream.SetPosition(2);
    stream.SetTime(0x300000000);
    return answers + byte;
}

TEST(CFileStream, HandsOnWhileItIsOpen)
{
    log.clear();
    RecordingFileSystem files;
    CFileStream stream(&files);
    EXPECT_EQ(Answers(stream), " 0 0 0 0 0-");
    EXPECT_TRUE(stream.Open("a", MODE_DEFAULT));
    EXPECT_NE(dynamic_cast<RecordingStream*>(stream.GetStream()), nullptr);
    EXPECT_EQ(Answers(stream), std::string(RecordingStream::NAME) + " 18446744073709551615 7 5 1 6e");
    stream.Close();
    stream.Close();
    EXPECT_EQ(Answers(stream), " 0 0 0 0 0-");
    EXPECT_EQ(log, "a:4294967295, Write 7, GetTime, GetSize, Seek -2 2, Read 1 3, GetPosition, SetSize 1, "
                   "SetPosition 2, SetTime 12884901888, delete");
}

TEST(CFileStream, IsClosedBeforeItOpens)
{
    std::optional<RecordingFileSystem> files(std::in_place);
    CFileStream stream(&*files);
    for (const std::string name : {"throws", "missing"}) {
        log.clear();
        stream.Open("a", 1);
        if (name == "throws") {
            EXPECT_THROW(stream.Open("throws", 2), CFileException);
        } else {
            EXPECT_FALSE(stream.Open("missing", 2));
        }
        EXPECT_EQ(log, "a:1, delete, " + name + ":2");
        EXPECT_EQ(stream.GetStream(), nullptr);
    }
    stream.Open("a", 1);
    files.reset(); // the stream ends without it
}

} // namespace
} // namespace Plinth
