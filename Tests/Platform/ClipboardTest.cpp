// The clipboard and its blocks, as the real platform has them. It is everybody's there: what a test needs of
// it happens while it is open.
#include "Platform/Win32.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <utility>

namespace {

constexpr DWORD UNTOUCHED = 77;
constexpr UINT OTHER_FORMAT = 0xC123; // in the range of those that programs name

HGLOBAL MakeBlock(const std::string& bytes)
{
    auto* const block = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
    void* const memory = GlobalLock(block);
    EXPECT_NE(memory, nullptr);
    EXPECT_NE(memory, block);
    std::memcpy(memory, bytes.data(), bytes.size());
    EXPECT_FALSE(GlobalUnlock(block));
    return block;
}

// With the terminator.
std::string BytesOf(HGLOBAL block)
{
    const auto* const memory = static_cast<const char*>(GlobalLock(block));
    std::string bytes = memory != nullptr ? std::string(memory, GlobalSize(block)) : "nothing";
    GlobalUnlock(block);
    return bytes;
}

// Who else looks at the clipboard has it open for a moment only.
bool OpenSoon()
{
    for (int i = 0; i < 100; ++i) {
        if (OpenClipboard(nullptr)) {
            return true;
        }
        Sleep(20);
    }
    return false;
}

class OpenedClipboard : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(OpenSoon());
        ASSERT_TRUE(EmptyClipboard());
    }
    ~OpenedClipboard() override { CloseClipboard(); }
};

TEST_F(OpenedClipboard, KeepsABlockAFormatUntilItIsReplacedOrEmptied)
{
    auto* const first = MakeBlock("first");
    auto* const text = MakeBlock("textX"); // the last byte becomes the terminator
    auto* const other = MakeBlock("other");
    SetLastError(UNTOUCHED);
    EXPECT_EQ(GetClipboardData(CF_TEXT), nullptr);
    EXPECT_EQ(GetLastError(), UNTOUCHED);
    EXPECT_EQ(SetClipboardData(CF_TEXT, first), first);
    EXPECT_EQ(SetClipboardData(CF_TEXT, text), text);
    EXPECT_EQ(SetClipboardData(OTHER_FORMAT, other), other);
    EXPECT_EQ(GlobalSize(first), 0u);
    EXPECT_EQ(BytesOf(GetClipboardData(CF_TEXT)), std::string("text\0", 5));
    EXPECT_EQ(BytesOf(GetClipboardData(OTHER_FORMAT)), "other");
    EXPECT_TRUE(CloseClipboard());
    ASSERT_TRUE(OpenSoon());
    EXPECT_EQ(BytesOf(GetClipboardData(CF_TEXT)), std::string("text\0", 5));
    EXPECT_TRUE(EmptyClipboard());
    EXPECT_EQ(GetClipboardData(CF_TEXT), nullptr);
    EXPECT_EQ(GetClipboardData(OTHER_FORMAT), nullptr);
    EXPECT_EQ(GlobalSize(other), 0u);
}

TEST_F(OpenedClipboard, RefusesWhatIsNoData)
{
    auto* const text = MakeBlock("text");
    auto* const nothing = GlobalAlloc(GMEM_MOVEABLE, 0);
    struct Row {
        UINT format;
        HANDLE memory;
        DWORD error;
    };
    const Row rows[] = {
        {CF_TEXT, reinterpret_cast<HANDLE>(0x7ffffff0), ERROR_INVALID_HANDLE},
        {0, text, ERROR_CLIPBOARD_NOT_OPEN},
        {CF_TEXT, nothing, UNTOUCHED},
        {CF_TEXT, nullptr, UNTOUCHED}, // data that its owner makes when asked
    };
    for (const Row& row : rows) {
        SetLastError(UNTOUCHED);
        EXPECT_EQ(SetClipboardData(row.format, row.memory), nullptr) << row.error;
        EXPECT_EQ(GetLastError(), row.error);
        EXPECT_EQ(GetClipboardData(CF_TEXT), nullptr);
    }
    EXPECT_TRUE(OpenClipboard(nullptr)); // again, by the same thread; closed once
    EXPECT_EQ(GlobalFree(text), nullptr);
    EXPECT_EQ(GlobalFree(nothing), nullptr);
}

TEST(Clipboard, IsOfNoUseWhileItIsNotOpen)
{
    const std::string text("text\0", 5);
    auto* const block = MakeBlock(text);
    const std::function<bool()> functions[] = {
        [] { return EmptyClipboard() != FALSE; },
        [] { return CloseClipboard() != FALSE; },
        [&] { return SetClipboardData(CF_TEXT, block) != nullptr; },
        [] { return GetClipboardData(CF_TEXT) != nullptr; },
    };
    for (const auto& succeeds : functions) {
        SetLastError(UNTOUCHED);
        EXPECT_FALSE(succeeds());
        EXPECT_EQ(GetLastError(), DWORD{ERROR_CLIPBOARD_NOT_OPEN});
    }
    EXPECT_EQ(BytesOf(block), text); // still the caller's
    EXPECT_EQ(GlobalFree(block), nullptr);
    SetLastError(UNTOUCHED);
    EXPECT_FALSE(OpenClipboard(reinterpret_cast<HWND>(0x7777)));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_WINDOW_HANDLE});
}

TEST(Blocks, CountTheirLocks)
{
    const auto unlock = [](HGLOBAL block) {
        SetLastError(UNTOUCHED);
        const BOOL left = GlobalUnlock(block);
        return std::pair(left != FALSE, GetLastError());
    };
    auto* const block = GlobalAlloc(GMEM_MOVEABLE, 10);
    EXPECT_EQ(GlobalLock(block), GlobalLock(block));
    EXPECT_EQ(GlobalSize(block), 10u);
    EXPECT_EQ(unlock(block), std::pair(true, UNTOUCHED));
    EXPECT_EQ(unlock(block), std::pair(false, DWORD{ERROR_SUCCESS}));
    EXPECT_EQ(unlock(block), std::pair(false, DWORD{ERROR_NOT_LOCKED}));
    for (int i = 0; i < 300; ++i) {
        GlobalLock(block);
    }
    int left = 0;
    while (unlock(block).first) {
        ++left;
    }
    EXPECT_EQ(left, 254);
    EXPECT_NE(GlobalLock(block), nullptr);
    EXPECT_EQ(GlobalFree(block), nullptr); // locked or not
    auto* const empty = GlobalAlloc(GMEM_MOVEABLE, 0);
    EXPECT_NE(empty, nullptr);
    SetLastError(UNTOUCHED);
    EXPECT_EQ(GlobalLock(empty), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DISCARDED});
    EXPECT_EQ(GlobalFree(empty), nullptr);
}

TEST(Blocks, ThatAreNoneAreRefused)
{
    auto* const freed = GlobalAlloc(GMEM_MOVEABLE, 10);
    EXPECT_EQ(GlobalFree(freed), nullptr);
    const std::function<bool(HGLOBAL)> functions[] = {
        [](HGLOBAL block) { return GlobalLock(block) != nullptr; },
        [](HGLOBAL block) { return GlobalUnlock(block) != FALSE; },
        [](HGLOBAL block) { return GlobalSize(block) != 0; },
        [](HGLOBAL block) { return GlobalFree(block) != block; },
    };
    for (HGLOBAL block : {freed, HGLOBAL{nullptr}, reinterpret_cast<HGLOBAL>(0x7ffffff2)}) {
        for (std::size_t i = 0; i < std::size(functions); ++i) {
            const bool silent = block == nullptr && (i == 0 || i == 3);
            SetLastError(UNTOUCHED);
            EXPECT_FALSE(functions[i](block)) << i;
            EXPECT_EQ(GetLastError(), silent ? UNTOUCHED : DWORD{ERROR_INVALID_HANDLE}) << i;
        }
    }
}

} // namespace
