// The diagnostics as they are in a process that has just started, for the life of the object.
#pragma once

#include "Plinth/Debug/CrashState.h"
#include "Plinth/Debug/DbgHelp.h"
#include "Plinth/Debug/ReportState.h"
#include "Plinth/Debug/StackDumpState.h"
#include "Tests/Plinth/TraceCapture.h"

class FreshDiagnostics : public TraceCapture {
public:
    FreshDiagnostics() = default;
    ~FreshDiagnostics()
    {
        if (Plinth::symbolState.process != nullptr) {
            CloseHandle(Plinth::symbolState.process);
        }
        if (Plinth::symbolState.module != nullptr) {
            FreeLibrary(Plinth::symbolState.module);
        }
        Plinth::symbolState = {};
        Plinth::crashState = {};
        Plinth::reportState.callback = nullptr;
        Plinth::reportState.ignored = {};
        Plinth::stackDumpState.exiting = 0;
    }
    FreshDiagnostics(const FreshDiagnostics&) = delete;
    FreshDiagnostics& operator=(const FreshDiagnostics&) = delete;
};
