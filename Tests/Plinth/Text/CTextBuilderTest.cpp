#include "Plinth/Text/TextBuilderFunctions.h"
#include "Tests/Plinth/CallWithArguments.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"
#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <utility>
#include <vector>

namespace Plinth {
namespace {

template <typename Character>
using TextType = std::basic_string<Character>;

// Both builders run through the same tests.
template <typename Builder>
class TextBuilders : public testing::Test {
protected:
    using Character = std::remove_reference_t<decltype(*std::declval<Builder>().GetText())>;

    // A text of the builder's width.
    static TextType<Character> T(std::string_view text) { return {text.begin(), text.end()}; }

    static std::string Narrow(const Character* text)
    {
        const std::basic_string_view<Character> view(text);
        return {view.begin(), view.end()};
    }

    std::string Text() { return Narrow(builder_.GetText()); }

    static constexpr std::uint32_t SIZE = 512;
    std::unique_ptr<Character[]> buffer_{new Character[SIZE]}; // exactly sized
    Builder builder_{buffer_.get(), SIZE * sizeof(Character)};
};

using Builders = testing::Types<CTextBuilder, CWideTextBuilder>;
TYPED_TEST_SUITE(TextBuilders, Builders, );

TYPED_TEST(TextBuilders, MovesToTheHeapWhenTheBufferIsFull)
{
    std::string expected;
    const HeapWatch watch;
    for (std::uint32_t i = 1; i <= 600; ++i) {
        this->builder_.AppendChar(static_cast<typename TestFixture::Character>('a' + i % 26));
        EXPECT_EQ(this->builder_.GetCapacity(), i <= 510 ? 512u : 1024u) << i;
        if (i == 510) {
            EXPECT_EQ(watch.Blocks(), 0u);
        }
    }
    for (int i = 1; i <= 600; ++i) {
        expected += static_cast<char>('a' + i % 26);
    }
    EXPECT_EQ(this->Text(), expected);
}

TYPED_TEST(TextBuilders, Appends)
{
    auto& builder = this->builder_;
    EXPECT_EQ(builder.Append(this->T("abc").c_str()), builder.GetText());
    builder.Append(this->T("defg").c_str(), 2);
    builder.Append(nullptr);
    builder.Append(nullptr, 3);
    builder.AppendFolded(nullptr, FoldPath);
    builder.AppendFolded(this->T("/XyZ").c_str(), FoldPath);
    builder.AppendFolded(this->T("/X").c_str(), nullptr);
    EXPECT_EQ(this->Text(), "abcde\\xyz/X");
    builder.Append(builder.GetText());
    EXPECT_EQ(this->Text(), "abcde\\xyz/Xabcde\\xyz/X");
    builder.SetLength(3);
    builder.AppendFolded(this->T("12345").c_str(), [](char c) { return c == '3' ? '\0' : c; });
    EXPECT_EQ(this->Text(), "abc12");
    builder.SetLength(7);
    EXPECT_EQ(this->Text(), "abc12XX");
    builder.SetLength(0x80000001);
    EXPECT_EQ(builder.GetLength(), 7u);
    builder.ApplyFold([](char c) { return c == 'X' ? 'Y' : c; });
    EXPECT_EQ(this->Text(), "abc12YY");
    builder.MakeLower();
    EXPECT_EQ(this->Text(), "abc12yy");
    const TextType<typename TestFixture::Character> longText = this->T(std::string(5000, 'L'));
    builder.Append(longText.c_str());
    EXPECT_EQ(this->Text(), "abc12yy" + std::string(5000, 'L'));
}

TYPED_TEST(TextBuilders, KeepsFrames)
{
    auto& builder = this->builder_;
    const std::pair<PopMode, const char*> rows[] = {
        {POP_APPEND, "C:dir"}, {POP_REPLACE, "dir"}, {POP_DISCARD, "C:"}};
    for (const auto& [mode, expected] : rows) {
        builder.SetLength(0);
        builder.Append(this->T("C:").c_str());
        const auto* const stored = builder.PushFrame(PUSH_EMPTY);
        EXPECT_EQ(this->Narrow(stored), "C:");
        EXPECT_EQ(this->Text(), "");
        builder.Append(this->T("dir").c_str());
        EXPECT_EQ(builder.PopFrame(mode), std::string_view(expected).size());
        EXPECT_EQ(this->Text(), expected);
    }
    const auto* const copied = builder.PushFrame(PUSH_COPY);
    EXPECT_EQ(this->Narrow(copied), "C:");
    EXPECT_EQ(this->Text(), "C:");
    EXPECT_NE(builder.GetText(), copied);
    builder.PopFrame(POP_APPEND);
    EXPECT_EQ(this->Text(), "C:C:");

    // Deep, and through several blocks.
    for (int depth = 0; depth < 100; ++depth) {
        builder.SetLength(0);
        builder.Append(this->T(std::string(static_cast<std::size_t>(depth) * 7, 'x')).c_str());
        ASSERT_NE(builder.PushFrame(PUSH_EMPTY), nullptr);
    }
    for (std::uint32_t depth = 100; depth-- > 0;) {
        EXPECT_EQ(builder.PopFrame(POP_DISCARD), depth * 7);
        EXPECT_EQ(this->Text(), std::string(std::size_t{depth} * 7, 'x'));
    }
}

TYPED_TEST(TextBuilders, Searches)
{
    struct Row {
        const char* text;
        const char* pattern;
        CharacterFold fold;
        std::uint32_t first;
        std::uint32_t last;
    };
    const Row rows[] = {
        {"abc", "B", FoldLower, 1, 1},
        {"abc", "B", nullptr, NOT_FOUND, NOT_FOUND},
        {"abc", "", nullptr, NOT_FOUND, NOT_FOUND},
        {"", "", nullptr, 0, 0},
        {"", "a", nullptr, NOT_FOUND, NOT_FOUND},
        {"abca", "a", nullptr, 0, 3},
        {"a/b\\A/B", "a\\B", FoldPath, 0, 4},
        {"a/b\\A/B", "\\", FoldSlash, 1, 5},
        {"aab", "ab", FoldNone, 1, 1},
        {"ab", "abc", FoldNone, NOT_FOUND, NOT_FOUND},
    };
    for (const Row& row : rows) {
        this->builder_.SetLength(0);
        this->builder_.Append(this->T(row.text).c_str());
        EXPECT_EQ(this->builder_.Find(this->T(row.pattern).c_str(), row.fold), row.first) << row.text;
        EXPECT_EQ(this->builder_.ReverseFind(this->T(row.pattern).c_str(), row.fold), row.last) << row.text;
    }
    EXPECT_EQ(this->builder_.Find(nullptr, nullptr), NOT_FOUND);
    auto zero = this->T("ab-ab"); // the first zero ends a search from the front
    zero[2] = 0;
    this->builder_.SetLength(0);
    this->builder_.Append(zero.c_str(), 5);
    EXPECT_EQ(this->builder_.Find(this->T("b").c_str(), nullptr), 1u);
    EXPECT_EQ(this->builder_.ReverseFind(this->T("b").c_str(), nullptr), 4u);
    this->builder_.ApplyFold([](char c) { return c == 'a' ? '\0' : c; });
    EXPECT_EQ(this->builder_.Find(this->T("b").c_str(), nullptr), NOT_FOUND);
    EXPECT_EQ(this->builder_.ReverseFind(this->T("b").c_str(), nullptr), NOT_FOUND);
    EXPECT_TRUE(MatchesAt(this->T("Abc").c_str(), this->T("aB").c_str(), FoldLower));
    EXPECT_TRUE(MatchesAt(this->T("abc").c_str(), this->T("").c_str(), nullptr));
    EXPECT_FALSE(MatchesAt(this->T("ab").c_str(), this->T("abc").c_str(), nullptr));
}

TYPED_TEST(TextBuilders, CopiesOut)
{
    using Unit = typename TestFixture::Character;
    auto& builder = this->builder_;
    builder.Append(this->T("abcdef").c_str());
    struct Row {
        std::uint32_t size; // in characters
        std::uint32_t start;
        std::uint32_t count;
        const char* expected;
    };
    const Row rows[] = {{4, 0, 9, "abc"}, {10, 4, 5, "ef"}, {10, 9, 5, ""}, {10, 1, 2, "bc"}, {1, 0, 9, ""}};
    Unit buffer[10];
    for (const auto& [size, start, count, expected] : rows) {
        EXPECT_EQ(builder.CopyOut(buffer, size * sizeof(Unit), start, count), buffer);
        EXPECT_EQ(this->Narrow(buffer), expected);
    }
    EXPECT_EQ(this->Narrow(builder.CopyOut(buffer, sizeof(buffer))), "abcdef");
    EXPECT_EQ(builder.CopyOut(buffer, sizeof(Unit) - 1), nullptr);
    EXPECT_EQ(builder.CopyOut(nullptr, 10), nullptr);
    EXPECT_EQ(builder.CopyOut(builder.GetText(), 8 * sizeof(Unit)), builder.GetText());
    EXPECT_EQ(this->Text(), "abcdef");
}

// The builder's rules one by one, over the standard string.
template <typename Character>
struct Model {
    static constexpr std::uint64_t OVERHEAD = 1 + 4 / sizeof(Character);

    std::uint64_t capacity;
    TextType<Character> text;
    std::vector<TextType<Character>> frames;

    void Grow(std::uint64_t needed)
    {
        std::uint64_t below = 0;
        for (const auto& frame : frames) {
            below += frame.size() + OVERHEAD;
        }
        capacity = std::max({needed + below, 2 * (capacity + below), std::uint64_t{512}}) - below;
    }

    void Reserve(std::uint64_t size)
    {
        if (size > capacity) {
            Grow(size);
        }
    }

    void Finish()
    {
        if (text.size() + 1 >= capacity) {
            Grow(capacity + 2);
        }
    }

    void Append(const TextType<Character>& more)
    {
        for (const Character character : more) {
            if (text.size() == capacity) {
                Grow(2 * capacity);
            }
            text += character;
        }
        Finish();
    }

    void AppendCounted(const TextType<Character>& more, std::uint64_t reserved)
    {
        Reserve(text.size() + reserved);
        text += more;
        Finish();
    }

    void SetLength(std::size_t length)
    {
        if (length > text.size()) {
            Reserve(length + 1);
        }
        text.resize(length, 'X');
    }

    void Push(PushMode mode)
    {
        Reserve(text.size() + OVERHEAD + 1);
        capacity -= text.size() + OVERHEAD;
        frames.push_back(std::exchange(text, {}));
        if (mode == PUSH_COPY) {
            AppendCounted(frames.back(), frames.back().size());
        }
    }

    void Pop(PopMode mode)
    {
        const TextType<Character> kept = mode == POP_REPLACE ? TextType<Character>() : frames.back();
        capacity += frames.back().size() + OVERHEAD;
        text = mode == POP_DISCARD ? kept : kept + text;
        frames.pop_back();
    }
};

TYPED_TEST(TextBuilders, AgreesWithItsRules)
{
    using Unit = typename TestFixture::Character;
    std::mt19937 random(4);
    for (int run = 0; run < 400; ++run) {
        const auto size = static_cast<std::uint32_t>(random() % 600 + 1);
        const std::unique_ptr<Unit[]> buffer(new Unit[size]);
        TypeParam builder(buffer.get(), size * sizeof(Unit));
        Model<Unit> model{size, {}, {}};
        for (int step = 0; step < 60; ++step) {
            const char letter = "abcdefgh"[step % 8];
            const auto more = this->T(std::string(random() % (step % 10 == 0 ? 500 : 40), letter));
            const auto count = static_cast<std::uint32_t>(more.size());
            switch (random() % 9) {
            case 0:
                builder.Append(more.c_str());
                model.Append(more);
                break;
            case 1:
                builder.Append(more.c_str(), count);
                model.AppendCounted(more, count);
                break;
            case 2:
                builder.AppendFolded(more.c_str(), FoldLower);
                model.Append(more);
                break;
            case 3:
                builder.AppendChar('c');
                model.Append(this->T("c"));
                break;
            case 4: {
                const std::uint32_t length = step % 16 == 0 ? builder.GetCapacity() : count;
                builder.SetLength(length);
                model.SetLength(length);
                break;
            }
            case 5:
                builder.Append(builder.GetText()); // its own
                model.Finish();
                model.Append(TextType<Unit>(model.text));
                break;
            case 6:
                if constexpr (sizeof(Unit) == 1) {
                    builder.AppendWide(WideText(count, 'w').c_str(), count);
                } else {
                    builder.AppendUtf8(std::string(count, 'w').c_str(), count);
                }
                model.AppendCounted(this->T(std::string(count, 'w')), sizeof(Unit) == 1 ? 3 * count : count);
                break;
            case 7:
                builder.PushFrame(static_cast<PushMode>(step % 2));
                model.Push(static_cast<PushMode>(step % 2));
                break;
            default:
                if (!model.frames.empty()) {
                    builder.PopFrame(static_cast<PopMode>(step % 3));
                    model.Pop(static_cast<PopMode>(step % 3));
                }
            }
            ASSERT_EQ(builder.GetLength(), model.text.size());
            ASSERT_EQ(builder.GetCapacity(), model.capacity);
            TextType<Unit> text(model.text.size(), 0);
            builder.CopyOut(text.data(), static_cast<std::uint32_t>((text.size() + 1) * sizeof(Unit)));
            ASSERT_EQ(text, model.text);
        }
    }
}

TYPED_TEST(TextBuilders, LeavesOutgrownTextsReadable)
{
    auto& builder = this->builder_;
    builder.Append(this->T("stored").c_str());
    const auto* const stored = builder.PushFrame(PUSH_EMPTY);
    builder.Append(this->T("current").c_str());
    const auto* const current = builder.GetText();
    for (int i = 0; i < 3; ++i) {
        const auto longText = this->T(std::string(builder.GetCapacity(), 'x'));
        const auto* const outgrown = builder.Append(this->T("more").c_str());
        const std::string before = this->Narrow(outgrown);
        builder.Append(longText.c_str());
        EXPECT_NE(builder.GetText(), outgrown);
        EXPECT_EQ(this->Narrow(outgrown), before);
    }
    EXPECT_EQ(this->Narrow(stored), "stored");
    EXPECT_EQ(this->Narrow(current), "currentmore");
}

TYPED_TEST(TextBuilders, KeepsItsTextsWithoutMemory)
{
    using Unit = typename TestFixture::Character;
    using Change = std::function<void(TypeParam&)>;
    const auto longText = this->T(std::string(600, 'x'));
    const Change changes[] = {
        [&](TypeParam& b) { b.Append(longText.c_str()); },
        [&](TypeParam& b) { b.Append(longText.c_str(), 600); },
        [&](TypeParam& b) { b.AppendFolded(longText.c_str(), FoldPath); },
        [](TypeParam& b) { b.AppendChar('c'); },
        [](TypeParam& b) { b.Reserve(100); },
        [](TypeParam& b) { b.SetLength(100); },
        [](TypeParam& b) { b.PushFrame(PUSH_EMPTY); },
        [](TypeParam& b) { b.PushFrame(PUSH_COPY); },
        [](TypeParam& b) { b.GetText(); },
        [](TypeParam& b) {
            if constexpr (sizeof(Unit) == 1) {
                b.AppendWide(WIDE("wide"));
            } else {
                b.AppendUtf8("narrow");
            }
        },
        [](TypeParam& b) {
            if constexpr (sizeof(Unit) == 1) {
                b.AppendFormat("%d", 1234567);
            }
        },
    };
    for (std::size_t i = 0; i < std::size(changes); ++i) {
        for (unsigned n = 1, failures = 1; failures != 0; ++n) {
            const TraceCapture trace;
            Unit buffer[512];
            TypeParam builder(buffer, sizeof(buffer));
            builder.Append(this->T("below").c_str());
            builder.PushFrame(PUSH_EMPTY);
            builder.SetLength(builder.GetCapacity() - 1);
            const std::uint32_t length = builder.GetLength();
            {
                const HeapWatch watch({.ordinal = n});
                changes[i](builder);
                failures = watch.Failures();
                EXPECT_TRUE(failures == 0 || watch.Blocks() == n);
            }
            if (failures != 0) {
                EXPECT_EQ(builder.GetLength(), length) << i;
                EXPECT_EQ(this->Narrow(builder.GetText()), std::string(length, 'X')) << i;
                EXPECT_EQ(builder.PopFrame(POP_DISCARD), 5u) << i;
                EXPECT_EQ(this->Narrow(builder.GetText()), "below") << i;
                EXPECT_NE(trace.Text().find("Failed to allocate"), std::string::npos);
            }
        }
    }
}

// The frame finds room, the copy does not.
TYPED_TEST(TextBuilders, TakesAFrameBackWhoseCopyFindsNoMemory)
{
    const TraceCapture trace;
    this->builder_.SetLength(300);
    const HeapWatch watch({.ordinal = 1});
    EXPECT_EQ(this->builder_.PushFrame(PUSH_COPY), nullptr);
    EXPECT_EQ(this->builder_.GetLength(), 300u);
    EXPECT_EQ(this->builder_.GetCapacity(), 512u);
    EXPECT_EQ(watch.Blocks(), 1u);
    ReleaseBlocks(this->builder_); // it has none, and keeps its owner's buffer
    EXPECT_EQ(this->builder_.GetLength(), 300u);
}

TYPED_TEST(TextBuilders, FreeFunctionsDoWhatTheMembersDo)
{
    using Unit = typename TestFixture::Character;
    auto& builder = this->builder_;
    Reserve(builder, 600);
    EXPECT_EQ(builder.GetCapacity(), 1024u);
    Append(builder, this->T("ab").c_str());
    Append(builder, this->T("cdef").c_str(), 1);
    AppendChar(builder, 'D');
    AppendFolded(builder, this->T("/E").c_str(), FoldPath);
    EXPECT_EQ(this->Narrow(GetText(builder)), "abcD\\e");
    MakeLower(builder);
    ApplyFold(builder, [](char c) { return c == 'a' ? 'z' : c; });
    EXPECT_EQ(Find(builder, this->T("d").c_str(), FoldNone), 3u);
    EXPECT_EQ(ReverseFind(builder, this->T("z").c_str(), FoldNone), 0u);
    PushFrame(builder, PUSH_COPY);
    SetLength(builder, 2);
    EXPECT_EQ(PopFrame(builder, POP_APPEND), 8u);
    Unit buffer[20];
    EXPECT_EQ(this->Narrow(CopyOut(builder, buffer, sizeof(buffer))), "zbcd\\ezb");
    EXPECT_EQ(this->Narrow(CopyOut(builder, buffer, sizeof(buffer), 2, 2)), "cd");
    ReleaseBlocks(builder);
    EXPECT_EQ(builder.GetLength(), 0u);
    builder.MakeLower();
    Append(builder, this->T("again").c_str());
    EXPECT_EQ(this->Text(), "again");
}

TEST(CTextBuilder, FoldsOnlyItsPart)
{
    const CharacterFold question = [](char) { return '?'; };
    char narrowBuffer[8];
    CTextBuilder narrow(narrowBuffer, sizeof(narrowBuffer));
    narrow.AppendFolded("a\x7F\x80\xFF", question);
    EXPECT_STREQ(narrow.GetText(), "??\x80\xFF");
    WCHAR wideBuffer[8];
    CWideTextBuilder wide(wideBuffer, sizeof(wideBuffer));
    wide.AppendFolded(WIDE("a\u00FF\u0100"), question);
    EXPECT_EQ(ToUnits(wide.GetText()), "003f003f0100");
    wide.SetLength(0);
    wide.AppendFolded(WIDE("\u00C4"), [](char) { return '\xE4'; });
    EXPECT_EQ(ToUnits(wide.GetText()), "00e4");
}

TEST(CTextBuilder, FoldsEveryByteAtEveryPlace)
{
    std::string text;
    for (int i = 1; i < 256; ++i) {
        text += static_cast<char>(i);
    }
    for (const CharacterFold fold : {FoldNone, FoldLower, FoldSlash, FoldPath}) {
        for (std::size_t start = 0; start < text.size(); ++start) {
            std::string expected = text.substr(start);
            std::transform(expected.begin(), expected.end(), expected.begin(), fold);
            char buffer[512];
            CTextBuilder builder(buffer, sizeof(buffer));
            EXPECT_EQ(builder.AppendFolded(text.c_str() + start, fold), expected);
        }
    }
}

TEST(CTextBuilder, FormatsAndConverts)
{
    char buffer[16];
    CTextBuilder narrow(buffer, sizeof(buffer));
    AppendFormat(narrow, "%s", "sixteen letters!"); // but for its end just what there is
    EXPECT_STREQ(narrow.GetText(), "sixteen letters!");
    narrow.SetLength(0);
    narrow.AppendFormat("%s-%d", "a text longer than the buffer", 42);
    AppendFormat(narrow, "%c", '!');
    CallWithArguments([&](std::va_list list) { narrow.AppendFormatV(noFormat, list); });
    EXPECT_STREQ(narrow.GetText(), "a text longer than the buffer-42!");
    narrow.SetLength(1);
    narrow.AppendWide(WIDE("\u00fc\u4e2d..."), 2);
    AppendWide(narrow, WIDE("\U0001F3AE"));
    narrow.AppendWide(nullptr);
    narrow.AppendWide(WIDE(""));
    EXPECT_STREQ(narrow.GetText(), "a\xC3\xBC\xE4\xB8\xAD\xF0\x9F\x8E\xAE");
    const WideText many(2000, 0x4E2D);
    narrow.AppendWide(many.c_str());
    EXPECT_EQ(narrow.GetLength(), 10u + 6000u);

    WCHAR wideBuffer[4];
    CWideTextBuilder wide(wideBuffer, sizeof(wideBuffer));
    wide.AppendUtf8("\xC3\xBC\xE4\xB8\xAD...", 5);
    AppendUtf8(wide, "\xF0\x9F\x8E\xAE\xFF");
    wide.AppendUtf8(nullptr);
    wide.AppendUtf8("");
    EXPECT_EQ(ToUnits(wide.GetText()), "00fc4e2dd83cdfaefffd");
}

} // namespace
} // namespace Plinth
