#include "Plinth/Streams/Exceptions.h"
#include "Platform/Win32.h"
#include "Plinth/Debug/Allocation.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace Plinth {
namespace {

// What the action throws; only a CException, and by no other type.
std::string MessageOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const CException& exception) {
        EXPECT_EQ(exception.source, nullptr);
        EXPECT_EQ(exception.line, 0u);
        return exception.message.CStr();
    }
    return "nothing was thrown";
}

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
        for (const CFileException& exception :
             {CFileException(kind, CString("x")), CFileException(kind, "x")}) {
            EXPECT_STREQ(exception.message.CStr(), row.with);
            EXPECT_STREQ(exception.fileName.CStr(), "x");
            EXPECT_EQ(exception.kind, kind);
            EXPECT_EQ(exception.source, nullptr);
            EXPECT_EQ(exception.line, 0u);
        }
    }
}

TEST(CFileException, IsCopiedAsItIs)
{
    CFileException exception(FILE_ERROR_NOT_FOUND, "x");
    exception.message = "changed";
    const CFileException copy(exception);
    EXPECT_STREQ(copy.message.CStr(), "changed");
    EXPECT_STREQ(copy.fileName.CStr(), "x");
    EXPECT_EQ(copy.kind, exception.kind);
    exception.message = "again";
    EXPECT_STREQ(copy.message.CStr(), "changed");
}

TEST(CFileException, AsksForARoomOf256First)
{
    const HeapWatch watch({.largest = 255});
    const CFileException exception(FILE_ERROR_GENERIC);
    EXPECT_EQ(watch.Failures(), 1u);
    EXPECT_STREQ(exception.message.CStr(), "A file error occurred!");
}

TEST(CException, KeepsWhereItCameFrom)
{
    const CException exception(CString("text"), "place", 7);
    EXPECT_STREQ(exception.source, "place");
    EXPECT_EQ(exception.line, 7u);
    EXPECT_STREQ(CException(static_cast<const char*>(nullptr)).message.CStr(), "");
}

TEST(FileErrors, FollowFromThePlatformsCodes)
{
    for (DWORD code = 0; code < 2000; ++code) {
        CFileError expected = FILE_ERROR_GENERIC;
        if (code == 0) {
            expected = FILE_ERROR_NONE;
        } else if (code == 2 || code == 3 || code == 6 || code == 18 || code == 107) {
            expected = FILE_ERROR_NOT_FOUND;
        } else if (code == 38) {
            expected = FILE_ERROR_END_OF_FILE;
        }
        EXPECT_EQ(FileErrorFromWin32(code), expected) << code;
    }
    EXPECT_EQ(MessageOf([] { ThrowFileError(3, "x"); }), "File \"x\" not found!");
    EXPECT_EQ(MessageOf([] { ThrowFileError(5, ""); }), "A file error occurred!");
    EXPECT_EQ(MessageOf([] { ThrowEndOfFile("x"); }), "End of file \"x\"!");
    EXPECT_THROW(ThrowEndOfFile("x"), CFileException);
}

TEST(ThrowException, FormatsItsMessage)
{
    static void (*const unchecked)(const char* format, ...) = ThrowException;
    EXPECT_EQ(MessageOf([] { ThrowException("%s: %d", "a", 7); }), "a: 7");
    EXPECT_EQ(MessageOf([] { ThrowException("%*d", 4094, 1); }), std::string(4093, ' ') + "1");
    EXPECT_EQ(MessageOf([] { ThrowException("%5000d", 1); }), std::string(4094, ' '));
    EXPECT_EQ(MessageOf([] { unchecked(nullptr); }), "");
}

TEST(AllocateMemoryOrThrow, TracesAndThrowsWithoutMemory)
{
    const TraceCapture trace;
    FreeMemory(AllocateMemoryOrThrow(0));
    FreeMemory(AllocateMemoryOrThrow(10));
    EXPECT_EQ(trace.Text(), "");
    const HeapWatch watch({.largest = 1000});
    try {
        FreeMemory(AllocateMemoryOrThrow(1001));
        ADD_FAILURE() << "nothing was thrown";
    } catch (const CFileException&) {
        ADD_FAILURE() << "no file is concerned";
    } catch (const CException& exception) {
        EXPECT_STREQ(exception.message.CStr(), "Out of memory!");
        EXPECT_STREQ(exception.source, "FN");
        EXPECT_EQ(exception.line, 68u);
    }
    EXPECT_EQ(trace.Text().find("\nFailed to allocate 1001 bytes!\n\nMemory load "), 0u) << trace.Text();
}

} // namespace
} // namespace Plinth
