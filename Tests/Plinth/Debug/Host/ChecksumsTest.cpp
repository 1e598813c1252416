#include "Plinth/Debug/CrcFolding.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace Plinth {
namespace {

// As the system itself tells of the processor.
TEST(Checksums, AreFoldedWhereTheProcessorMultiplies)
{
    std::ifstream file("/proc/cpuinfo");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const auto has = [&text](const char* flag) { return text.find(flag) != std::string::npos; };
    EXPECT_EQ(NarrowFolding<BitOrder::LOW_FIRST>() != nullptr, has(" pclmulqdq") && has(" sse4_1"));
    EXPECT_EQ(WideFolding<BitOrder::LOW_FIRST>() != nullptr, has(" vpclmulqdq") && has(" avx2"));
}

} // namespace
} // namespace Plinth
