#include "Plinth/Config/CIniFile.h"
#include "Plinth/Streams/Exceptions.h"
#include "Tests/Plinth/Config/IniDocument.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/FailingInTurn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <tuple>
#include <utility>

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

// "section{key=value,...}" of each section.
std::string Shown(const PlainIni& content)
{
    std::string shown;
    for (const auto& [section, keys] : content) {
        std::string comma;
        shown += section + '{';
        for (const auto& [key, value] : keys) {
            shown.append(std::exchange(comma, ",")).append(key).append("=").append(value);
        }
        shown += '}';
    }
    return shown;
}

TEST(IniText, IsRead)
{
    const std::pair<std::string, std::string> rows[] = {
        {"[Update]\r\nInfo=1\r\nName=X\r\n", "Update{Info=1,Name=X}"},
        {"[s]\n \t Info  =1\n", "s{Info=1}"},      // blanks around the key
        {"[s]\nKey = value \n", "s{Key= value }"}, // and around the value
        {"[s]\nk=\"a=b\"\n", "s{k=\"a=b\"}"},
        {"[s]\nk=v ; note=1\nl=w\n", "s{k=v ,l=w}"}, // comments
        {"[s]\na=1\n; x=1 [t]\n\n\r\nb=2", "s{a=1,b=2}"},
        {";[a]\n[s]", "s{}"},
        {"[s];x\rk=v\n", "s{k=v}"}, // ended by a CR alone
        {"[s]\na=1\rb=2\n", "s{2=,a=1}"},
        {"[s]\nmy-key=1\nGr\xC3\xB6=2\n", "s{Gr=2,my=1}"}, // other letters end a key
        {"[s]\n# note\nk=1\nl=2", "s{l=2,note=1}"},        // no comment
        {"[s]\nk=\nl=;\nm=", "s{k=,l=,m=}"},
        {"[s]\na=1\nk", "s{a=1}"},
        {"[s]\na=1\nk \nl\n", "s{a=1,k=}"}, // no equals sign any more
        {"k=v\n;x\n[s]\n", "s{}"},
        {"[]\nk=v", "{k=v}"},
        {"[s]\na=1\n[A\nb=2\n", "s{a=1}"}, // no closing bracket
        {"[a\r\n b=1 ]k=v", "a\r\n b=1 {k=v}"},
        {"[[a]k=v", "[a{k=v}"},
        {"[s]\na=[t]\n-[u]b=1", "s{a=[t]}u{b=1}"},
        {"[s]\na=1\nb=2\n[t]\n[s]\na=3\n", "s{a=3,b=2}t{}"},
        {"[s\0x]\na=1\0b\nk\0=2\0\n"s, "s{a=1,k=2}"},
        {"", ""},
        // Of wide characters the low bytes are kept; zeros behind the last one end a key.
        {WidePlainText("[s]\na=1\nk"), "s{a=1,k=}"},
        {"\xFF\xFE[\0s\0]\0k\0=\0\xE9\0\xAC\x20x"s, "s{k=\xE9\xAC}"},
        {"\xFF\xFE", ""},
        {"\xFF\xFE[", ""},
        {"\xFE\xFF[s]k=v", "s{k=v}"},
    };
    for (const auto& [text, content] : rows) {
        EXPECT_EQ(Shown(Parsed(text)), content) << text;
        EXPECT_EQ(Shown(ReadPlainIni(text)), content) << text;
    }
}

TEST(IniText, LeavesTheStreamBehindWhatItRead)
{
    const std::tuple<std::string, std::uint32_t, std::uint32_t, std::string> rows[] = {
        {"[s]k=v", 0, 6, "s{k=v}"},
        {"[s]k=v", 2, 6, ""}, // what lies before is not read
        {"x[s]k=v", 1, 7, "s{k=v}"},
        {"\xFF\xFEx\0y"s, 0, 4, ""},
        {"\xFF\xFE[\0s\0]\0k\0=\0v\0"s, 3, 14, "s{k=v}"},
    };
    for (const auto& [text, from, position, content] : rows) {
        ExactStream stream(text);
        stream.SetPosition(from);
        CIniFileImpl document;
        document.Parse(stream);
        EXPECT_EQ(stream.GetPosition(), position);
        EXPECT_EQ(stream.Text(), text);
        EXPECT_EQ(Shown(ContentOf(document)), content);
    }
}

TEST(IniText, IsWritten)
{
    const std::tuple<PlainIni, std::string, std::uint32_t> rows[] = {
        {{{"A", {{"k", "1"}}}, {"B", {{"j", "2"}}}}, "[A]\r\nk = 1\r\n\r\n[B]\r\nj = 2\r\n", 26},
        {{{"A", {}}, {"B", {{"b", "2"}, {"a", "1"}}}}, "[B]\r\na = 1\r\nb = 2\r\n\r\n", 26},
        {{{"A", {}}, {"B", {}}}, "", 12},
        {{{"", {{"", ""}}}}, "[]\r\n = \r\n", 9},
        {{{"a;]", {{"k=", "x\r\n[y]"}}}}, "[a;]]\r\nk= = x\r\n[y]\r\n", 20},
        {{}, "", 0},
    };
    for (const auto& [content, text, capacity] : rows) {
        CIniFileImpl document;
        for (const auto& [section, keys] : content) {
            document.AddSection(section);
            for (const auto& [key, value] : keys) {
                document.SetValue(document.AddSection(section), key, value);
            }
        }
        CMemoryStream fresh;
        document.WriteText(fresh);
        EXPECT_EQ(fresh.GetCapacity(), capacity) << text;
        EXPECT_EQ(fresh.GetSize(), text.size());
        ExactStream used("an older and much longer text than the new one will ever be");
        used.SetPosition(5);
        document.WriteText(used);
        EXPECT_EQ(used.Text(), text);
        EXPECT_EQ(used.GetPosition(), std::min<std::uint32_t>(5, fresh.GetSize()));
        EXPECT_EQ(used.GetCapacity(), 59u);
        ExactStream roomy("x");
        roomy.SetCapacity(1024);
        document.WriteText(roomy);
        EXPECT_EQ(roomy.GetCapacity(), std::max(1u, capacity)) << text;
    }
    CIniFile document; // comes back, with blanks
    document.SetInt("A", "k", 1);
    CMemoryStream text;
    document.WriteText(text);
    CIniFile back;
    back.Parse(text);
    EXPECT_EQ(back.GetInt("A", "k", 0), 1);
    EXPECT_EQ(Shown(Parsed(WritePlainIni({{"A", {{"k", "1"}}}}))), "A{k= 1}");
}

// Texts made of what means something to the reader.
TEST(IniText, IsReadAsTheSecondReaderDoes)
{
    for (int byte = 0; byte < 256; ++byte) {
        std::string text = "[s@]\na@b=1@c=2\n";
        std::replace(text.begin(), text.end(), '@', static_cast<char>(byte));
        EXPECT_EQ(Parsed(text), ReadPlainIni(text)) << byte;
    }
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
    const auto shown = [](const std::string& before, const std::string& piece, const std::string& behind) {
        std::string text = before;
        for (std::size_t i = 0; i < COUNT; ++i) {
            text += piece;
        }
        return Shown(Parsed(text + behind));
    };
    EXPECT_EQ(shown("", "[", ""), "");
    EXPECT_EQ(shown("", "[", "]"), std::string(COUNT - 1, '[') + "{}");
    EXPECT_EQ(shown("[s]", "k\n", ""), "s{k=}");
    EXPECT_EQ(shown("[s]", ";\r", ""), "s{}");
    EXPECT_EQ(shown("", "[]", ""), "{}");
    EXPECT_EQ(shown("[" + std::string(COUNT, 'x') + "]", "k=\n", ""), std::string(COUNT, 'x') + "{k=}");
    std::string backwards = "[s]\n";
    for (std::size_t i = COUNT / 10; i > 0; --i) {
        backwards += "a_common_beginning_" + std::to_string(COUNT + i) + "=\n";
    }
    EXPECT_EQ(Parsed(backwards)["s"].size(), COUNT / 10);
}

TEST(IniText, ReadOrWrittenWithoutMemoryIsNone)
{
    const std::string narrow = "[s]\na key=1\nanother=2 and some more text\n[t]\nk=v\nl=w\nm=x\nn=y\no=z\n";
    for (const std::string& text : {narrow, WidePlainText(narrow)}) {
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
