// The platform calls of a launch that goes well and nothing else: no check, no resource, no library but the
// platform's. Where there is an updater, it is started as the launcher starts one that the sku file of
// LaunchBenchmark.cpp makes due.
#include "Platform/Win32.h"

namespace {

constexpr LPCWSTR KEY = WIDE("Software\\Corvanta\\Launch Benchmark\\GameUpdate");

struct Path {
    WCHAR text[1548];
};

Path folder;
Path gamePath;
Path updaterPath;
WCHAR registered[1024];
char skuFile[1024 * 1024];

void Append(Path& path, LPCWSTR relative)
{
    path = folder;
    PathAppendW(path.text, relative);
}

void ReadSkuFile()
{
    Path path;
    Append(path, WIDE("Data\\Base\\Pakk\\brenvaultsku.ini"));
    auto* const file = CreateFileW(path.text, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                   FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD count = GetFileSize(file, nullptr);
    ReadFile(file, skuFile, count, &count, nullptr);
    CloseHandle(file);
}

void Register(LPCWSTR name, LPCWSTR value)
{
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, KEY, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value),
                   static_cast<DWORD>((wcslen(value) + 1) * sizeof(WCHAR)));
    RegCloseKey(key);
}

void ReadRegistration()
{
    HKEY key = nullptr;
    DWORD type = REG_SZ;
    DWORD size = sizeof(registered);
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, KEY, 0, KEY_READ, &key);
    RegQueryValueExW(key, WIDE("Info"), nullptr, &type, nullptr, nullptr);
    RegQueryValueExW(key, WIDE("InstallDir"), nullptr, &type, nullptr, nullptr);
    RegQueryValueExW(key, WIDE("ExecPath"), nullptr, &type, reinterpret_cast<BYTE*>(registered), &size);
    RegCloseKey(key);
}

void Start(LPCWSTR program, LPWSTR commandLine)
{
    STARTUPINFOW startupInfo = {};
    startupInfo.cb = sizeof(startupInfo);
    PROCESS_INFORMATION processInformation = {};
    SetErrorMode(0);
    CreateProcessW(program, commandLine, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startupInfo,
                   &processInformation);
    SetErrorMode(SEM_FAILCRITICALERRORS);
}

void StartUpdater()
{
    ReadSkuFile();
    Register(WIDE("info"), WIDE("Launch Benchmark 1.0"));
    Register(WIDE("installdir"), folder.text);
    Register(WIDE("execPath"), gamePath.text);
    ReadRegistration();
    Path updaterFolder = updaterPath;
    PathRemoveFileSpecW(updaterFolder.text);
    SetCurrentDirectoryW(updaterFolder.text);
    Start(updaterPath.text, nullptr);
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int)
{
    SetErrorMode(SEM_FAILCRITICALERRORS);
    SetLastError(0);
    LPWSTR commandLine = GetCommandLineW();
    GetModuleFileNameW(nullptr, folder.text, 772);
    PathRemoveFileSpecW(folder.text);
    SetCurrentDirectoryW(folder.text);
    Append(gamePath, WIDE("Data\\Base\\_Dbg\\Bin\\Release\\BrenvaultR.exe"));
    Append(updaterPath, WIDE("Support\\Base\\GameUpdate\\BrenvaultGameUpdate.exe"));

    WIN32_FIND_DATAW found;
    auto* const search = FindFirstFileW(updaterPath.text, &found);
    if (search == INVALID_HANDLE_VALUE) {
        Start(gamePath.text, commandLine);
    } else {
        FindClose(search);
        StartUpdater();
    }
    return 0;
}
