#include "Plinth/Text/TextBuilderFunctions.h"
#include "Tests/Plinth/CallWithArguments.h"
#include "Tests/Plinth/TraceCapture.h"
#include "Tests/Support/HeapWatch.h"
#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <tuple>
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

// What only one of them has: text of the other width, and formats.
struct Own {
    // Characters that one of the other width reserves, by the size of the builder's own.
    static constexpr std::uint32_t RESERVED[] = {0, 3, 1};
    static void Append(CTextBuilder& b, std::uint32_t n) { AppendWide(b, WideText(n, 'w').c_str(), n); }
    static void Append(CWideTextBuilder& b, std::uint32_t n)
    {
        AppendUtf8(b, std::string(n, 'w').c_str(), n);
    }
    static void Format(CTextBuilder& b) { b.AppendFormat("%d", 1234567); }
    static void Format(CWideTextBuilder& /*b*/) {}
};

TYPED_TEST(TextBuilders, AppendsFoldsAndIgnores)
{
    auto& builder = this->builder_;
    EXPECT_EQ(Append(builder, this->T("abc").c_str()), builder.GetText());
    Append(builder, nullptr);
    Append(builder, nullptr, 3);
    AppendFolded(builder, nullptr, FoldPath);
    AppendFolded(builder, this->T("/XyZ").c_str(), FoldPath);
    AppendFolded(builder, this->T("/X").c_str(), nullptr);
    AppendFolded(builder, this->T("12345").c_str(), [](char c) { return c == '3' ? '\0' : c; });
    SetLength(builder, 0x80000001);
    EXPECT_EQ(this->Text(), "abc\\xyz/X12");
    ApplyFold(builder, [](char c) { return c == 'X' ? 'Z' : c; });
    MakeLower(builder);
    EXPECT_EQ(this->Text(), "abc\\xyz/z12");
    ReleaseBlocks(builder); // it has none, and keeps its owner's buffer
    EXPECT_EQ(this->Text(), "abc\\xyz/z12");
    EXPECT_TRUE(Reserve(builder, 600));
    ReleaseBlocks(builder);
    EXPECT_EQ(builder.GetLength(), 0u);
    MakeLower(builder);
    EXPECT_EQ(this->Narrow(Append(builder, this->T("again").c_str())), "again");
}

TYPED_TEST(TextBuilders, Searches)
{
    struct Row {
        const char *text, *pattern;
        CharacterFold fold;
        std::uint32_t first, last;
    };
    const Row rows[] = {
        {"abc", "B", FoldLower, 1, 1},
        {"abc", "B", nullptr, NOT_FOUND, NOT_FOUND},
        {"abc", "", nullptr, NOT_FOUND, NOT_FOUND},
        {"", "", nullptr, 0, 0},
        {"", "a", nullptr, NOT_FOUND, NOT_FOUND},
        {"a/b\\A/B", "a\\B", FoldPath, 0, 4},
        {"a/b\\A/B", "\\", FoldSlash, 1, 5},
        {"aab", "ab", FoldNone, 1, 1},
        {"ab", "abc", FoldNone, NOT_FOUND, NOT_FOUND},
        {"ab0ab", "b", nullptr, 1, 4}, // a zero ends a search from the front
        {"a0b", "b", nullptr, NOT_FOUND, 2},
        {"0b", "b", nullptr, NOT_FOUND, NOT_FOUND},
    };
    for (const Row& row : rows) {
        SetLength(this->builder_, 0);
        Append(this->builder_, this->T(row.text).c_str());
        ApplyFold(this->builder_, [](char c) { return c == '0' ? '\0' : c; });
        EXPECT_EQ(Find(this->builder_, this->T(row.pattern).c_str(), row.fold), row.first) << row.text;
        EXPECT_EQ(ReverseFind(this->builder_, this->T(row.pattern).c_str(), row.fold), row.last) << row.text;
    }
    EXPECT_EQ(Find(this->builder_, nullptr, nullptr), NOT_FOUND);
    EXPECT_TRUE(MatchesAt(this->T("Abc").c_str(), this->T("aB").c_str(), FoldLower));
    EXPECT_TRUE(MatchesAt(this->T("abc").c_str(), this->T("").c_str(), nullptr));
    EXPECT_FALSE(MatchesAt(this->T("ab").c_str(), this->T("abc").c_str(), nullptr));
}

// The builder's rules one by one, over the standard string.
template <typename Character>
struct Model {
    using Text = TextType<Character>;
    static constexpr std::uint64_t OVERHEAD = 1 + 4 / sizeof(Character);

    void Reserve(std::uint64_t size)
    {
        std::uint64_t below = 0;
        for (const Text& frame : frames) {
            below += frame.size() + OVERHEAD;
        }
        if (size > capacity) {
            capacity = std::max({size + below, 2 * (capacity + below), std::uint64_t{512}}) - below;
        }
    }
    void Finish() { Reserve(text.size() + 1 < capacity ? 0 : capacity + 2); }
    void Append(const Text& more)
    {
        for (const Character character : more) {
            Reserve(text.size() < capacity ? 0 : 2 * capacity);
            text += character;
        }
        Finish();
    }
    void AppendOwn()
    {
        Finish();
        Append(Text(text));
    }
    void AppendCounted(const Text& more, std::uint64_t reserved)
    {
        Reserve(text.size() + reserved);
        text += more;
        Finish();
    }
    void SetLength(std::size_t length)
    {
        Reserve(length > text.size() ? length + 1 : 0);
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
        capacity += frames.back().size() + OVERHEAD;
        text = (mode == POP_REPLACE ? Text() : frames.back()) + (mode == POP_DISCARD ? Text() : text);
        frames.pop_back();
    }

    std::uint64_t capacity;
    Text text{};
    std::vector<Text> frames{};
};

TYPED_TEST(TextBuilders, AgreesWithItsRules)
{
    using Unit = typename TestFixture::Character;
    std::mt19937 random(4);
    for (int run = 0; run < 400; ++run) {
        const auto size = static_cast<std::uint32_t>(random() % 600 + 1);
        const std::unique_ptr<Unit[]> buffer(new Unit[size]);
        TypeParam b(buffer.get(), size * sizeof(Unit));
        Model<Unit> model{size};
        TextType<Unit> more;
        std::uint32_t count = 0;
        std::uint32_t length = 0;
        auto push = PUSH_EMPTY;
        auto pop = POP_DISCARD;
        std::uint32_t popped = 0;
        const std::pair<std::function<void()>, std::function<void()>> steps[] = {
            {[&] { Append(b, more.c_str()); }, [&] { model.Append(more); }},
            {[&] { Append(b, more.c_str(), count); }, [&] { model.AppendCounted(more, count); }},
            {[&] { AppendFolded(b, more.c_str(), FoldLower); }, [&] { model.Append(more); }},
            {[&] { AppendChar(b, 'c'); }, [&] { model.Append(this->T("c")); }},
            {[&] { SetLength(b, length); }, [&] { model.SetLength(length); }},
            {[&] { GetText(b); }, [&] { model.Finish(); }},
            {[&] { Append(b, b.GetText()); }, [&] { model.AppendOwn(); }},
            {[&] { Own::Append(b, count); },
             [&] {
                 model.AppendCounted(this->T(std::string(count, 'w')), count * Own::RESERVED[sizeof(Unit)]);
             }},
            {[&] { EXPECT_EQ(PushFrame(b, push), model.text); }, [&] { model.Push(push); }},
            {[&] { popped = PopFrame(b, pop); },
             [&] {
                 model.Pop(pop);
                 EXPECT_EQ(popped, model.text.size());
             }},
        };
        for (int step = 0; step < 60; ++step) {
            more = this->T(std::string(random() % (step % 10 == 0 ? 500 : 40), "abcdefgh"[step % 8]));
            count = static_cast<std::uint32_t>(more.size());
            length = step % 16 == 0 ? b.GetCapacity() : count;
            push = static_cast<PushMode>(step % 2);
            pop = static_cast<PopMode>(step % 3);
            const auto& [change, rule] = steps[random() % (model.frames.empty() ? 9 : 10)];
            change();
            rule();
            ASSERT_EQ(b.GetLength(), model.text.size());
            ASSERT_EQ(b.GetCapacity(), model.capacity);
            const auto start = static_cast<std::uint32_t>(random() % (length + 1));
            const TextType<Unit> part =
                model.text.substr(std::min<std::size_t>(start, model.text.size()), count);
            for (const std::size_t room : {part.size() + 1, std::max<std::size_t>(part.size(), 1)}) {
                const auto byteSize = static_cast<std::uint32_t>((room + 1) * sizeof(Unit) - 1);
                const std::unique_ptr<Unit[]> copy(new Unit[room]); // exactly sized
                ASSERT_EQ(CopyOut(b, copy.get(), byteSize, start, count), part.substr(0, room - 1));
            }
            TextType<Unit> text(model.text.size(), 0);
            CopyOut(b, text.data(), static_cast<std::uint32_t>((text.size() + 1) * sizeof(Unit)));
            ASSERT_EQ(text, model.text);
        }
    }
    auto& builder = this->builder_;
    EXPECT_EQ(CopyOut(builder, this->T("x").data(), sizeof(Unit) - 1), nullptr);
    EXPECT_EQ(CopyOut(builder, nullptr, 10), nullptr);
    Append(builder, this->T("abcdef").c_str());
    EXPECT_EQ(this->Narrow(CopyOut(builder, builder.GetText(), 8 * sizeof(Unit), 2, 9)),
              "cdef"); // onto itself
}

TYPED_TEST(TextBuilders, LeavesOutgrownTextsReadable)
{
    auto& builder = this->builder_;
    builder.Append(this->T("stored").c_str());
    const auto* const stored = builder.PushFrame(PUSH_EMPTY);
    for (int i = 0; i < 3; ++i) {
        const auto* const outgrown = builder.Append(this->T("more").c_str());
        const std::string before = this->Narrow(outgrown);
        builder.Append(this->T(std::string(builder.GetCapacity(), 'x')).c_str());
        EXPECT_NE(builder.GetText(), outgrown);
        EXPECT_EQ(this->Narrow(outgrown), before);
    }
    EXPECT_EQ(this->Narrow(stored), "stored");
}

TYPED_TEST(TextBuilders, KeepsItsTextsWithoutMemory)
{
    using Unit = typename TestFixture::Character;
    const auto longText = this->T(std::string(600, 'x'));
    const std::function<void(TypeParam&)> changes[] = {
        [&](TypeParam& b) { b.Append(longText.c_str()); },
        [&](TypeParam& b) { b.Append(longText.c_str(), 600); },
        [&](TypeParam& b) { b.AppendFolded(longText.c_str(), FoldPath); },
        [](TypeParam& b) { b.AppendChar('c'); },
        [](TypeParam& b) { b.Reserve(100); },
        [](TypeParam& b) { b.SetLength(100); },
        [](TypeParam& b) { b.PushFrame(PUSH_EMPTY); },
        [](TypeParam& b) { b.PushFrame(PUSH_COPY); },
        [](TypeParam& b) { b.GetText(); },
        [](TypeParam& b) { Own::Append(b, 6); },
        [](TypeParam& b) { Own::Format(b); },
    };
    for (const auto& change : changes) {
        for (unsigned n = 1, failures = 1; failures != 0; ++n) {
            const TraceCapture trace;
            Unit buffer[512];
            TypeParam builder(buffer, sizeof(buffer));
            builder.Append(this->T("below").c_str());
            builder.PushFrame(PUSH_EMPTY);
            builder.SetLength(builder.GetCapacity() - 1);
            const std::string text(builder.GetLength(), 'X');
            {
                const HeapWatch watch({.ordinal = n});
                change(builder);
                failures = watch.Failures();
                EXPECT_TRUE(failures == 0 || watch.Blocks() == n);
            }
            if (failures != 0) {
                EXPECT_EQ(this->Narrow(builder.GetText()), text) << &change - changes;
                EXPECT_EQ(builder.PopFrame(POP_DISCARD), 5u) << &change - changes;
                EXPECT_EQ(this->Narrow(builder.GetText()), "below") << &change - changes;
                EXPECT_NE(trace.Text().find("Failed to allocate"), std::string::npos);
            }
        }
    }
    // The frame finds room, its copy does not.
    const TraceCapture trace;
    this->builder_.SetLength(300);
    const HeapWatch watch({.ordinal = 1});
    EXPECT_EQ(this->builder_.PushFrame(PUSH_COPY), nullptr);
    EXPECT_EQ(this->builder_.GetLength(), 300u);
    EXPECT_EQ(this->builder_.GetCapacity(), 512u);
}

TEST(CTextBuilder, FoldsOnlyItsPart)
{
    const CharacterFold question = [](char) { return '?'; };
    char narrowBuffer[8];
    CTextBuilder narrow(narrowBuffer, sizeof(narrowBuffer));
    EXPECT_STREQ(narrow.AppendFolded("a\x7F\x80\xFF", question), "??\x80\xFF");
    WCHAR wideBuffer[8];
    CWideTextBuilder wide(wideBuffer, sizeof(wideBuffer));
    wide.AppendFolded(WIDE("a\u00FF\u0100"), question);
    EXPECT_EQ(ToUnits(wide.AppendFolded(WIDE("\u00C4"), [](char) { return '\xE4'; })), "003f003f010000e4");
    std::string bytes; // every byte at every place
    for (int i = 1; i < 256; ++i) {
        bytes += static_cast<char>(i);
    }
    for (const CharacterFold fold : {FoldNone, FoldLower, FoldSlash, FoldPath}) {
        for (std::size_t start = 0; start < bytes.size(); ++start) {
            std::string expected = bytes.substr(start);
            std::transform(expected.begin(), expected.end(), expected.begin(), fold);
            char buffer[512];
            CTextBuilder builder(buffer, sizeof(buffer));
            EXPECT_EQ(builder.AppendFolded(bytes.c_str() + start, fold), expected);
        }
    }
}

TEST(CTextBuilder, FormatsAndConverts)
{
    char buffer[16];
    CTextBuilder narrow(buffer, sizeof(buffer));
    EXPECT_STREQ(AppendFormat(narrow, "%s", "sixteen letters!"), "sixteen letters!"); // no room for its end
    narrow.SetLength(0);
    narrow.AppendFormat("%s-%d", "a text longer than the buffer", 42);
    CallWithArguments([&](std::va_list list) { AppendFormatV(narrow, noFormat, list); });
    EXPECT_STREQ(narrow.GetText(), "a text longer than the buffer-42");
    narrow.SetLength(1);
    narrow.AppendWide(WIDE("\u00fc\u4e2d..."), 2);
    AppendWide(narrow, WIDE("\U0001F3AE"));
    narrow.AppendWide(nullptr);
    EXPECT_STREQ(narrow.AppendWide(WIDE("")), "a\xC3\xBC\xE4\xB8\xAD\xF0\x9F\x8E\xAE");
    narrow.AppendWide(WideText(2000, 0x4E2D).c_str());
    EXPECT_EQ(narrow.GetLength(), 10u + 6000u);

    WCHAR wideBuffer[4];
    CWideTextBuilder wide(wideBuffer, sizeof(wideBuffer));
    wide.AppendUtf8("\xC3\xBC\xE4\xB8\xAD...", 5);
    AppendUtf8(wide, "\xF0\x9F\x8E\xAE\xFF");
    wide.AppendUtf8(nullptr);
    EXPECT_EQ(ToUnits(wide.AppendUtf8("")), "00fc4e2dd83cdfaefffd");
}

} // namespace
} // namespace Plinth
