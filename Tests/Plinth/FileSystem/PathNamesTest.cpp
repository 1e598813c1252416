#include "Plinth/FileSystem/PathNames.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"

#include <gtest/gtest.h>

#include <string>

namespace Plinth {
namespace {

struct Row {
    const char* path;
    std::string directory;
    std::string title;
    std::string extension;
};

const Row ROWS[] = {
    {"C:\\a\\b.tar.gz", "C:\\a\\", "b.tar", ".gz"},
    {"C:x", "C:", "x", ""},
    {"a/.cfg", "a/", "", ".cfg"},
    {"a.b/c", "a.b/", "c", ""},
    {"file.", "", "file", "."},
    {"..", "", ".", "."},
    {"", "", "", ""},
    {nullptr, "", "", ""},
};

using Function = char* (*)(char*, std::uint32_t, const char*);

TEST(PathNames, ArePartsOfAPath)
{
    for (const Row& row : ROWS) {
        const std::pair<Function, std::string> forms[] = {{GetPathDirectory, row.directory},
                                                          {GetPathFileName, row.title + row.extension},
                                                          {GetPathExtension, row.extension},
                                                          {GetPathTitle, row.title}};
        for (const auto& [function, part] : forms) {
            for (std::uint32_t size = 0; size <= part.size() + 2; ++size) {
                std::string buffer(part.size() + 3, '#');
                EXPECT_EQ(function(buffer.data(), size, row.path), buffer.data());
                EXPECT_TRUE(size == 0 || buffer.substr(0, buffer.find('\0')) == part.substr(0, size - 1))
                    << part << size;
                EXPECT_EQ(buffer.substr(size), std::string(buffer.size() - size, '#')) << part << size;
            }
            EXPECT_EQ(function(nullptr, 9, row.path), nullptr);
        }
        CString title(row.path);
        CString directory(row.path);
        EXPECT_EQ(GetPathTitle(title, title).CStr(), row.title); // the path may be the result
        EXPECT_EQ(GetPathDirectory(directory, directory).CStr(), row.directory);
    }
    const TraceCapture trace;
    CString part("before");
    const CString path("a directory that is longer/and a title that is, too");
    const HeapWatch watch({.ordinal = 1, .lasting = true});
    EXPECT_STREQ(GetPathDirectory(part, path).CStr(), "before");
    EXPECT_STREQ(GetPathTitle(part, path).CStr(), "before");
}

} // namespace
} // namespace Plinth
