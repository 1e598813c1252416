#include "Plinth/Streams/Exceptions.h"
#include "Platform/Win32.h"
#include "Plinth/Debug/Allocation.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"

#include <gtest/gtest.h>

#include <string>

namespace Plinth {
namespace {

TEST(CFileException, ComposesItsMessage)
{
    struct Row {
        std::uint32_t kind;
        const char* without;
        const char* with;
    };
    const Row rows[] = {
        {0, "A file error occurred!", "A file error occurred (\"x\")!"},
        {1, "A file error occurred!", "A file error occurred (\"x\")!"},
        {2, "File  not found!", "File \"x\" not found!"},
        {3, "End of file!", "End of file \"x\"!"},
        {4, "File  is invalid!", "File \"x\" is invalid!"},
        {5, "Read/write Operation on file  is not allowed by its mode!",
         "Read/write Operation on file \"x\" is not allowed by its mode!"},
        {99, "A file error occurred!", "A file error occurred (\"x\")!"},
    };
    for (const Row& row : rows) {
        const auto kind = static_cast<CFileError>(row.kind);
        EXPECT_STREQ(CFileException(kind).message.CStr(), row.without);
        EXPECT_STREQ(CFileException(kind, "").message.CStr(), row.without);
        for (const CFileException& made : {CFileException(kind, CString("x")), CFileException(kind, "x")}) {
            EXPECT_STREQ(made.message.CStr(), row.with);
            EXPECT_STREQ(made.fileName.CStr(), "x");
            EXPECT_TRUE(made.kind == kind && made.source == nullptr && made.line == 0) << row.kind;
        }
    }
    const HeapWatch watch({.largest = 255}); // it asks for a room of 256 first
    EXPECT_STREQ(CFileException(FILE_ERROR_GENERIC).message.CStr(), "A file error occurred!");
    EXPECT_EQ(watch.Failures(), 1u);
}

TEST(CFileException, IsCopiedAsItIs)
{
    CFileException exception(FILE_ERROR_NOT_FOUND, "x");
    exception.message = "changed";
    const CFileException copy(exception);
    exception.message = "again";
    EXPECT_STREQ(copy.message.CStr(), "changed");
    EXPECT_STREQ(copy.fileName.CStr(), "x");
    EXPECT_EQ(copy.kind, FILE_ERROR_NOT_FOUND);
}

TEST(FileErrors, FollowFromThePlatformsCodes)
{
    for (DWORD code = 0; code < 2000; ++code) {
        CFileError expected = code == 0 ? FILE_ERROR_NONE : FILE_ERROR_GENERIC;
        if (code == 2 || code == 3 || code == 6 || code == 18 || code == 107) {
            expected = FILE_ERROR_NOT_FOUND;
        } else if (code == 38) {
            expected = FILE_ERROR_END_OF_FILE;
        }
        EXPECT_EQ(FileErrorFromWin32(code), expected) << code;
    }
}

TEST(CException, IsThrownWithItsMessage)
{
    static void (*const unchecked)(const char* format, ...) = ThrowException;
    const std::pair<void (*)(), std::string> rows[] = {
        {[] { throw CException(static_cast<const char*>(nullptr)); }, ""},
        {[] { throw CException(CString("text"), "place", 7); }, "text place 7"},
        {[] { ThrowException("%s: %d", "a", 7); }, "a: 7"},
        {[] { ThrowException("%*d", 4094, 1); }, std::string(4093, ' ') + "1"},
        {[] { ThrowException("%5000d", 1); }, std::string(4094, ' ')},
        {[] { unchecked(nullptr); }, ""},
        {[] { ThrowFileError(3, "x"); }, "File \"x\" not found! of a file"},
        {[] { ThrowFileError(5, ""); }, "A file error occurred! of a file"},
        {[] { ThrowEndOfFile("x"); }, "End of file \"x\"! of a file"},
        {[] { ThrowOutOfMemory(); }, "Out of memory! FN 68"},
    };
    for (const auto& [throws, expected] : rows) {
        std::string thrown = "nothing";
        try {
            throws();
        } catch (const CException& exception) {
            thrown = exception.message.CStr();
            thrown += exception.source != nullptr ? std::string(" ") + exception.source : "";
            thrown += exception.line != 0 ? ' ' + std::to_string(exception.line) : "";
            thrown += dynamic_cast<const CFileException*>(&exception) != nullptr ? " of a file" : "";
        }
        EXPECT_EQ(thrown, expected);
    }
}

TEST(AllocateMemoryOrThrow, TracesAndThrowsWithoutMemory)
{
    const TraceCapture trace;
    FreeMemory(AllocateMemoryOrThrow(0));
    FreeMemory(AllocateMemoryOrThrow(10));
    EXPECT_EQ(trace.Text(), "");
    const HeapWatch watch({.largest = 1000});
    EXPECT_THROW(FreeMemory(AllocateMemoryOrThrow(1001)), CException);
    EXPECT_EQ(trace.Text().find("\nFailed to allocate 1001 bytes!\n\nMemory load "), 0u) << trace.Text();
}

} // namespace
} // namespace Plinth
