// Formats that the runtime refuses: the text stays as it was.
#include "Platform/Host/Gate.h"
#include "Plinth/Text/CTextBuilder.h"
#include "Plinth/Text/CWideString.h"
#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

namespace Plinth {
namespace {

TEST(RefusedFormats, AppendNothing)
{
    const Platform::Host::GateRule refusal{.ordinal = 1, .lasting = true};
    for (const char* text : {"", "abc", "1234567"}) { // the last one fills its block
        CString string(8u);
        string = text;
        CWideString wide(text);
        char buffer[64];
        char builderBuffer[64];
        CTextBuilder builder(builderBuffer, sizeof(builderBuffer));
        builder.Append(text);
        CopyText(buffer, sizeof(buffer), text);
        {
            const Platform::Host::GateWatch watch(refusal);
            string.AppendFormat("%d", 1);
            wide.AppendFormat(WIDE("%d"), 1);
            builder.AppendFormat("%d", 1);
            AppendFormatText(buffer, sizeof(buffer), "%d", 1);
        }
        EXPECT_STREQ(string.CStr(), text);
        EXPECT_EQ(string.GetLength(), std::strlen(text));
        EXPECT_EQ(ToUtf8(wide), text);
        EXPECT_STREQ(builder.GetText(), text);
        EXPECT_STREQ(buffer, text);
    }
}

} // namespace
} // namespace Plinth
