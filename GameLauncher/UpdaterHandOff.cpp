#include "GameLauncher/UpdaterHandOff.h"

#include "GameLauncher/ProgramStart.h"
#include "GameLauncher/SkuFile.h"
#include "Plinth/Config/CRegistryKey.h"
#include "Plinth/Config/RegistryValues.h"
#include "Plinth/FileSystem/CFileSearch.h"
#include "Plinth/Streams/WholeText.h"

using namespace Plinth;

namespace {

// The registration of a game that has no name of its own.
constexpr LPCWSTR UNNAMED_KEY = WIDE("SOFTWARE\\Corvanta\\The Brenvault\\GameUpdate");

struct RegisteredPath {
    WCHAR text[1024] = {};
};

bool IsFile(LPCWSTR path)
{
    const CFileSearch search(path);
    return search.IsFound() && !search.IsDirectory();
}

bool HasText(CRegistryKey& key, LPCWSTR name)
{
    DWORD size = 0;
    return key.Query(name, REG_SZ, nullptr, size);
}

// The query may fill all of the buffer but its last character.
bool ReadExecPath(CRegistryKey& key, RegisteredPath& path)
{
    DWORD size = sizeof(path.text) - sizeof(WCHAR);
    if (!key.Query(WIDE("ExecPath"), REG_SZ, path.text, size)) {
        return false;
    }
    path.text[size / sizeof(WCHAR)] = 0;
    return true;
}

// False unless the registration is whole.
bool ReadRegistration(LPCWSTR keyPath, RegisteredPath& path)
{
    CRegistryKey key;
    return key.Open(HKEY_LOCAL_MACHINE, keyPath) && HasText(key, WIDE("Info")) &&
           HasText(key, WIDE("InstallDir")) && ReadExecPath(key, path);
}

CWideString KeyOfGame(const CString& gameName)
{
    CWideString key(WIDE("Software\\Corvanta\\"));
    key += WidenWhole(gameName);
    key += WIDE("\\GameUpdate");
    return key;
}

// Empty unless both are there.
CString PathBelow(const CString& folder, const CString& execPath)
{
    if (folder.IsEmpty() || execPath.IsEmpty()) {
        return {};
    }
    CString path = WithTrailingSeparator(folder, execPath.GetLength());
    path.Append(execPath);
    return path;
}

// What cannot be written, for lack of rights or of memory, is passed over: what the registry has decides.
void Register(const CString& key, const char* name, const CString& value)
{
    if (!value.IsEmpty()) {
        SetRegStringFallback(RegistryRoot::LocalMachine, key.CStr(), nullptr, name, value);
    }
}

// All texts are made before the first is written: one that is not whole leaves the registration alone.
bool IsNamedGameRegistered(const SkuFile& sku, LPCWSTR launcherFolder)
{
    const CString folder = NarrowWhole(launcherFolder);
    const CString execPath = PathBelow(folder, sku.execPath);
    const CWideString wideExecPath = WidenWhole(execPath);
    const CWideString wideKey = KeyOfGame(sku.gameName);
    const CString key = NarrowWhole(wideKey.c_str());
    Register(key, "info", sku.info);
    Register(key, "installdir", folder);
    Register(key, "execPath", execPath);

    RegisteredPath registered;
    return ReadRegistration(wideKey.c_str(), registered) && !execPath.IsEmpty() &&
           wcscmp(registered.text, wideExecPath.c_str()) == 0;
}

bool IsUnnamedGameRegistered(LPCWSTR gamePath)
{
    RegisteredPath registered;
    return ReadRegistration(UNNAMED_KEY, registered) && _wcsicmp(registered.text, gamePath) == 0;
}

bool IsRegistered(LPCWSTR launcherFolder, LPCWSTR gamePath)
{
    const SkuFile sku = ReadSkuFile(launcherFolder);
    return sku.gameName.IsEmpty() ? IsUnnamedGameRegistered(gamePath)
                                  : IsNamedGameRegistered(sku, launcherFolder);
}

// The updater runs in its own folder where that can be entered, else where the launcher is.
UpdaterResult StartUpdater(const PathBuffer& updaterPath, DWORD& lastError)
{
    PathBuffer folder = updaterPath;
    PathRemoveFileSpecW(folder.text);
    SetCurrentDirectoryW(folder.text);
    return StartProgram(updaterPath.text, nullptr, lastError) ? UpdaterStarted : UpdaterStartFailed;
}

} // namespace

UpdaterResult TryStartUpdater(const PathBuffer& updaterPath, LPCWSTR launcherFolder, LPCWSTR gamePath,
                              DWORD* lastError) noexcept
{
    try {
        if (IsFile(updaterPath.text) && IsRegistered(launcherFolder, gamePath)) {
            return StartUpdater(updaterPath, *lastError);
        }
    } catch (...) { // no memory to find out
    }
    return UpdaterNotDue;
}
