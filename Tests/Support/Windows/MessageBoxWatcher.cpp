// On Windows a box is a real window of the dialog class; its text is the static control 0xFFFF.
#include "Tests/Support/MessageBoxWatcher.h"

#include "Tests/Support/Windows/WindowPicture.h"

namespace {

constexpr int TEXT_CONTROL = 0xFFFF;

struct Search {
    DWORD processId;
    HWND found;
};

BOOL CALLBACK IsBoxOfProcess(HWND window, LPARAM parameter)
{
    auto* search = reinterpret_cast<Search*>(parameter);
    WCHAR className[16] = {};
    DWORD processId = 0;
    GetClassNameW(window, className, 16);
    GetWindowThreadProcessId(window, &processId);
    if (processId != search->processId || WideTextView(className) != L"#32770" || !IsWindowVisible(window)) {
        return TRUE;
    }
    search->found = window;
    return FALSE;
}

WideText TextOf(HWND window)
{
    WideText text(2000, 0);
    text.resize(static_cast<std::size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return text;
}

// Window texts of another process's controls come only by message, which may find that process busy.
WideText TextOfControl(HWND control)
{
    WideText text(2000, 0);
    DWORD_PTR length = 0;
    SendMessageTimeoutW(control, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()), SMTO_NORMAL,
                        5000, &length);
    text.resize(length);
    return text;
}

} // namespace

MessageBoxWatcher::MessageBoxWatcher(const std::filesystem::path&) {}

MessageBoxWatcher::~MessageBoxWatcher() = default;

void MessageBoxWatcher::TakePictures(const std::filesystem::path& file)
{
    picture_ = file;
}

// A box without a default button to press would stand for ever; its window is then left and not counted.
void MessageBoxWatcher::Poll(DWORD processId)
{
    Search search{processId, nullptr};
    EnumWindows(IsBoxOfProcess, reinterpret_cast<LPARAM>(&search));
    const HWND text = search.found != nullptr ? GetDlgItem(search.found, TEXT_CONTROL) : nullptr;
    if (text == nullptr) {
        return;
    }
    SeenMessageBox box{TextOf(search.found), TextOfControl(text)};
    if (!picture_.empty()) {
        constexpr DWORD UNTIL_IT_IS_DRAWN = 500;
        Sleep(UNTIL_IT_IS_DRAWN);
        SaveWindowPicture(search.found, picture_);
    }
    DWORD_PTR ignored = 0;
    if (SendMessageTimeoutW(search.found, WM_COMMAND, IDOK, 0, SMTO_NORMAL, 5000, &ignored) != 0) {
        seen_.push_back(std::move(box));
    }
}

std::vector<SeenMessageBox> MessageBoxWatcher::Boxes() const
{
    return seen_;
}
