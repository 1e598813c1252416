#include "Plinth/Text/ZeroTerminatedText.h"
#include "Tests/Plinth/CallWithArguments.h"
#include "Tests/Support/HeapWatch.h"
#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

#include <bit>
#include <memory>
#include <random>
#include <tuple>

namespace Plinth {
namespace {

// A buffer of its exact size on the heap, so that a sanitizer sees a byte too far.
struct Buffer {
    Buffer(std::uint32_t newSize, std::string_view text) : size(newSize), bytes(new char[newSize])
    {
        std::fill_n(bytes.get(), size, '#');
        text.copy(bytes.get(), size);
        if (text.size() < size) {
            bytes[text.size()] = 0;
        }
    }

    [[nodiscard]] char* Get() const { return bytes.get(); }
    [[nodiscard]] std::string Text() const { return {Get(), BoundedLength(Get(), size)}; }

    std::uint32_t size;
    std::unique_ptr<char[]> bytes;
};

TEST(ZeroTerminatedText, CopiesAndAppendsWithinTheSize)
{
    struct Row {
        std::uint32_t size, maximum;
        const char *before, *source, *copied, *appended;
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
        {0, NO_LIMIT, "", "x", "", ""},
    };
    for (const Row& row : rows) {
        const Buffer copy(row.size, row.before);
        CopyText(copy.Get(), row.size, row.source, row.maximum);
        EXPECT_EQ(copy.Text(), row.copied);
        const Buffer append(row.size, row.before);
        EXPECT_EQ(AppendText(append.Get(), row.size, row.source, row.maximum), append.Get());
        EXPECT_EQ(append.Text(), row.appended);
    }
    CopyText(nullptr, 4, "x");
    EXPECT_EQ(AppendText(nullptr, 4, "x"), nullptr);
    char overlapping[] = "ab";
    CopyText(overlapping, sizeof(overlapping), overlapping + 1);
    EXPECT_STREQ(overlapping, "b");
}

TEST(ZeroTerminatedText, FormatsIntoAllButOneByte)
{
    struct Row {
        std::uint32_t size;
        const char *before, *formatted, *appended;
    };
    const Row rows[] = {
        {8, "12", "abcdef", "12abcd"},
        {12, "", "abcdefghij", "abcdefghij"},
        {11, "", "abcdefghi", "abcdefghi"},
        {1, "", "", ""},
        {2, "1", "", "1"},
        {3, "1", "a", "1"},
        {3, "full", "a", "ful"},
        {0, "", "", ""},
    };
    for (const Row& row : rows) {
        const Buffer format(row.size, row.before);
        FormatText(format.Get(), row.size, "%s%c", "abcdefghi", 'j');
        EXPECT_EQ(format.Text(), row.formatted) << row.size;
        EXPECT_TRUE(row.size == 0 || format.Get()[row.size - 1] == 0);
        const Buffer append(row.size, row.before);
        AppendFormatText(append.Get(), row.size, "%s%c", "abcdefghi", 'j');
        EXPECT_EQ(append.Text(), row.appended) << row.size;
    }
    const Buffer buffer(4, "ab");
    CallWithArguments([&](std::va_list list) { AppendFormatTextV(buffer.Get(), 4, noFormat, list); });
    EXPECT_EQ(buffer.Text(), "ab");
    CallWithArguments([&](std::va_list list) { FormatTextV(buffer.Get(), 4, noFormat, list); });
    EXPECT_EQ(buffer.Text(), "");
    FormatText(nullptr, 4, "x");
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
    for (const std::size_t largest : {std::size_t{0}, std::size_t{5000}, std::size_t{70'000'000}}) {
        const HeapWatch watch({.largest = largest});
        EXPECT_LT(largest - LargestAllocatableBlock(), 1024u);
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
    ReplaceChar(text.Get(), '\xC9', 'b');
    EXPECT_EQ(text.Text(), "az@[`{b/a");
    EXPECT_EQ(ToLowerAscii(nullptr), nullptr);
    ReplaceChar(nullptr, 'a', 'b');

    const std::tuple<const char*, const char*, bool, bool> parts[] = {
        {"abc", "", true, true},       {"abc", "ab", true, false},     {"abc", "bc", false, true},
        {"abc", "abcd", false, false}, {"abc", "AB", false, false},    {"", "", true, true},
        {nullptr, "a", false, false},  {"abc", nullptr, false, false}, {nullptr, nullptr, false, false},
    };
    for (const auto& [whole, part, starts, ends] : parts) {
        EXPECT_EQ(StartsWith(whole, part), starts) << TextOrNull(part);
        EXPECT_EQ(EndsWith(whole, part), ends) << TextOrNull(part);
    }
    const std::pair<char, std::uint32_t> places[] = {{'a', 0}, {'\xE9', 2}, {'z', NOT_FOUND}, {0, NOT_FOUND}};
    for (const auto& [byte, place] : places) {
        EXPECT_EQ(FindCharIndex("ab\xE9", byte), place);
    }
    EXPECT_TRUE(EqualBytes("a\0b", 3, "a\0b", 3));
    EXPECT_FALSE(EqualBytes("a\0b", 3, "a\0c", 3));
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
}

TEST(ZeroTerminatedText, SplitsPaths)
{
    // Where name and extension begin.
    const std::tuple<const char*, std::size_t, std::size_t> rows[] = {
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
        LPCWSTR wideExtension = nullptr;
        SplitPath(wide.c_str(), nullptr, &wideExtension);
        EXPECT_EQ(wideExtension, wide.c_str() + extension);
        EXPECT_EQ(GetFileNamePart(wide.c_str()), wide.c_str() + name);
    }
    EXPECT_EQ(GetFileNamePart(static_cast<const char*>(nullptr)), nullptr);
    EXPECT_EQ(GetExtensionPart(nullptr), nullptr);
    EXPECT_EQ(GetFileNamePart(LPCWSTR{nullptr}), nullptr);
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

TEST(ZeroTerminatedText, HashesAgreeWithTheirDefinition)
{
    EXPECT_EQ(HashText("abc"), 0xF1AF0000u);
    EXPECT_EQ(HashText("\xE9"), 0x126BC69Bu);
    for (const auto hash : {HashText, HashTextNoCase, HashTextPath}) {
        EXPECT_EQ(hash("abc", 1), hash("a", NO_LIMIT));
        EXPECT_EQ(hash("abc", 0), 1u);
        EXPECT_EQ(hash("", 5), 0u);
        EXPECT_EQ(hash(nullptr, 5), 0u);
    }
    // Texts in which carries run far are in it: nibbles of 0xF and of 0 side by side.
    std::string all;
    for (int byte = 1; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    const std::string alphabets[] = {"\x7F\xFF/Zz", "\x0F\x7F\x01\xF0", "\x7F\x0F\x70", "/\\aAzZ09", all};
    std::mt19937 random(1);
    for (std::size_t i = 0; i < 200'000; ++i) {
        const std::string& alphabet = alphabets[i % std::size(alphabets)];
        std::string text(random() % 40 + 1, ' ');
        for (char& byte : text) {
            byte = alphabet[random() % alphabet.size()];
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
