#include "Plinth/Debug/Minidump.h"

#include "Plinth/Debug/DbgHelp.h"
#include "Plinth/Debug/ModulePath.h"
#include "Plinth/Debug/OutputFile.h"
#include "Plinth/Debug/Trace.h"
#include "Plinth/FileSystem/PathNames.h"
#include "Plinth/Streams/WholeText.h"

namespace Plinth {

namespace {

constexpr char WRITTEN[] = "\n\nMinidump successfully written.\n\n";
constexpr char FAILED[] = "\n\nError while writing minidump!\n\n";

// There before anything runs that could dump.
constinit CString dumpFolder;
constinit CString dumpPrefix;

void FillInDefaults()
{
    if (dumpFolder.IsEmpty()) {
        const CModulePath program;
        CString path = NarrowWhole(program.text);
        GetPathDirectory(path, path);
        dumpFolder = WithTrailingSeparator(path, 0);
    }
    if (dumpPrefix.IsEmpty()) {
        AssignWhole(dumpPrefix, "MiniDump");
    }
}

CString FileName()
{
    constexpr std::uint32_t TIME_SIZE = 32;
    FillInDefaults();
    SYSTEMTIME time;
    GetLocalTime(&time);
    CString name;
    ReserveWhole(name, std::uint64_t{dumpFolder.GetLength()} + dumpPrefix.GetLength() + TIME_SIZE);
    name = dumpFolder;
    name += dumpPrefix;
    name.AppendFormat("_%u-%02u-%02u_%02u-%02u-%02u.dmp", time.wYear, time.wMonth, time.wDay, time.wHour,
                      time.wMinute, time.wSecond);
    return name;
}

HANDLE OpenDumpFile()
{
    try {
        return OpenOutputFile(FileName(), OPEN_ALWAYS, 0);
    } catch (const CException&) {
        return nullptr;
    }
}

bool WriteDump(HANDLE file, EXCEPTION_POINTERS* exception)
{
    MINIDUMP_EXCEPTION_INFORMATION information{GetCurrentThreadId(), exception, FALSE};
    bool written = false;
    Platform::RunGuarded([&] {
        written = symbolState.functions.MiniDumpWriteDump(
                      GetCurrentProcess(), GetCurrentProcessId(), file, MiniDumpNormal,
                      exception != nullptr ? &information : nullptr, nullptr, nullptr) != FALSE;
    });
    return written;
}

const char* TryWriteMinidump(EXCEPTION_POINTERS* exception)
{
    if (symbolState.dbgHelp != Attempt::DONE) {
        return "\n\nCan't write minidump (dbghelp.dll not loaded)!\n\n";
    }
    if (symbolState.functions.MiniDumpWriteDump == nullptr) {
        return "\n\nCan't write minidump (MiniDumpWriteDumpEx() not available)!\n\n";
    }
    auto* const file = OpenDumpFile();
    if (file == nullptr) {
        return FAILED;
    }
    const bool written = WriteDump(file, exception);
    CloseHandle(file);
    return written ? WRITTEN : FAILED;
}

} // namespace

void SetMinidumpLocation(const CString& folder, const CString& prefix)
{
    try {
        CString newFolder = WithTrailingSeparator(folder, 0);
        CString newPrefix = CopyWhole(prefix);
        dumpFolder.Swap(newFolder);
        dumpPrefix.Swap(newPrefix);
    } catch (const CException&) { // both stay
    }
}

void ClearMinidumpLocation()
{
    dumpFolder.Clear();
    dumpPrefix.Clear();
}

void WriteMinidump(EXCEPTION_POINTERS* exception)
{
    Trace(TryWriteMinidump(exception));
}

} // namespace Plinth
