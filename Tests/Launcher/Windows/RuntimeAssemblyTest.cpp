// The launcher's manifest and the runtime assembly beside it, as the platform's loader sees them.
#include "Tests/Launcher/Launch.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

constexpr const char* RUNTIME_LIBRARIES[] = {"libgcc_s_dw2-1.dll", "libstdc++-6.dll"};

// Makes what the loader makes of the launcher's manifest before the launcher starts. The build's own
// launcher: Wine looks for assemblies beside the running program, wherever the manifest comes from.
class LauncherContext {
public:
    LauncherContext()
    {
        const WideText program = ToPlatform(BuiltProgram("Launcher.exe"));
        ACTCTXW request = {};
        request.cbSize = sizeof(request);
        request.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID;
        request.lpSource = program.c_str();
        request.lpResourceName = MAKEINTRESOURCEW(1);
        context_ = CreateActCtxW(&request);
        EXPECT_NE(context_, INVALID_HANDLE_VALUE) << GetLastError();
        EXPECT_TRUE(ActivateActCtx(context_, &cookie_));
    }

    ~LauncherContext()
    {
        DeactivateActCtx(0, cookie_);
        ReleaseActCtx(context_);
    }

    LauncherContext(const LauncherContext&) = delete;
    LauncherContext& operator=(const LauncherContext&) = delete;

private:
    HANDLE context_;
    ULONG_PTR cookie_ = 0;
};

WideText PathOfLibrary(const char* name)
{
    const HMODULE library = LoadLibraryA(name);
    EXPECT_NE(library, nullptr) << name;
    WCHAR path[MAX_PATH] = {};
    GetModuleFileNameW(library, path, MAX_PATH);
    FreeLibrary(library);
    return path;
}

TEST(RuntimeAssembly, GivesTheLibrariesThatTheManifestAsksFor)
{
    const LauncherContext context;
    for (const char* library : RUNTIME_LIBRARIES) {
        EXPECT_EQ(PathOfLibrary(library),
                  ToPlatform(BuiltProgram("Launcher.exe").parent_path() / "Brenvault.Runtime" / library));
    }
}

// A library that another program left beside the launcher is not loaded in place of the assembly's.
TEST(RuntimeAssembly, GoesBeforeLibrariesOfTheSameNameBesideTheLauncher)
{
    const InstallFolder install;
    for (const char* library : RUNTIME_LIBRARIES) {
        std::ofstream(install.Path() / library) << "This is no library.\n";
    }
    EXPECT_EQ(Launch(install).exitCode, 0u);
    EXPECT_EQ(AwaitReports(install.Game(), 1).size(), 1u);
}

} // namespace
