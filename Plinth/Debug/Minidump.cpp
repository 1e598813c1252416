#include "Plinth/Debug/Minidump.h"

#include "Plinth/Debug/DbgHelp.h"
#include "Plinth/Debug/ModulePath.h"
#include "Plinth/Debug/OutputFile.h"
#include "Plinth/Debug/Trace.h"
#include "Plinth/FileSystem/PathNames.h"

namespace Plinth {

namespace {

constexpr char WRITTEN[] = "\n\nMinidump successfully written.\n\n";
constexpr char FAILED[] = "\n\nError while writing minidump!\n\n";

// There before anything runs that could dump.
constinit CString dumpFolder;
constinit CString dumpPrefix;

// False: for lack of memory.
bool FillInDefaults()
{
    if (dumpFolder.IsEmpty()) {
        const CModulePath program;
        CString path(program.text);
        if (path.IsEmpty() != (program.text[0] == 0)) {
            return false;
        }
        GetPathDirectory(path, path).AddTrailingSeparator();
        dumpFolder.Swap(path);
    }
    if (dumpPrefix.IsEmpty()) {
        dumpPrefix = "MiniDump";
    }
    return !dumpPrefix.IsEmpty();
}

// Half of it would be the name of another file: there is all of it or, for lack of memory, the empty text.
CString FileName()
{
    constexpr std::uint32_t TIME_SIZE = 32;
    SYSTEMTIME time;
    GetLocalTime(&time);
    CString name;
    if (name.GetBuffer(dumpFolder.GetLength() + dumpPrefix.GetLength() + TIME_SIZE) != nullptr) {
        name = dumpFolder;
        name += dumpPrefix;
        name.AppendFormat("_%u-%02u-%02u_%02u-%02u-%02u.dmp", time.wYear, time.wMonth, time.wDay, time.wHour,
                          time.wMinute, time.wSecond);
    }
    return name;
}

HANDLE OpenDumpFile()
{
    const CString name = FillInDefaults() ? FileName() : CString();
    return name.IsEmpty() ? nullptr : OpenOutputFile(name, OPEN_ALWAYS, 0);
}

bool WriteDump(HANDLE file, EXCEPTION_POINTERS* exception, DWORD thread)
{
    MINIDUMP_EXCEPTION_INFORMATION information{thread, exception, FALSE};
    bool written = false;
    Platform::RunGuarded([&] {
        written = symbolState.functions.MiniDumpWriteDump(
                      GetCurrentProcess(), GetCurrentProcessId(), file, MiniDumpNormal,
                      exception != nullptr ? &information : nullptr, nullptr, nullptr) != FALSE;
    });
    return written;
}

const char* TryWriteMinidump(EXCEPTION_POINTERS* exception, DWORD thread)
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
    const bool written = WriteDump(file, exception, thread);
    CloseHandle(file);
    return written ? WRITTEN : FAILED;
}

} // namespace

void SetMinidumpLocation(const CString& folder, const CString& prefix)
{
    CString newFolder;
    CString newPrefix(prefix);
    if (newFolder.GetBuffer(folder.GetLength() + 2) != nullptr &&
        newPrefix.GetLength() == prefix.GetLength()) {
        newFolder = folder;
        newFolder.AddTrailingSeparator();
        dumpFolder.Swap(newFolder);
        dumpPrefix.Swap(newPrefix);
    }
}

void ClearMinidumpLocation()
{
    dumpFolder.Clear();
    dumpPrefix.Clear();
}

void WriteMinidump(EXCEPTION_POINTERS* exception, DWORD thread)
{
    Trace(TryWriteMinidump(exception, thread));
}

} // namespace Plinth
