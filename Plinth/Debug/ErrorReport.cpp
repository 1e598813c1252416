#include "Plinth/Debug/ErrorReport.h"

#include "Platform/Win32.h"
#include "Plinth/Debug/Clipboard.h"
#include "Plinth/Debug/ReportState.h"
#include "Plinth/Debug/StackDump.h"
#include "Plinth/Debug/StackDumpState.h"
#include "Plinth/Debug/TraceState.h"
#include "Plinth/Text/ZeroTerminatedText.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace Plinth {

constinit ReportState reportState{};

namespace {

constexpr std::uint32_t TEXT_SIZE = 8192;
constexpr std::uint32_t MESSAGE_SIZE = 1024;

struct Report {
    std::uint32_t flags;
    const char* file;
    std::uint32_t line;
    const char* expression;
    const char* message;

    [[nodiscard]] bool IsFatal() const { return (flags & ReportFlagContinue) == 0; }
};

struct Wording {
    const char* box;
    const char* trace;
};

Wording WordingOf(const Report& report)
{
    if (report.IsFatal()) {
        return {"Fatal error", "FATAL ERROR"};
    }
    if ((report.flags & ReportFlagDebugError) != 0) {
        return {"Debug error", "DEBUG ERROR"};
    }
    return {"Assertion failed", "ASSERTION FAILED"};
}

// --- The lock

enum class LockState { NONE, BEING_MADE, READY };

constinit std::atomic<LockState> lockState{LockState::NONE};
constinit CRITICAL_SECTION reportLock{};

// The first reports of two threads may come at once: one makes the lock, the other waits until it is there.
void MakeLock()
{
    LockState found = LockState::NONE;
    if (lockState.compare_exchange_strong(found, LockState::BEING_MADE)) {
        InitializeCriticalSection(&reportLock);
        lockState = LockState::READY;
    }
    while (lockState != LockState::READY) {
        Sleep(1); // also for one of lower priority
    }
}

// The thread that dumps the owner's stack acts for it: a callback that reports from there would wait for a
// lock whose owner waits for that thread.
bool ActsForLockOwner()
{
    return stackDumpState.dumping == GetCurrentThreadId() && stackDumpState.dumped == reportState.owner;
}

class CReportLock {
public:
    CReportLock()
    {
        if (!held_) {
            MakeLock();
            EnterCriticalSection(&reportLock);
        }
    }
    ~CReportLock()
    {
        if (!held_) {
            LeaveCriticalSection(&reportLock);
        }
    }
    CReportLock(const CReportLock&) = delete;
    CReportLock& operator=(const CReportLock&) = delete;

private:
    bool held_ = ActsForLockOwner();
};

// --- Places that are not reported any more

bool IsIgnored(const char* file, std::uint32_t line)
{
    const IgnoreTable& table = reportState.ignored;
    for (std::uint32_t index = 0; index < table.count; ++index) {
        if (table.places[index].line == line && std::strcmp(table.places[index].file, file) == 0) {
            return true;
        }
    }
    return false;
}

// The newest takes the place of the oldest.
void Ignore(const char* file, std::uint32_t line)
{
    IgnoreTable& table = reportState.ignored;
    IgnoredPlace* const end = table.places + MOST_IGNORED;
    table.last = table.last == nullptr || table.last + 1 == end ? table.places : table.last + 1;
    CopyText(table.last->file, IGNORED_NAME_SIZE, file);
    table.last->line = line;
    if (table.count < MOST_IGNORED) {
        ++table.count;
    }
}

// --- What a report tells

void TraceSecondChance(const Report& report)
{
    Trace("\n\n");
    TraceF("ERROR: Second chance %s!\n\n", WordingOf(report).trace);
    TraceF("File: %s\nLine: %u\n", TextOrNull(report.file), report.line);
    TraceF("Expression: %s\n", TextOrNull(report.expression));
    TraceF("Message: %s\n", TextOrNull(report.message));
    Trace("\n\n");
}

void ShowThirdChance(const Report& report)
{
    OutputDebugStringA("ERROR: Third chance ");
    OutputDebugStringA(WordingOf(report).trace);
    OutputDebugStringA("!\n");
}

void TraceHeading(const Report& report)
{
    SYSTEMTIME time;
    GetLocalTime(&time);
    Trace("\n\n");
    TraceF("[ %04i/%02i/%02i %02i:%02i:%02i ] ERROR: %s!\n\n", time.wYear, time.wMonth, time.wDay, time.wHour,
           time.wMinute, time.wSecond, WordingOf(report).trace);
}

void AppendParts(char* body, const Report& report)
{
    if (!IsNullOrEmpty(report.expression)) {
        AppendFormatText(body, TEXT_SIZE, "Expression: %s\n", report.expression);
    }
    if (!IsNullOrEmpty(report.message)) {
        AppendFormatText(body, TEXT_SIZE, "Error: %s\n", report.message);
    }
    if (!IsNullOrEmpty(GetAdditionalInfo())) {
        AppendFormatText(body, TEXT_SIZE, "Additional info: %s\n", GetAdditionalInfo());
    }
    if (report.file != nullptr) {
        AppendFormatText(body, TEXT_SIZE, "%sFile: %s\nLine: %u\n", *body != 0 ? "\n" : "", report.file,
                         report.line);
    }
}

// A bad pointer ends it there: the caller may stand under a guard, and a fault that went there would leave
// the lock behind.
void ComposeBody(char* body, const Report& report)
{
    std::memset(body, 0, TEXT_SIZE);
    Platform::RunGuarded([=, &report] { AppendParts(body, report); });
    body[TEXT_SIZE - 1] = 0;
}

void TraceBody(const Report& report, const char* body)
{
    TraceIndent();
    Trace(body);
    Trace("\n");
    if (report.IsFatal()) {
        DumpCallStack();
    }
    TraceUnindent();
}

// The program's file name and what kind of box this is.
void ComposeCaption(char* caption)
{
    char path[1028]{};
    const char* fileName = nullptr;
    *caption = 0;
    GetModuleFileNameA(nullptr, path, sizeof(path) - 2);
    SplitPath(path, &fileName, nullptr);
    if (*fileName != 0) {
        FormatText(caption, TEXT_SIZE, "%s - ", fileName);
    }
    AppendText(caption, TEXT_SIZE, "Error");
}

HWND OwnerWindow()
{
    HWND active = GetActiveWindow();
    return active != nullptr ? GetLastActivePopup(active) : nullptr;
}

// Whether OK was pressed.
bool ShowBox(const char* text)
{
    char caption[TEXT_SIZE];
    ComposeCaption(caption);
    return MessageBoxA(OwnerWindow(), text, caption,
                       MB_OK | MB_ICONERROR | MB_SYSTEMMODAL | MB_SETFOREGROUND) == IDOK;
}

bool ShowReport(const Report& report, const char* body)
{
    char text[TEXT_SIZE];
    FormatText(text, TEXT_SIZE, "%s!\n\n", WordingOf(report).box);
    AppendText(text, TEXT_SIZE, body);
    CopyTextToClipboard(text);
    return ShowBox(text);
}

bool IsControlKeyDown()
{
    return GetKeyState(VK_CONTROL) < 0;
}

// The first report of a thread.
void TellPerson(const Report& report)
{
    char body[TEXT_SIZE];
    TraceHeading(report);
    ComposeBody(body, report);
    TraceBody(report, body);
    const bool pressedOk = ShowReport(report, body);
    if (!report.IsFatal() && pressedOk && IsControlKeyDown()) {
        Ignore(report.file != nullptr ? report.file : "", report.line);
    }
    TraceF("Assertion: User pressed %s.\n", pressedOk ? "Ok" : "Abort");
    if (report.IsFatal()) {
        stackDumpState.exiting = 1;
        std::_Exit(1);
    }
}

} // namespace

bool ReportError(std::uint32_t flags, const char* file, std::uint32_t line, const char* expression,
                 const char* message)
{
    if (IsIgnored(file != nullptr ? file : "", line)) {
        return false;
    }
    const Report report{flags, file, line, expression, message};
    const CReportLock lock;
    SetTraceCallback(reportState.callback);
    switch (++reportState.depth) {
    case 1:
        reportState.owner = GetCurrentThreadId();
        TellPerson(report);
        reportState.owner = 0;
        break;
    case 2:
        TraceSecondChance(report);
        break;
    default:
        ShowThirdChance(report);
    }
    SetTraceCallback(nullptr);
    --reportState.depth;
    return false;
}

bool ReportErrorF(std::uint32_t flags, const char* file, std::uint32_t line, const char* expression,
                  const char* format, ...)
{
    char message[MESSAGE_SIZE];
    std::va_list arguments;
    va_start(arguments, format);
    TryFormatTextV(message, sizeof(message), format, arguments);
    va_end(arguments);
    return ReportError(flags, file, line, expression, message);
}

void SetReportCallback(TraceCallback callback)
{
    reportState.callback = callback;
}

void SetAdditionalInfo(const char* text)
{
    CopyText(traceState.additionalInfo, ADDITIONAL_INFO_SIZE, text);
}

const char* GetAdditionalInfo()
{
    return traceState.additionalInfo;
}

} // namespace Plinth
