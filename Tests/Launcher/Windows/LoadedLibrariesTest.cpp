// What the launcher loads, and from where, as the platform's loader sees it.
#include "Tests/Launcher/Launch.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <map>
#include <set>

namespace {

using std::filesystem::path;

// On the platform's list of known libraries, which come from its own folder whatever lies elsewhere. A new
// import stands here only when it is on that list, HKLM\SYSTEM\CurrentControlSet\Control\Session
// Manager\KnownDLLs, on each system that the launcher supports. Small letters.
const std::set<std::string> KNOWN_LIBRARIES = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "shlwapi.dll",
                                               "user32.dll"};

std::string InSmallLetters(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
    return text;
}

// The names in the launcher's import table, in small letters. Mapped, not loaded: nothing of it runs.
std::set<std::string> Imports()
{
    const HMODULE launcher =
        LoadLibraryExW(BuiltProgram("Launcher.exe").c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
    if (launcher == nullptr) {
        return {};
    }
    const auto* const image = reinterpret_cast<const std::byte*>(launcher);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& table = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    std::set<std::string> names;
    for (const auto* import = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(image + table.VirtualAddress);
         import->Name != 0; ++import) {
        names.insert(InSmallLetters(reinterpret_cast<const char*>(image + import->Name)));
    }
    FreeLibrary(launcher);
    return names;
}

// Those that the platform alone does not protect.
std::set<std::string> UnprotectedImports()
{
    std::set<std::string> names = Imports();
    std::erase_if(names, [](const std::string& name) { return KNOWN_LIBRARIES.count(name) != 0; });
    return names;
}

// Puts a folder first in the PATH of this process and those that it starts.
class LeadingPath {
public:
    explicit LeadingPath(const path& folder)
    {
        old_.resize(GetEnvironmentVariableW(L"PATH", old_.data(), static_cast<DWORD>(old_.size())));
        SetEnvironmentVariableW(L"PATH", (folder.native() + L";" + old_).c_str());
    }
    ~LeadingPath() { SetEnvironmentVariableW(L"PATH", old_.c_str()); }
    LeadingPath(const LeadingPath&) = delete;
    LeadingPath& operator=(const LeadingPath&) = delete;

private:
    WideText old_ = WideText(32767, 0);
};

bool BoxStands(const StartedProcess& process)
{
    const HWND box = FindWindowW(L"#32770", L"The Brenvault Launcher");
    DWORD owner = 0;
    return GetWindowThreadProcessId(box, &owner) != 0 && owner == process.Id() && IsWindowVisible(box);
}

// The folders of the process's modules by their names in small letters.
std::map<std::string, path> Modules(const StartedProcess& process)
{
    std::vector<HMODULE> modules(500);
    DWORD bytes = 0;
    K32EnumProcessModules(process.Handle(), modules.data(),
                          static_cast<DWORD>(modules.size() * sizeof(HMODULE)), &bytes);
    modules.resize(std::min<std::size_t>(modules.size(), bytes / sizeof(HMODULE)));
    std::map<std::string, path> folders;
    for (const HMODULE module : modules) {
        WCHAR file[MAX_PATH] = {};
        K32GetModuleFileNameExW(process.Handle(), module, file, MAX_PATH);
        folders[InSmallLetters(path(file).filename().string())] = path(file).parent_path();
    }
    return folders;
}

// Those of a launcher that has nothing more to load: its failure box stands.
std::map<std::string, path> ModulesAtTheBox(const StartedProcess& process)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(15);
    while (!BoxStands(process) && process.ExitCode() == STILL_ACTIVE &&
           std::chrono::steady_clock::now() < end) {
        Sleep(5);
    }
    EXPECT_TRUE(BoxStands(process));
    return Modules(process);
}

path SystemFolder()
{
    WCHAR folder[MAX_PATH] = {};
    GetSystemDirectoryW(folder, MAX_PATH);
    return folder;
}

void ExpectSafePlaces(const InstallFolder& install, const std::map<std::string, path>& modules)
{
    const path assembly = install.Path() / "Brenvault.Runtime";
    for (const auto& [name, folder] : modules) {
        const path& home = name == "launcher.exe" ? install.Path() : SystemFolder();
        EXPECT_TRUE(equivalent(folder, home) || equivalent(folder, assembly)) << folder / name;
    }
    std::set<std::string> missing = Imports();
    std::erase_if(missing, [&](const std::string& name) { return modules.count(name) != 0; });
    EXPECT_EQ(missing, std::set<std::string>());
}

// Starts the launcher, without a game, in `starter` and judges what it has loaded when it says so.
void ExpectSafeLaunch(const InstallFolder& install, const path& starter)
{
    RunningLaunch launch(install, {.folder = starter});
    ExpectSafePlaces(install, ModulesAtTheBox(launch.Process()));
    const LaunchResult result = launch.Finish();
    EXPECT_EQ(result.exitCode, 1u);
    ASSERT_EQ(result.boxes.size(), 1u);
    EXPECT_EQ(ToUtf8(result.boxes[0].text), FailureText("620002", REINSTALL_HINT));
}

// Puts that library, or garbage where there is none, under the name of each import that needs protection. Not
// of the known libraries: Wine has no list of them and takes what lies beside the launcher.
void Plant(const path& folder, const path& library)
{
    create_directories(folder);
    for (const std::string& name : UnprotectedImports()) {
        if (library.empty()) {
            std::ofstream(folder / name) << "This is no library.\n";
        } else {
            copy_file(library, folder / name);
        }
    }
}

// A search for libraries may look into all of these folders. Another program may have left one there.
TEST(LoadedLibraries, AreThePlatformsAndTheAssemblysWhateverLiesElsewhere)
{
    EXPECT_FALSE(UnprotectedImports().empty());
    const path library =
        BuiltProgram("Launcher.exe").parent_path() / "Brenvault.Runtime" / "libgcc_s_dw2-1.dll";
    for (const path& planted : {path(), library}) {
        SCOPED_TRACE(planted);
        const InstallFolder install;
        std::filesystem::remove(install.Game());
        const path starter = install.Scratch() / "starter", leading = install.Scratch() / "leading";
        for (const path& folder : {install.Path(), install.Path() / "Launcher.exe.local", starter, leading}) {
            Plant(folder, planted);
        }
        const LeadingPath searched(leading);
        ExpectSafeLaunch(install, starter);
    }
}

// So it is the assembly that the runtime libraries come from: the loader ends the launcher before its entry.
TEST(LoadedLibraries, AreMissedWithoutTheAssembly)
{
    const InstallFolder install;
    std::filesystem::remove_all(install.Path() / "Brenvault.Runtime");
    const LaunchResult result = Launch(install);
    EXPECT_GT(result.exitCode, 1u);
    EXPECT_TRUE(result.boxes.empty());
}

} // namespace
