#include "Plinth/Debug/CrashReport.h"

#include "Platform/FreshStack.h"
#include "Plinth/Debug/Allocation.h"
#include "Plinth/Debug/CStackWalker.h"
#include "Plinth/Debug/DbgHelp.h"
#include "Plinth/Debug/Low32.h"
#include "Plinth/Debug/Minidump.h"
#include "Plinth/Debug/ModuleName.h"
#include "Plinth/Debug/ModulePath.h"
#include "Plinth/Debug/StaticDiagnostics.h"
#include "Plinth/Debug/Symbols.h"
#include "Plinth/Debug/SystemInfo.h"
#include "Plinth/Debug/Trace.h"
#include "Plinth/Text/ZeroTerminatedText.h"

#include <algorithm>
#include <iterator>

namespace Plinth {

namespace {

constexpr int LEVEL = 3;
constexpr int MOST_FRAMES = 16;

struct Phrase {
    DWORD code;
    const char* text;
};

// With their articles: a sentence goes on behind them.
constexpr Phrase PHRASES[] = {
    {0x40010005, "a control-c"},
    {0x40010008, "a control-break"},
    {0x80000002, "a datatype misalignment"},
    {0x80000003, "a breakpoint"},
    {0xC0000005, "an access violation"},
    {0xC0000006, "an in page error"},
    {0xC0000017, "a no memory"},
    {0xC000001D, "an illegal instruction"},
    {0xC0000025, "a noncontinuable"},
    {0xC0000026, "an invalid disposition"},
    {0xC000008C, "a array bounds exceeded"},
    {0xC000008D, "a float denormal operand"},
    {0xC000008E, "a float divide by zero"},
    {0xC000008F, "a float inexact result"},
    {0xC0000090, "a float invalid operation"},
    {0xC0000091, "a float overflow"},
    {0xC0000092, "a float stack check"},
    {0xC0000093, "a float underflow"},
    {0xC0000094, "an integer divide by zero"},
    {0xC0000095, "an integer overflow"},
    {0xC0000096, "a privileged instruction"},
    {0xC00000FD, "a stack overflow"},
    {0xC0000142, "a DLL initialization failed"},
    {0xE06D7363, "a Microsoft C++"},
};

// --- What failed

struct Module {
    CModuleName name;
    HMODULE base;
};

Module ModuleOf(LPCWSTR path, HMODULE base)
{
    return *path != 0 ? Module{CModuleName(GetFileNamePart(path)), base}
                      : Module{CModuleName(WIDE("Unknown")), nullptr};
}

Module Executable()
{
    const CModulePath path;
    return ModuleOf(path.text, GetModuleHandleW(nullptr));
}

// A free page is in no module, and the null that it has for one would be taken for the program.
Module ModuleAt(DWORD_PTR address)
{
    MEMORY_BASIC_INFORMATION region{};
    VirtualQuery(reinterpret_cast<LPCVOID>(address), &region, sizeof(region));
    auto* const base = static_cast<HMODULE>(region.AllocationBase);
    return base != nullptr ? ModuleOf(CModulePath(base).text, base) : ModuleOf(WIDE(""), nullptr);
}

void TraceSentence(const EXCEPTION_RECORD& record, const CONTEXT& context)
{
    const Module executable = Executable();
    const Module module = ModuleAt(context.Eip);
    TraceLevelF(LEVEL,
                "\n\n  %ls (time stamp 0x%08x) caused %s exception in\n"
                "  module %ls (time stamp 0x%08x, base address 0x%08x) at %04x:%08x.\n\n",
                executable.name.Argument(), GetModuleLinkTime(executable.base),
                DescribeException(record.ExceptionCode), module.name.Argument(),
                GetModuleLinkTime(module.base), Low32(module.base), Low32(context.SegCs), Low32(context.Eip));
}

void TraceAccess(const EXCEPTION_RECORD& record)
{
    if (record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && record.NumberParameters >= 2) {
        const auto& parameters = record.ExceptionInformation;
        TraceLevelF(LEVEL, "\n\n  %s location 0x%08x caused an access violation.\n\n",
                    parameters[0] == 0 ? "Read from" : "Write to", Low32(parameters[1]));
    }
}

// --- Where

void TracePlace(const CONTEXT& context)
{
    char text[1024];
    DescribeAddress(text, sizeof(text), context.Eip);
    if (*text != 0) {
        TraceLevelF(LEVEL, "\n\n  %04x:%08x  %s\n\n", Low32(context.SegCs), Low32(context.Eip), text);
    }
}

void TraceRegisters(const CONTEXT& context)
{
    TraceLevel(LEVEL, "\n\n  Registers:\n\n");
    TraceLevelF(LEVEL, "    EAX=%08x CS=%04x EIP=%08x EFLGS=%08x\n", Low32(context.Eax), Low32(context.SegCs),
                Low32(context.Eip), Low32(context.EFlags));
    TraceLevelF(LEVEL, "    EBX=%08x SS=%04x ESP=%08x EBP=%08x\n", Low32(context.Ebx), Low32(context.SegSs),
                Low32(context.Esp), Low32(context.Ebp));
    TraceLevelF(LEVEL, "    ECX=%08x DS=%04x ESI=%08x FS=%04x\n", Low32(context.Ecx), Low32(context.SegDs),
                Low32(context.Esi), Low32(context.SegFs));
    TraceLevelF(LEVEL, "    EDX=%08x ES=%04x EDI=%08x GS=%04x\n", Low32(context.Edx), Low32(context.SegEs),
                Low32(context.Edi), Low32(context.SegGs));
    TraceLevel(LEVEL, "\n");
}

// The byte may be anybody's: a sanitizer is not asked about it.
[[gnu::no_sanitize_address]] unsigned char ReadByte(DWORD_PTR address)
{
    return *reinterpret_cast<const volatile unsigned char*>(address);
}

void TraceByteAt(DWORD_PTR address)
{
    unsigned char byte = 0;
    if (Platform::RunGuarded([&byte, address] { byte = ReadByte(address); })) {
        TraceLevelF(LEVEL, "%02x ", unsigned{byte});
    } else {
        TraceLevel(LEVEL, "?? ");
    }
}

void TraceCode(DWORD_PTR start)
{
    constexpr DWORD_PTR SIZE = 64;
    constexpr DWORD_PTR ROW = 16;
    TraceLevel(LEVEL, "\n\n  CS:EIP memory dump:\n\n");
    for (DWORD_PTR offset = 0; offset < SIZE; ++offset) {
        if (offset % ROW == 0) {
            TraceLevelF(LEVEL, "    %08x  ", Low32(start + offset));
        }
        TraceByteAt(start + offset);
        if (offset % ROW == ROW - 1) {
            TraceLevel(LEVEL, "\n");
        }
    }
    TraceLevel(LEVEL, "\n\n");
}

void TraceFrames(const CONTEXT& context)
{
    CStackWalker walker;
    walker.Start(symbolState.process, GetCurrentThread(), context);
    for (int count = 0; const char* frame = walker.Next(); ++count) {
        if (count == MOST_FRAMES) {
            TraceLevel(LEVEL, "    <...>\n");
            return;
        }
        TraceLevelF(LEVEL, "    %s\n", frame);
    }
}

void TraceStack(const CONTEXT& context)
{
    TraceLevel(LEVEL, "\n\n  Stack dump:\n\n");
    if (SymbolsAreReady()) {
        TraceFrames(context);
    } else {
        TraceLevel(LEVEL, "    <Symbol handler not initialized>\n");
    }
}

// --- What was before

void TraceDiagnosticsMemory()
{
    TraceLevel(LEVEL, "\n\n  Static Diagnostics Memory dump:\n\n");
    TraceStaticDiagnostics();
    TraceLevel(LEVEL, "\n\n");
}

// --- The whole

void TraceHeading(const EXCEPTION_POINTERS* exception)
{
    SYSTEMTIME time;
    GetLocalTime(&time);
    TraceLevelF(LEVEL, "\n\n[ %04i/%02i/%02i %02i:%02i:%02i ] ERROR: Exception", time.wYear, time.wMonth,
                time.wDay, time.wHour, time.wMinute, time.wSecond);
    if (exception != nullptr) {
        const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
        TraceLevelF(LEVEL, " 0x%08x at 0x%08x!\n\n", Low32(record.ExceptionCode),
                    Low32(record.ExceptionAddress));
    } else {
        TraceLevel(LEVEL, "!\n\n");
    }
}

void TellEverything(LPEXCEPTION_POINTERS exception, DWORD thread)
{
    Platform::RunGuarded([exception] {
        TraceHeading(exception);
        CrashReport(exception);
    });
    Platform::RunGuarded([exception, thread] { WriteMinidump(exception, thread); });
}

bool IsStackOverflow(const EXCEPTION_POINTERS* exception)
{
    DWORD code = 0;
    if (exception != nullptr) {
        Platform::RunGuarded([exception, &code] { code = exception->ExceptionRecord->ExceptionCode; });
    }
    return code == EXCEPTION_STACK_OVERFLOW;
}

} // namespace

void HandleException(LPEXCEPTION_POINTERS exception)
{
    Platform::ForgetFloatingPointFault();
    const DWORD thread = GetCurrentThreadId();
    if (IsStackOverflow(exception)) {
        Platform::RunOnFreshStack([exception, thread] { TellEverything(exception, thread); });
    } else {
        TellEverything(exception, thread);
    }
}

void CrashReport(LPEXCEPTION_POINTERS exception)
{
    if (exception == nullptr) {
        return;
    }
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    const CONTEXT& context = *exception->ContextRecord;
    TraceSentence(record, context);
    TraceAccess(record);
    Platform::RunGuarded([&context] { TracePlace(context); });
    Platform::RunGuarded([&context] { TraceRegisters(context); });
    Platform::RunGuarded([&context] { TraceCode(context.Eip); });
    Platform::RunGuarded([&context] { TraceStack(context); });
    Platform::RunGuarded([] { TraceMemoryStatus(); });
    Platform::RunGuarded([] { TraceDiagnosticsMemory(); });
}

const char* DescribeException(DWORD code)
{
    const auto* const found = std::find_if(std::begin(PHRASES), std::end(PHRASES),
                                           [code](const Phrase& phrase) { return phrase.code == code; });
    return found != std::end(PHRASES) ? found->text : "an unknown";
}

} // namespace Plinth
