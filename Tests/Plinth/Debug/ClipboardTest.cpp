#include "Plinth/Debug/Clipboard.h"

#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <string>

namespace Plinth {
namespace {

std::string Paste(std::uint32_t size)
{
    char text[32] = "###############";
    EXPECT_EQ(PasteTextFromClipboard(text, size), size != 0);
    return text;
}

TEST(Clipboard, KeepsTheLastText)
{
    EXPECT_TRUE(CopyTextToClipboard("first"));
    EXPECT_TRUE(CopyTextToClipboard("a\r\nb\xE9"));
    EXPECT_EQ(Paste(32), "a\r\nb\xE9");
    EXPECT_EQ(Paste(3), "a\r");
    EXPECT_EQ(Paste(1), "");
    EXPECT_EQ(Paste(0), "###############");
    EXPECT_FALSE(PasteTextFromClipboard(nullptr, 5));
    EXPECT_TRUE(CopyTextToClipboard(nullptr));
    EXPECT_EQ(Paste(32), "");
    ASSERT_TRUE(CopyTextToClipboard("x"));
    ASSERT_TRUE(OpenClipboard(nullptr));
    EmptyClipboard();
    CloseClipboard();
    EXPECT_EQ(Paste(32), "");
}

} // namespace
} // namespace Plinth
