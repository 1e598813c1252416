// The platform calls and the heap blocks of the streams over files: their order where it matters, and each of
// them failing in turn; and a disk that is full.
#include "Platform/Host/Gate.h"
#include "Plinth/FileSystem/CFileStream.h"
#include "Plinth/FileSystem/CWindowsFileSystem.h"
#include "Plinth/Streams/CBufferedStream.h"
#include "Plinth/Streams/CWindowsFileStream.h"
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/FailingInTurn.h"
#include "Tests/Support/RegistryKey.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>

namespace Plinth {
namespace {

using Platform::Host::GateWatch;

constexpr std::uint32_t EXISTING = MODE_OPEN_EXISTING | MODE_SHARE_READ | MODE_SHARE_WRITE;
constexpr std::uint32_t READ_WRITE = MODE_READ | MODE_WRITE;

const std::string OLD(100, 'o');
const std::string NEW(100, 'n');
std::string name; // of a file with the old content
char buffer[100];

using S = CWindowsFileStream&;

struct Row {
    void (*run)(S stream);
    std::string calls;
    const char* failing = ""; // the call that fails
};

const Row ROWS[] = {
    {[](S s) { s.Open(name.c_str(), EXISTING | MODE_READ); }, "CloseHandle CreateFileW "},
    {[](S s) { s.Open((name + 'x').c_str(), 0x10113); }, "CloseHandle CreateFileW GetLastError "},
    {[](S s) { s.Open(name.c_str(), 0x10112); }, "CloseHandle CreateFileW GetLastError GetLastError "},
    {[](S s) { s.Close(); }, "CloseHandle "},
    {[](S s) { EXPECT_EQ(s.GetTime(), 0u); }, "GetFileTime ", "GetFileTime"},
    {[](S s) { s.SetTime(5); }, "SetFileTime ", "SetFileTime"},
    {[](S s) { s.GetSize(); }, "GetFileSize GetLastError ", "GetFileSize"},
    {[](S s) { s.SetSize(100); }, "SetFilePointer SetEndOfFile "},
    {[](S s) { s.SetSize(100); }, "SetFilePointer GetLastError ", "SetFilePointer"},
    {[](S s) { s.SetSize(100); }, "SetFilePointer SetEndOfFile GetLastError ", "SetEndOfFile"},
    {[](S s) { s.SetPosition(0x7FFFFFFF); }, "SetFilePointer GetLastError ", "SetFilePointer"},
    {[](S s) { s.SetPosition(0x80000000); }, "SetFilePointer "},
    {[](S s) { s.SetPosition(UINT32_MAX); }, "SetFilePointer GetLastError "},
    {[](S s) { s.SetPosition(UINT32_MAX); }, "SetFilePointer GetLastError GetLastError ", "SetFilePointer"},
    {[](S s) { s.Read(buffer, 5, 0); }, "ReadFile GetLastError ", "ReadFile"},
};

// Each writes the new content, or reads the old one.
const std::pair<const char*, std::uint32_t> SCENARIOS[] = {
    {"file stream", READ_WRITE}, {"buffered writing", MODE_WRITE}, {"buffered reading", MODE_READ}};

void Work(std::uint32_t access, bool& opened)
{
    CWindowsFileSystem files;
    CFileStream stream(&files);
    opened = stream.Open(name.c_str(), EXISTING | access);
    if (opened && access != MODE_READ) {
        stream.SetSize(stream.GetSize());
        stream.SetTime(stream.GetTime());
        stream.SetPosition(40);
        stream.Write(NEW.data(), 60);
        stream.Seek(-100, ORIGIN_END);
        stream.Write(NEW.data(), 40); // a buffered stream writes it in the end
    }
    if (opened && access != MODE_WRITE) {
        EXPECT_EQ(stream.Seek(-10, ORIGIN_END), 90u);
        EXPECT_EQ(stream.Read(buffer, 20, READ_ALLOW_PARTIAL), 10u);
        EXPECT_EQ(std::string(buffer, 10), (access == MODE_READ ? OLD : NEW).substr(90));
    }
}

class StreamCalls : public testing::Test {
protected:
    void Prepare()
    {
        folder_.emplace();
        path_ = folder_->Path() / "file";
        std::ofstream(path_) << OLD;
        name = ToUtf8(ToPlatform(path_));
    }
    // Every byte is the old or the new one, in its place.
    void CheckContent(const char* scenario, std::uint32_t access, bool done) const
    {
        const std::string content = ReadFile(path_);
        const bool writes = access != MODE_READ;
        EXPECT_EQ(content.size(), 100u) << scenario;
        EXPECT_EQ(content.find_first_not_of(writes ? "on" : "o"), std::string::npos) << scenario;
        EXPECT_TRUE(!done || content == (writes ? NEW : OLD)) << scenario;
    }

    std::filesystem::path path_;

private:
    std::optional<ScratchFolder> folder_;
};

TEST_F(StreamCalls, ComeInOrder)
{
    for (const Row& row : ROWS) {
        Prepare();
        CWindowsFileStream stream;
        stream.Open(name.c_str(), EXISTING | READ_WRITE);
        const unsigned ordinal = *row.failing != 0 ? 1 : 0;
        const GateWatch watch({.function = row.failing, .ordinal = ordinal, .error = ERROR_HANDLE_EOF});
        try {
            row.run(stream);
        } catch (const CFileException& exception) {
            EXPECT_TRUE(row.calls.ends_with("GetLastError "));
            EXPECT_EQ(exception.kind, ordinal != 0 ? FILE_ERROR_END_OF_FILE : FILE_ERROR_GENERIC);
            EXPECT_EQ(exception.fileName.CStr(), name);
        }
        std::string calls;
        for (const std::string& call : watch.Calls()) { // conversions of texts apart
            calls += call.find("MultiByte") == std::string::npos ? call + ' ' : "";
        }
        EXPECT_EQ(calls, row.calls) << &row - ROWS;
    }
}

// The flags with which the host has the file open.
unsigned long HostFlagsOf(const std::filesystem::path& path)
{
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code closed; // the iterator's own
        if (std::filesystem::read_symlink(entry.path(), closed) == path) {
            std::ifstream info("/proc/self/fdinfo" / entry.path().filename());
            for (std::string word; info >> word && word != "flags:";) {
            }
            std::string octal;
            info >> octal;
            return std::stoul(octal, nullptr, 8);
        }
    }
    return 0;
}

TEST_F(StreamCalls, WriteThrough)
{
    constexpr unsigned long SYNCHRONOUS = 010000;
    for (const std::uint32_t mode : {0U, MODE_WRITE_THROUGH}) {
        Prepare();
        CWindowsFileStream stream;
        stream.Open(name.c_str(), EXISTING | READ_WRITE | mode);
        const unsigned long flags = HostFlagsOf(path_);
        EXPECT_EQ(flags & 3, 2u); // read and write
        EXPECT_EQ((flags & SYNCHRONOUS) != 0, mode != 0);
    }
}

TEST_F(StreamCalls, FailInTurn)
{
    for (const auto& [scenario, access] : SCENARIOS) {
        unsigned points = 1;
        unsigned reached = 0;
        for (unsigned round = 0; round <= points * 2; ++round) {
            Prepare();
            const TraceCapture trace;
            bool opened = false;
            bool done = true;
            const GateWatch watch(
                {.ordinal = (round + 1) / 2, .error = ERROR_ACCESS_DENIED, .lasting = round % 2 == 0});
            try {
                Work(access, opened);
            } catch (const CFileException&) {
                done = false;
            }
            EXPECT_EQ(watch.Count("CloseHandle"), opened ? 1u : 0u) << scenario << round;
            points = round == 0 ? watch.Points() : points;
            reached += watch.Failed() ? 1U : 0U;
            EXPECT_TRUE(done || watch.Failed()) << scenario;
            // A loss in the end is traced, unless that could not be formatted.
            const bool told = !trace.Text().empty() || watch.Count("_vsnprintf_s") != 0;
            CheckContent(scenario, access, done && !told);
        }
        std::cout << scenario << ": failures at " << reached << " of " << points * 2 << " points\n";
        EXPECT_EQ(reached, points * 2) << scenario;
    }
}

TEST_F(StreamCalls, FailWithoutMemory)
{
    for (const auto& [scenario, access] : SCENARIOS) {
        FailingInTurn points(scenario);
        while (points.Next()) {
            Prepare();
            const TraceCapture trace;
            const int before = CountInheritedHandles();
            bool opened = false;
            const bool done = points.Try([&, used = access] { Work(used, opened); });
            EXPECT_EQ(CountInheritedHandles(), before) << scenario;
            CheckContent(scenario, access, done && trace.Text().empty());
        }
    }
}

// with-small-disk has the disk.
TEST(SmallDisk, KeepsPendingWhatDoesNotFit)
{
    const char* const disk = std::getenv("BRENVAULT_SMALL_DISK");
    if (disk == nullptr) {
        GTEST_SKIP() << "BRENVAULT_SMALL_DISK names no small disk";
    }
    const std::filesystem::path path = std::filesystem::path(disk) / "file";
    const std::filesystem::path ballast = std::filesystem::path(disk) / "ballast";
    std::ofstream(ballast) << std::string(65536, 'b');
    const int handles = CountInheritedHandles();
    const TraceCapture trace;
    constexpr std::uint32_t BLOCK = 5000; // no multiple of the disk's own, so of the last one a part fits
    std::string text;
    while (text.size() < 300000) {
        text += std::to_string(text.size()) + ' ';
    }
    for (const bool makesRoom : {true, false}) {
        CWindowsFileStream file;
        file.Open(ToUtf8(ToPlatform(path)).c_str(), MODE_CREATE_ALWAYS | MODE_WRITE);
        CBufferedStream buffered(&file, false, false, BLOCK, false);
        std::uint32_t flushed = 0;
        const auto writeAll = [&] {
            for (std::size_t i = 0; i < text.size(); i += 1000) {
                buffered.Write(text.data() + i, 1000);
                flushed = file.GetPosition();
            }
        };
        EXPECT_THROW(writeAll(), CFileException);
        EXPECT_EQ(buffered.GetPosition(), flushed + BLOCK);
        EXPECT_THROW(buffered.Flush(), CFileException);
        EXPECT_EQ(file.GetPosition(), flushed);
        EXPECT_TRUE(ReadFile(path).starts_with(text.substr(0, flushed)));
        if (makesRoom) {
            std::filesystem::remove(ballast);
            buffered.Flush();
            EXPECT_TRUE(ReadFile(path) == text.substr(0, flushed + BLOCK));
        }
        EXPECT_EQ(trace.Text(), "");
    }
    EXPECT_NE(trace.Text().find("A file error occurred"), std::string::npos);
    EXPECT_EQ(CountInheritedHandles(), handles);
}

} // namespace
} // namespace Plinth
