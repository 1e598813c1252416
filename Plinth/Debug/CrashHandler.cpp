#include "Plinth/Debug/CrashHandler.h"

#include "Platform/FreshStack.h"
#include "Platform/PureCalls.h"
#include "Plinth/Debug/BindFunction.h"
#include "Plinth/Debug/CrashReport.h"
#include "Plinth/Debug/CrashState.h"
#include "Plinth/Debug/ErrorReport.h"
#include "Plinth/Debug/StackDumpState.h"
#include "Plinth/Debug/StaticDiagnostics.h"
#include "Plinth/Debug/Symbols.h"
#include "Plinth/Debug/Trace.h"

#include <cstdlib>

namespace Plinth {

namespace {

// Not every runtime has these places.
void RegisterWithRuntime()
{
    HMODULE runtime = GetModuleHandleW(WIDE("msvcrt.dll"));
    if (runtime == nullptr) {
        return;
    }
    decltype(&::_set_invalid_parameter_handler) setInvalidParameterHandler = nullptr;
    decltype(&::_set_purecall_handler) setPureCallHandler = nullptr;
    if (BindFunction(runtime, "_set_invalid_parameter_handler", setInvalidParameterHandler)) {
        setInvalidParameterHandler(InvalidParameterHandler);
    }
    if (BindFunction(runtime, "_set_purecall_handler", setPureCallHandler)) {
        setPureCallHandler(PureCallHandler);
    }
}

// A report returns, fatal or not, from inside another one and for a place that is not reported any more.
[[noreturn]] void EndWithReport(const char* message)
{
    ReportError(ReportFlagDebugError | ReportFlagFatal, nullptr, 0, nullptr, message);
    stackDumpState.exiting = 1;
    std::_Exit(1);
}

} // namespace

void InstallCrashHandler()
{
    ClearStaticDiagnostics();
    if (LoadDbgHelp()) {
        InitSymbols();
    }
    Platform::KeepRoomOnStack();
    SetUnhandledExceptionFilter(CrashFilter);
    RegisterWithRuntime();
}

LONG WINAPI CrashFilter(LPEXCEPTION_POINTERS exception)
{
    HandleException(exception);
    return EXCEPTION_CONTINUE_SEARCH;
}

void InvalidParameterHandler(LPCWSTR /*expression*/, LPCWSTR /*function*/, LPCWSTR /*file*/,
                             unsigned /*line*/, std::uintptr_t /*reserved*/)
{
    EndWithReport("Invalid parameter!");
}

void PureCallHandler()
{
    crashState.pureCallReturnAddress = static_cast<std::uint32_t>(Platform::WordAboveReturnAddress());
    TraceF("\n\nPure virtual function called! The return address to the function where the problem occurred "
           "is 0x%08x.\n\n",
           crashState.pureCallReturnAddress);
    EndWithReport("Pure virtual function call!");
}

} // namespace Plinth

PLATFORM_PURE_CALL_ENTRY(Plinth::PureCallHandler)
