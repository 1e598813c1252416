#include "Plinth/Text/ZeroTerminatedText.h"
#include "Tests/Plinth/CallWithArguments.h"
#include "Tests/Support/HeapWatch.h"
#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <memory>
#include <random>

namespace Plinth {
namespace {

// A buffer of its exact size on the heap, so that a sanitizer sees a byte too far.
class Buffer {
public:
    Buffer(std::uint32_t size, std::string_view text) : size_(size), bytes_(new char[size])
    {
        std::fill_n(bytes_.get(), size, '#');
        text.copy(bytes_.get(), size);
        if (text.size() < size) {
            bytes_[text.size()] = 0;
        }
    }

    [[nodiscard]] char* Get() const { return bytes_.get(); }
    [[nodiscard]] std::uint32_t Size() const { return size_; }
    [[nodiscard]] std::string Text() const { return {bytes_.get(), BoundedLength(bytes_.get(), size_)}; }

private:
    std::uint32_t size_;
    std::unique_ptr<char[]> bytes_;
};

TEST(ZeroTerminatedText, CopiesAndAppendsWithinTheSize)
{
    struct Row {
        std::uint32_t size;
        std::uint32_t maximum;
        const char* before;
        const char* source;
        const char* copied;
        const char* appended;
    };
    const Row rows[] = {
        {4, 10, "", "abcdef", "abc", "abc"},
        {4, 2, "", "abcdef", "ab", "ab"},
        {4, NO_LIMIT, "xy", nullptr, "", "xy"},
        {4, NO_LIMIT, "xy", "", "", "xy"},
        {6, NO_LIMIT, "abc", "xyz", "xyz", "abcxy"},
        {4, NO_LIMIT, "abc", "x", "x", "abc"},
        {1, NO_LIMIT, "", "x", "", ""},
        {3, NO_LIMIT, "full", "x", "x", "ful"}, // no end in the size
    };
    for (const Row& row : rows) {
        const Buffer copy(row.size, row.before);
        CopyText(copy.Get(), row.size, row.source, row.maximum);
        EXPECT_EQ(copy.Text(), row.copied);
        const Buffer append(row.size, row.before);
        EXPECT_EQ(AppendText(append.Get(), row.size, row.source, row.maximum), append.Get());
        EXPECT_EQ(append.Text(), row.appended);
    }
    const Buffer buffer(4, "ab");
    CopyText(buffer.Get(), 0, "x");
    CopyText(nullptr, 4, "x");
    EXPECT_EQ(AppendText(buffer.Get(), 0, "x"), buffer.Get());
    EXPECT_EQ(AppendText(nullptr, 4, "x"), nullptr);
    EXPECT_EQ(buffer.Text(), "ab");
    CopyText(buffer.Get(), 4, buffer.Get() + 1);
    EXPECT_EQ(buffer.Text(), "b");
}

TEST(ZeroTerminatedText, FormatsIntoAllButOneByte)
{
    struct Row {
        std::uint32_t size;
        const char* before;
        const char* formatted;
        const char* appended;
    };
    const Row rows[] = {
        {8, "12", "abcdef", "12abcd"},
        {12, "", "abcdefghij", "abcdefghij"},
        {11, "", "abcdefghi", "abcdefghi"},
        {1, "", "", ""},
        {2, "", "", ""},
        {2, "1", "", "1"},
        {3, "1", "a", "1"},
        {3, "full", "a", "ful"},
    };
    for (const Row& row : rows) {
        const Buffer format(row.size, row.before);
        FormatText(format.Get(), row.size, "%s%c", "abcdefghi", 'j');
        EXPECT_EQ(format.Text(), row.formatted) << row.size;
        EXPECT_EQ(format.Get()[row.size - 1], 0);
        const Buffer append(row.size, row.before);
        AppendFormatText(append.Get(), row.size, "%s%c", "abcdefghi", 'j');
        EXPECT_EQ(append.Text(), row.appended) << row.size;
    }
    const Buffer buffer(4, "ab");
    CallWithArguments([&](std::va_list list) { AppendFormatTextV(buffer.Get(), 4, noFormat, list); });
    FormatText(buffer.Get(), 0, "x");
    AppendFormatText(buffer.Get(), 0, "x");
    FormatText(nullptr, 4, "x");
    EXPECT_EQ(buffer.Text(), "ab");
    CallWithArguments([&](std::va_list list) { FormatTextV(buffer.Get(), 4, noFormat, list); });
    EXPECT_EQ(buffer.Text(), "");
}

TEST(ZeroTerminatedText, BlocksWorkOnWholeWords)
{
    for (std::uint32_t size = 0; size < 150; ++size) {
        std::string target(size, '\x0C');
        std::string bits(size, '\x41');
        bits[size / 2] = static_cast<char>(size); // the terminator where the size is 0
        const std::uint32_t whole = size / 8 * 8;
        std::string expected = target;
        for (std::uint32_t i = 0; i < whole; ++i) {
            expected[i] = static_cast<char>(expected[i] | bits[i]);
        }
        EXPECT_EQ(OrBlock(target.data(), bits.data(), size), target.data());
        EXPECT_EQ(target, expected);
        EXPECT_EQ(ClearBlock(target.data(), size), target.data());
        EXPECT_EQ(target, std::string(whole, '\0') + expected.substr(whole));
    }
}

TEST(ZeroTerminatedText, TextsOnTheHeap)
{
    FreeText(AllocateTextBuffer(0));
    FreeText(nullptr);
    for (const std::uint32_t size : {1u, 2u, 100u}) {
        char* const block = AllocateTextBuffer(size);
        EXPECT_EQ(block[0], 0);
        EXPECT_EQ(block[size - 1], 0);
        FreeText(block);
    }
    const std::pair<std::uint32_t, const char*> rows[] = {{NO_LIMIT, "abc"}, {3, "abc"}, {2, "ab"}, {0, ""}};
    for (const auto& [maximum, expected] : rows) {
        char* const copy = DuplicateText("abc", maximum);
        EXPECT_STREQ(copy, expected);
        FreeText(copy);
    }
    EXPECT_EQ(DuplicateText(nullptr, 3), nullptr);
}

TEST(ZeroTerminatedText, ProbesForTheLargestBlock)
{
    for (const std::size_t largest : {std::size_t{0}, std::size_t{5000}, std::size_t{70'000'000}}) {
        const HeapWatch watch({.largest = largest});
        const std::uint32_t found = LargestAllocatableBlock();
        EXPECT_LE(found, largest);
        EXPECT_LT(largest - found, 1024u);
        EXPECT_EQ(watch.Blocks(), 22u);
    }
    const HeapWatch watch({.largest = 5000});
    testing::internal::CaptureStdout();
    PrintLargestAllocatableBlock("text");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Larges malloc Block: 4608   Message: text\n");
}

TEST(ZeroTerminatedText, EditsAndTests)
{
    const Buffer text(12, "Az@[`{\xC9/a");
    EXPECT_EQ(ToLowerAscii(text.Get()), text.Get());
    EXPECT_EQ(text.Text(), "az@[`{\xC9/a");
    ReplaceChar(text.Get(), '\xC9', 'b');
    EXPECT_EQ(text.Text(), "az@[`{b/a");
    EXPECT_EQ(ToLowerAscii(nullptr), nullptr);
    ReplaceChar(nullptr, 'a', 'b');

    struct Row {
        const char* text;
        const char* part;
        bool starts;
        bool ends;
    };
    const Row rows[] = {
        {"abc", "", true, true},       {"abc", "ab", true, false},     {"abc", "bc", false, true},
        {"abc", "abcd", false, false}, {"abc", "AB", false, false},    {"", "", true, true},
        {nullptr, "a", false, false},  {"abc", nullptr, false, false}, {nullptr, nullptr, false, false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(StartsWith(row.text, row.part), row.starts) << TextOrNull(row.part);
        EXPECT_EQ(EndsWith(row.text, row.part), row.ends) << TextOrNull(row.part);
    }
    EXPECT_EQ(FindCharIndex("abc", 'c'), 2u);
    EXPECT_EQ(FindCharIndex("abc", 'z'), NOT_FOUND);
    EXPECT_EQ(FindCharIndex("a\xE9", '\xE9'), 1u);
    EXPECT_EQ(FindCharIndex("", 'a'), NOT_FOUND);
    EXPECT_EQ(FindCharIndex("abc", 0), NOT_FOUND);

    EXPECT_TRUE(EqualBytes("a\0b", 3, "a\0b", 3));
    EXPECT_FALSE(EqualBytes("a\0b", 3, "a\0c", 3));
    EXPECT_FALSE(EqualBytes("abc", 3, "abd", 3));
    EXPECT_TRUE(EqualBytesNoCase("AB\xC9", 3, "ab\xC9", 3));
    EXPECT_FALSE(EqualBytesNoCase("[", 1, "{", 1));
    for (const auto equal : {EqualBytes, EqualBytesNoCase}) {
        EXPECT_TRUE(equal(nullptr, 0, nullptr, 0));
        EXPECT_FALSE(equal(nullptr, 1, nullptr, 2));
    }
    EXPECT_TRUE(IsNullOrEmpty(nullptr));
    EXPECT_TRUE(IsNullOrEmpty(""));
    EXPECT_FALSE(IsNullOrEmpty("a"));
    EXPECT_STREQ(TextOrNull(nullptr), "<NULL>");
    EXPECT_STREQ(TextOrNull("a"), "a");
}

TEST(ZeroTerminatedText, SplitsPaths)
{
    struct Row {
        const char* path;
        std::size_t name;
        std::size_t extension;
    };
    const Row rows[] = {
        {"C:\\Games\\Launcher.exe", 9, 17},
        {"a.b\\c", 4, 5},
        {"dir/", 4, 4},
        {"a.tar.gz", 0, 5},
        {"C:x.y", 2, 3},
        {".x", 0, 0},
        {"", 0, 0},
        {"a.", 0, 1},
    };
    for (const auto& [path, name, extension] : rows) {
        EXPECT_EQ(GetFileNamePart(path), path + name);
        EXPECT_EQ(GetExtensionPart(path), path + extension);
        const WideText wide(path, path + std::strlen(path));
        LPCWSTR wideName = nullptr;
        LPCWSTR wideExtension = nullptr;
        SplitPath(wide.c_str(), &wideName, &wideExtension);
        EXPECT_EQ(wideName, wide.c_str() + name);
        EXPECT_EQ(wideExtension, wide.c_str() + extension);
        EXPECT_EQ(GetFileNamePart(wide.c_str()), wideName);
    }
    EXPECT_EQ(GetFileNamePart(static_cast<const char*>(nullptr)), nullptr);
    EXPECT_EQ(GetExtensionPart(nullptr), nullptr);
    EXPECT_EQ(GetFileNamePart(LPCWSTR{nullptr}), nullptr);
    const char* name = "";
    const char* extension = "";
    SplitPath(static_cast<const char*>(nullptr), &name, &extension);
    EXPECT_EQ(name, nullptr);
    EXPECT_EQ(extension, nullptr);
    SplitPath("a.b", nullptr, nullptr);
}

TEST(ZeroTerminatedText, HashesOfKnownTexts)
{
    EXPECT_EQ(HashText("a"), 0x0F450000u);
    EXPECT_EQ(HashText("abc"), 0xF1AF0000u);
    EXPECT_EQ(HashText("ABC"), 0x5B0F0000u);
    EXPECT_EQ(HashTextNoCase("ABC"), 0xF1AF0000u);
    EXPECT_EQ(HashTextPath("A/B"), 0xE26A0000u);
    EXPECT_EQ(HashTextPath("a\\b"), 0xE26A0000u);
    EXPECT_EQ(HashText("A/B"), 0xA9BA0000u);
    EXPECT_EQ(HashText("\xE9"), 0x126BC69Bu);
    for (const auto hash : {HashText, HashTextNoCase, HashTextPath}) {
        EXPECT_EQ(hash("abc", 1), hash("a", NO_LIMIT));
        EXPECT_EQ(hash("abc", 0), 1u);
        EXPECT_EQ(hash("", 5), 0u);
        EXPECT_EQ(hash(nullptr, 5), 0u);
    }
}

// The definition, byte by byte.
std::uint32_t PlainHash(std::string_view text, CharacterFold fold)
{
    std::uint32_t h = 0;
    for (const char byte : text) {
        h = (h << 4) + static_cast<std::uint32_t>(static_cast<signed char>(fold(byte)));
        const std::uint32_t g = h & 0xF0000000;
        h ^= g >> 24 ^ g;
    }
    if (text.empty()) {
        return 0;
    }
    return h != 0 ? std::rotl(h, 16) * 1812433253u : 1;
}

// Texts in which carries run far are in it: nibbles of 0xF and of 0 side by side.
TEST(ZeroTerminatedText, HashesAgreeWithTheirDefinition)
{
    std::mt19937 random(1);
    const std::array<std::string, 4> alphabets = {"\x7F\xFF/Zz", "\x0F\x7F\x01\xF0", "\x7F\x0F\x70",
                                                  "/\\aAzZ09"};
    for (int i = 0; i < 200'000; ++i) {
        std::string text(random() % 40 + 1, ' ');
        const std::size_t kind = random() % (alphabets.size() + 1);
        for (char& byte : text) {
            byte = kind < alphabets.size() ? alphabets[kind][random() % alphabets[kind].size()]
                                           : static_cast<char>(random() % 255 + 1);
        }
        const auto count = static_cast<std::uint32_t>(random() % 50 + 1);
        const std::string_view read = std::string_view(text).substr(0, count);
        ASSERT_EQ(HashText(text.c_str(), count), PlainHash(read, FoldNone)) << testing::PrintToString(text);
        ASSERT_EQ(HashTextNoCase(text.c_str()), PlainHash(text, FoldLower)) << testing::PrintToString(text);
        ASSERT_EQ(HashTextPath(text.c_str()), PlainHash(text, FoldPath)) << testing::PrintToString(text);
    }
}

TEST(ZeroTerminatedText, FoldsChangeLettersAndSlashesAlone)
{
    for (int i = 0; i < 256; ++i) {
        const char byte = static_cast<char>(i);
        const char lower = i >= 'A' && i <= 'Z' ? static_cast<char>(i + 32) : byte;
        const char slash = i == '/' ? '\\' : byte;
        EXPECT_EQ(FoldNone(byte), byte);
        EXPECT_EQ(FoldLower(byte), lower);
        EXPECT_EQ(FoldSlash(byte), slash);
        EXPECT_EQ(FoldPath(byte), i == '/' ? slash : lower);
    }
}

} // namespace
} // namespace Plinth
