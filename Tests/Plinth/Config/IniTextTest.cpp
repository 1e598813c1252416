#include "Plinth/Config/CIniFile.h"
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Plinth/Config/IniDocument.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/FailingInTurn.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace Plinth {
namespace {

using namespace std::string_literals;

PlainIni Parsed(const std::string& text)
{
    CIniFileImpl document;
    ExactStream stream(text);
    document.SetValue(document.AddSection("old"), "old", "old");
    document.Parse(stream);
    EXPECT_EQ(document.textSize, LargestPlainIniText(ContentOf(document)));
    return ContentOf(document);
}

TEST(IniText, IsRead)
{
    struct Row {
        const char* name;
        std::string text;
        PlainIni content;
    };
    const Row rows[] = {
        {"CR LF",
         "[GameUpdate]\r\nInfo=1\r\nGameName=X\r\n",
         {{"GameUpdate", {{"Info", "1"}, {"GameName", "X"}}}}},
        {"LF", "[GameUpdate]\nInfo=1\nGameName=X\n", {{"GameUpdate", {{"Info", "1"}, {"GameName", "X"}}}}},
        {"blanks around the key", "[s]\n \t Info  =1\n", {{"s", {{"Info", "1"}}}}},
        {"blanks around the value", "[s]\nKey = value \n", {{"s", {{"Key", " value "}}}}},
        {"quotes", "[s]\nk=\"a=b\"\n", {{"s", {{"k", "\"a=b\""}}}}},
        {"comment behind the value", "[s]\nk=v ; note=1\nl=w\n", {{"s", {{"k", "v "}, {"l", "w"}}}}},
        {"comment and blank line", "[s]\na=1\n; x=1 [t]\n\n\r\nb=2", {{"s", {{"a", "1"}, {"b", "2"}}}}},
        {"comment before all", ";[a]\n[s]", {{"s", {}}}},
        {"comment behind a CR", "[s]\n\r;k=v\nl=w", {{"s", {{"l", "w"}}}}},
        {"comment up to the end", "[s]\n;k=v", {{"s", {}}}},
        {"comment ended by a CR alone", "[s];x\rk=v\n", {{"s", {{"k", "v"}}}}},
        {"header behind such a comment", "[s];x\r[t]\nk=v\n", {{"s", {{"t", "v"}}}}},
        {"value ended by a CR alone", "[s]\na=1\rb=2\n", {{"s", {{"a", "1"}, {"2", ""}}}}},
        {"other letters end a key",
         "[s]\nmy-key=1\nGr\xC3\xB6\xC3\x9F"
         "e=2\n",
         {{"s", {{"my", "1"}, {"Gr", "2"}}}}},
        {"'#' is no comment", "[s]\n# note\nk=1\nl=2", {{"s", {{"note", "1"}, {"l", "2"}}}}},
        {"no line end", "[s]\nk=v", {{"s", {{"k", "v"}}}}},
        {"no value", "[s]\nk=\nl=;\nm=", {{"s", {{"k", ""}, {"l", ""}, {"m", ""}}}}},
        {"a key up to the end", "[s]\na=1\nk", {{"s", {{"a", "1"}}}}},
        {"no equals sign any more", "[s]\na=1\nk \nl\n", {{"s", {{"a", "1"}, {"k", ""}}}}},
        {"keys before the first header", "k=v\n;x\n[s]\n", {{"s", {}}}},
        {"the empty name", "[]\nk=v", {{"", {{"k", "v"}}}}},
        {"no closing bracket", "[s]\na=1\n[A\nb=2\n", {{"s", {{"a", "1"}}}}},
        {"a name of two lines", "[a\r\n b=1 ]k=v", {{"a\r\n b=1 ", {{"k", "v"}}}}},
        {"a bracket in a name", "[[a]k=v", {{"[a", {{"k", "v"}}}}},
        {"a bracket in a line", "[s]\na=[t]\n-[u]b=1", {{"s", {{"a", "[t]"}}}, {"u", {{"b", "1"}}}}},
        {"repeated", "[s]\na=1\nb=2\n[t]\n[s]\na=3\n", {{"s", {{"a", "3"}, {"b", "2"}}}, {"t", {}}}},
        {"zeros", "[s\0x]\na=1\0b\nk\0=2\0\n"s, {{"s", {{"a", "1"}, {"k", "2"}}}}},
        {"nothing", "", {}},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Parsed(row.text), row.content) << row.name;
        EXPECT_EQ(ReadPlainIni(row.text), row.content) << row.name;
        if (!row.text.ends_with("\nk")) { // zeros follow, and end the key
            EXPECT_EQ(Parsed(WidePlainText(row.text)), row.content) << row.name;
        }
    }
    EXPECT_EQ(Parsed(WidePlainText("[s]\na=1\nk")), (PlainIni{{"s", {{"a", "1"}, {"k", ""}}}}));
}

TEST(IniText, OfWideCharactersKeepsTheLowBytes)
{
    EXPECT_EQ(Parsed("\xFF\xFE[\0s\0]\0k\0=\0\xE9\0\xAC\x20x"s), (PlainIni{{"s", {{"k", "\xE9\xAC"}}}}));
    EXPECT_EQ(Parsed("\xFF\xFE"), PlainIni());
    EXPECT_EQ(Parsed("\xFF\xFE["), PlainIni());
    EXPECT_EQ(Parsed("\xFE\xFF[s]k=v"), (PlainIni{{"s", {{"k", "v"}}}}));
}

TEST(IniText, LeavesTheStreamBehindWhatItRead)
{
    struct Row {
        std::string text;
        std::uint32_t from;
        std::uint32_t position;
        PlainIni content;
    };
    const Row rows[] = {
        {"[s]k=v", 0, 6, {{"s", {{"k", "v"}}}}},
        {"[s]k=v", 2, 6, {}}, // what lies before is not read
        {"x[s]k=v", 1, 7, {{"s", {{"k", "v"}}}}},
        {"\xFF\xFEx\0y"s, 0, 4, {}},
        {"\xFF\xFE[\0s\0]\0k\0=\0v\0"s, 3, 14, {{"s", {{"k", "v"}}}}},
    };
    for (const Row& row : rows) {
        ExactStream stream(row.text);
        stream.SetPosition(row.from);
        CIniFileImpl document;
        document.Parse(stream);
        EXPECT_EQ(stream.GetPosition(), row.position);
        EXPECT_EQ(stream.Text(), row.text);
        EXPECT_EQ(ContentOf(document), row.content);
    }
}

TEST(IniText, IsWritten)
{
    struct Row {
        PlainIni content;
        const char* text;
        std::uint32_t capacity;
    };
    const Row rows[] = {
        {{{"A", {{"k", "1"}}}, {"B", {{"j", "2"}}}}, "[A]\r\nk = 1\r\n\r\n[B]\r\nj = 2\r\n", 26},
        {{{"A", {}}, {"B", {{"b", "2"}, {"a", "1"}}}}, "[B]\r\na = 1\r\nb = 2\r\n\r\n", 26},
        {{{"A", {}}, {"B", {}}}, "", 12},
        {{{"", {{"", ""}}}}, "[]\r\n = \r\n", 9},
        {{{"a;]", {{"k=", "x\r\n[y]"}}}}, "[a;]]\r\nk= = x\r\n[y]\r\n", 20},
        {{}, "", 0},
    };
    for (const Row& row : rows) {
        CIniFileImpl inside;
        for (const auto& [section, keys] : row.content) {
            KeyMap& added = inside.AddSection(section);
            for (const auto& [key, value] : keys) {
                inside.SetValue(added, key, value);
            }
        }
        CMemoryStream fresh;
        inside.WriteText(fresh);
        EXPECT_EQ(fresh.GetCapacity(), row.capacity) << row.text;
        EXPECT_EQ(fresh.GetSize(), std::string(row.text).size());
        ExactStream used("an older and much longer text than the new one will ever be");
        used.SetPosition(5);
        inside.WriteText(used);
        EXPECT_EQ(used.Text(), row.text);
        EXPECT_EQ(used.GetPosition(), std::min<std::uint32_t>(5, fresh.GetSize()));
        EXPECT_EQ(used.GetCapacity(), 59u);
        ExactStream roomy("x");
        roomy.SetCapacity(1024);
        inside.WriteText(roomy);
        EXPECT_EQ(roomy.GetCapacity(), std::max(1u, row.capacity)) << row.text;
    }
}

TEST(IniText, ComesBackWithBlanks)
{
    CIniFile document;
    document.SetInt("A", "k", 1);
    document.SetInt("B", "j", 2);
    CMemoryStream text;
    document.WriteText(text);
    CIniFile back;
    back.Parse(text);
    EXPECT_EQ(back.GetInt("A", "k", 0), 1);
    EXPECT_EQ(back.GetInt("B", "j", 0), 2);
    EXPECT_EQ(Parsed(WritePlainIni({{"A", {{"k", "1"}}}})), (PlainIni{{"A", {{"k", " 1"}}}}));
}

TEST(IniText, KnowsEveryByte)
{
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text = std::string("[s") + static_cast<char>(byte) + "]\na" +
                                 static_cast<char>(byte) + "b=1" + static_cast<char>(byte) + "c=2\n";
        EXPECT_EQ(Parsed(text), ReadPlainIni(text)) << byte;
    }
}

// Texts made of what means something to the reader.
TEST(IniText, IsReadAsTheSecondReaderDoes)
{
    const std::string pieces[] = {"[",   "]",    ";",   "=",       "\r", "\n",      "\r\n",
                                  "a",   "b_1",  "[s]", "[t]\n",   " ",  "\t",      "k=v\n",
                                  "\0"s, "\xFF", "#",   "x=1;y\r", "\"", "\xFF\xFE"};
    std::mt19937 random(11);
    for (int i = 0; i < 5000; ++i) {
        std::string text;
        for (unsigned long count = random() % 24; count > 0; --count) {
            text += pieces[random() % std::size(pieces)];
        }
        ASSERT_EQ(Parsed(text), ReadPlainIni(text)) << testing::PrintToString(text);
        const std::string wide = WidePlainText(text) + (i % 2 == 0 ? "" : "x");
        ASSERT_EQ(Parsed(wide), ReadPlainIni(wide)) << testing::PrintToString(text);
    }
}

// What would take minutes if the reader looked at anything twice.
TEST(IniText, IsReadInOneGo)
{
    constexpr std::size_t COUNT = 1000000;
    const auto repeated = [](const std::string& piece) {
        std::string text;
        for (std::size_t i = 0; i < COUNT; ++i) {
            text += piece;
        }
        return text;
    };
    EXPECT_EQ(Parsed(repeated("[")), PlainIni());
    EXPECT_EQ(Parsed(repeated("[") + "]"), (PlainIni{{std::string(COUNT - 1, '['), {}}}));
    EXPECT_EQ(Parsed("[s]" + repeated("k\n")), (PlainIni{{"s", {{"k", ""}}}}));
    EXPECT_EQ(Parsed("[s]" + repeated(";\r")), (PlainIni{{"s", {}}}));
    EXPECT_EQ(Parsed("[s]" + repeated("k=\n")), (PlainIni{{"s", {{"k", ""}}}}));
    EXPECT_EQ(Parsed(repeated("[]")), (PlainIni{{"", {}}}));
    EXPECT_EQ(Parsed("[" + std::string(COUNT, 'x') + "]" + repeated("k=\n")).size(), 1u);
    std::string backwards = "[s]\n";
    for (std::size_t i = COUNT / 10; i > 0; --i) {
        backwards += "a_common_beginning_" + std::to_string(COUNT + i) + "=\n";
    }
    EXPECT_EQ(Parsed(backwards)["s"].size(), COUNT / 10);
}

TEST(IniText, ParsedWithoutMemoryIsEmpty)
{
    for (const bool wide : {false, true}) {
        std::string text = "[s]\na key=1\nanother=2 and some more text\n[t]\nk=v\nl=w\nm=x\nn=y\no=z\n";
        text = wide ? WidePlainText(text) : text;
        FailingInTurn points("CIniFile::Parse");
        while (points.Next()) {
            const TraceCapture trace;
            ExactStream stream(text);
            CIniFileImpl document;
            document.SetValue(document.AddSection("old"), "old", "old");
            const bool done = points.Try([&] { document.Parse(stream); });
            EXPECT_EQ(ContentOf(document), done ? ReadPlainIni(text) : PlainIni());
            EXPECT_EQ(document.textSize == 0, !done);
            EXPECT_EQ(stream.Text(), text);
        }
    }
}

TEST(IniText, WrittenWithoutMemoryLeavesTheStream)
{
    CIniFileImpl document;
    document.SetValue(document.AddSection("s"), "k", "value");
    FailingInTurn points("CIniFile::WriteText");
    while (points.Next()) {
        const TraceCapture trace;
        ExactStream stream("old");
        const bool done = points.Try([&] { document.WriteText(stream); });
        EXPECT_EQ(stream.Text(), done ? "[s]\r\nk = value\r\n" : "old");
    }
}

} // namespace
} // namespace Plinth
