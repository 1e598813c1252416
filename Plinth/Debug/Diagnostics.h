/// \file
/// The start of a program's diagnostics, in one call: a log file behind the trace output, and the crash
/// report into it.
///
///     int WINAPI WinMain(...)
///     {
///         Plinth::InitDiagnostics("", Plinth::DiagFlagAppendLog);     // "Game.log" beside "Game.exe"
///         Plinth::TraceProgramBanner("Game", nullptr);
#pragma once

#include "Plinth/Debug/LogFile.h"

#include <cstdint>

namespace Plinth {

///@{
/// Opens the log file and installs the crash handler; the flags are those of LogFile.h. The path is UTF-8;
/// null or empty, it is the program's with ".log" for its extension. False: no log file is open; the crash
/// handler is installed all the same, and the trace callback gets what it tells. Call it once, before other
/// threads use the trace output.
bool InitDiagnostics(const char* path, std::uint32_t flags);
bool InitDiagnostics(const CString& path, std::uint32_t flags);
///@}

/// Whether InitDiagnostics had DiagFlagSuppressErrorReports. For the program to ask: reports are shown all
/// the same.
bool AreErrorReportsSuppressed();

/// The flags with DiagFlagSuppressErrorReports as the registry has it: whether the DWORD
/// "SuppressErrorReportsEx" below HKEY_LOCAL_MACHINE\\base\\Development is not 0. Without such a value they
/// come back as they are.
std::uint32_t ReadSuppressErrorReports(const char* base, std::uint32_t flags);

} // namespace Plinth
