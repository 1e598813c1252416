#include "Plinth/Config/CIniFile.h"
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Plinth/Config/IniDocument.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/FailingInTurn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <random>
#include <string>
#include <tuple>

namespace Plinth {
namespace {

TEST(CIniFile, AnswersWhatIsMissingByTheDefault)
{
    CIniFile document;
    document.SetString("a", "k", "value");
    const CString fallback("  as it is ");
    const char* const missing[][2] = {{"b", "k"},  {"a", "l"}, {"A", "k"},        {"a", "K"},
                                      {"a ", "k"}, {"a", ""},  {nullptr, "k"},    {"a", nullptr},
                                      {"a", "k "}, {"", "k"},  {nullptr, nullptr}};
    for (const auto& [section, key] : missing) {
        EXPECT_FALSE(document.HasKey(section, key));
        EXPECT_EQ(document.GetInt(section, key, 42), 42);
        EXPECT_EQ(document.GetFloat(section, key, 1.5F), 1.5F);
        EXPECT_EQ(document.GetValue(section, key), CString());
        EXPECT_EQ(document.GetString(section, key, fallback), fallback);
    }
    EXPECT_TRUE(document.HasKey("a", "k"));
    EXPECT_STREQ(document.GetString("a", "k", fallback).CStr(), "value");
}

TEST(CIniFile, ConvertsTexts)
{
    const std::tuple<const char*, const char*, int, float> rows[] = {
        {"12abc", "12abc", 12, 12.0F},
        {"info", "info", 0, 0.0F},
        {" 7", "7", 7, 7.0F},
        {" a b ", "a b", 0, 0.0F},
        {"   ", "   ", 0, 0.0F},
        {"", "", 0, 0.0F},
        {"\t-5\t", "\t-5\t", -5, -5.0F},
        {"+3.75", "+3.75", 3, 3.75F},
        {"-.5e1", "-.5e1", 0, -5.0F},
        {"2147483647", "2147483647", INT_MAX, 2147483648.0F},
    };
    CIniFile document;
    for (const auto& [value, trimmed, integer, number] : rows) {
        document.SetString("", "", value);
        EXPECT_STREQ(document.GetValue("", "").CStr(), trimmed);
        EXPECT_STREQ(document.GetString("", "", "default").CStr(), trimmed);
        EXPECT_EQ(document.GetInt("", "", 42), integer) << value;
        EXPECT_EQ(document.GetFloat("", "", 42.0F), number) << value;
    }
    for (const int value : {-5, 0, INT_MAX, INT_MIN}) {
        document.SetInt("s", "k", value);
        EXPECT_EQ(document.GetValue("s", "k").CStr(), std::to_string(value));
    }
    for (const float value : {0.25F, 1.5F, -0.0F, 0.1F, -FLT_MAX}) {
        document.SetFloat("s", "k", value);
        EXPECT_EQ(document.GetValue("s", "k").CStr(), std::to_string(value)); // of six places
    }
}

TEST(CIniFile, IgnoresNullArguments)
{
    CIniFile document;
    document.SetString(nullptr, "k", "v");
    document.SetString("s", nullptr, "v");
    document.SetString("s", "k", nullptr);
    document.SetInt("s", nullptr, 1);
    document.SetFloat(nullptr, "k", 1.0F);
    ExactStream text("");
    document.WriteText(text);
    EXPECT_EQ(text.GetCapacity(), 0u); // no section either
}

TEST(CIniFileImpl, RefusesATextPast32Bits)
{
    const TraceCapture trace;
    CIniFileImpl document;
    document.SetValue(document.AddSection("s"), "key", "value");
    const PlainIni before = ContentOf(document);
    document.textSize = UINT32_MAX - 8;
    KeyMap& section = document.AddSection("s");
    EXPECT_THROW(document.AddSection("new"), CException);
    EXPECT_THROW(document.SetValue(section, "k", "abc"), CException);
    EXPECT_THROW(document.SetValue(section, "key", "value and nine"), CException);
    EXPECT_EQ(document.textSize, UINT32_MAX - 8);
    EXPECT_EQ(ContentOf(document), before);
    EXPECT_NE(trace.Text().find("Failed to allocate 4294967295 bytes!"), std::string::npos);
    document.SetValue(section, "k", "ab");
    EXPECT_EQ(document.textSize, UINT32_MAX);
}

// Names that fill many leaves, in every order, with common beginnings that change.
TEST(CIniFileImpl, HoldsNamesInOrder)
{
    std::vector<std::string> names;
    for (int i = 0; i < 1500; ++i) {
        names.push_back("a long common beginning " + std::to_string(i));
        names.push_back(std::string(static_cast<std::size_t>(i % 40), 'x') + std::to_string(i));
        names.emplace_back(static_cast<std::size_t>(i % 300), '\xFF');
    }
    std::mt19937 random(7);
    for (int order = 0; order < 6; ++order) {
        if (order == 1) {
            std::sort(names.begin(), names.end());
        } else if (order == 2) {
            std::reverse(names.begin(), names.end());
        } else if (order > 2) {
            std::shuffle(names.begin(), names.end(), random);
        }
        CIniFileImpl document;
        PlainIni expected;
        for (const std::string& name : names) {
            const std::string value = std::to_string(expected["s"].size());
            EXPECT_EQ(document.FindValue("s", name) != nullptr, expected["s"].contains(name));
            document.SetValue(document.AddSection("s"), name, value);
            expected["s"][name] = value;
            document.SetValue(document.AddSection(name), "k", value);
            expected[name]["k"] = value;
        }
        EXPECT_EQ(ContentOf(document), expected) << order;
        EXPECT_EQ(WrittenText(document), WritePlainIni(expected)) << order; // in order
        EXPECT_EQ(document.textSize, LargestPlainIniText(expected));        // a replaced value counts once
        for (const auto& [name, value] : expected["s"]) {
            EXPECT_EQ(document.FindValue("s", name)->CStr(), value);
            EXPECT_EQ(document.FindValue("s", name + "!"), nullptr);
        }
    }
}

TEST(CIniFile, LooksUpWithoutABlock)
{
    CIniFile document;
    const std::string section(100, 's');
    const std::string key(100, 'k');
    document.SetString(section.c_str(), key.c_str(), "7");
    const HeapWatch watch;
    EXPECT_TRUE(document.HasKey(section.c_str(), key.c_str()));
    EXPECT_EQ(document.GetInt(section.c_str(), key.c_str(), 0), 7);
    EXPECT_FALSE(document.HasKey(key.c_str(), key.c_str()));
    EXPECT_EQ(watch.Blocks(), 0u);
    EXPECT_STREQ(document.GetString(section.c_str(), key.c_str(), "").CStr(), "7");
    EXPECT_EQ(watch.Blocks(), 1u); // the value's
}

TEST(CIniFile, GivesWholeTextsOrThrows)
{
    CIniFile document;
    document.SetString("s", "k", " a value ");
    const CString defaultValue(" a default ");
    FailingInTurn points("CIniFile::GetString");
    while (points.Next()) {
        const TraceCapture trace;
        bool isWhole = true;
        points.Try([&] {
            isWhole = std::string_view(document.GetString("s", "k", defaultValue).CStr()) == "a value" &&
                      document.GetString("s", "missing", defaultValue) == defaultValue;
        });
        EXPECT_TRUE(isWhole);
    }
}

TEST(CIniFile, StoresWholeOrNotAtAll)
{
    FailingInTurn points("CIniFile::SetString");
    while (points.Next()) {
        const TraceCapture trace;
        CIniFileImpl document;
        for (int i = 0; i < 256; ++i) { // full leaves
            document.SetValue(document.AddSection("s" + std::to_string(i)), "k", "v");
            document.SetValue(document.AddSection("s0"), "k" + std::to_string(i), "v");
        }
        PlainIni expected = ContentOf(document);
        const char* const rows[][3] = {{"s0", "k", "longer than the one before it"},
                                       {"s0", "k30a", "in the middle"},
                                       {"s0", "z", "at the end"},
                                       {"a", "b", "before all"},
                                       {"z", "b", "behind all"}};
        std::size_t done = 0;
        points.Try([&] {
            for (const auto& [section, key, value] : rows) {
                document.SetValue(document.AddSection(section), key, value);
                ++done;
            }
        });
        EXPECT_EQ(trace.Text().find("Failed to allocate") != std::string::npos, done < std::size(rows));
        PlainIni content = ContentOf(document);
        EXPECT_EQ(document.textSize, LargestPlainIniText(content));
        for (std::size_t i = 0; i < done; ++i) {
            expected[rows[i][0]][rows[i][1]] = rows[i][2];
        }
        if (done < std::size(rows) && content.contains(rows[done][0])) {
            expected[rows[done][0]]; // the section may be there already
        }
        EXPECT_EQ(content, expected);
    }
}

} // namespace
} // namespace Plinth
