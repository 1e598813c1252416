// A hook of the thread sees its windows come: a box is refused before it is made, or answered by a timer once
// its own loop runs and its texts are in place.
#include "Tests/Support/BoxAnswers.h"

#include <array>
#include <utility>

namespace {

constexpr int TEXT_CONTROL = 0xFFFF;
constexpr UINT_PTR TIMER = 77;

HHOOK hook;
BoxAnswer answerToGive;
std::vector<AnsweredBox> boxes;
std::size_t refused;

bool IsBox(HWND window)
{
    char className[16] = {};
    GetClassNameA(window, className, sizeof(className));
    return std::string(className) == "#32770";
}

void HoldControlKey(bool isDown)
{
    std::array<BYTE, 256> keys{};
    GetKeyboardState(keys.data());
    keys[VK_CONTROL] = isDown ? 0x80 : 0;
    SetKeyboardState(keys.data());
}

void CALLBACK Answer(HWND box, UINT, UINT_PTR timer, DWORD)
{
    KillTimer(box, timer);
    std::array<char, 16384> caption{};
    std::array<char, 16384> text{};
    GetWindowTextA(box, caption.data(), static_cast<int>(caption.size()));
    GetDlgItemTextA(box, TEXT_CONTROL, text.data(), static_cast<int>(text.size()));
    boxes.push_back({caption.data(), text.data()});
    HoldControlKey(answerToGive == BoxAnswer::OK_WITH_CTRL);
    PostMessageA(box, WM_COMMAND, IDOK, 0);
}

LRESULT CALLBACK OnWindow(int code, WPARAM parameter, LPARAM more)
{
    HWND window = reinterpret_cast<HWND>(parameter); // NOLINT
    if (code == HCBT_CREATEWND && answerToGive == BoxAnswer::NOT_SHOWN && IsBox(window)) {
        ++refused;
        HoldControlKey(true);
        return 1;
    }
    if (code == HCBT_ACTIVATE && IsBox(window)) {
        SetTimer(window, TIMER, 0, Answer);
    }
    return CallNextHookEx(hook, code, parameter, more);
}

} // namespace

BoxAnswers::BoxAnswers(BoxAnswer answer)
{
    boxes.clear();
    refused = 0;
    answerToGive = answer;
    hook = SetWindowsHookExA(WH_CBT, OnWindow, nullptr, GetCurrentThreadId());
}

BoxAnswers::~BoxAnswers()
{
    UnhookWindowsHookEx(hook);
    HoldControlKey(false);
}

std::vector<AnsweredBox> BoxAnswers::Take()
{
    boxes.resize(boxes.size() + std::exchange(refused, 0));
    return std::exchange(boxes, {});
}
