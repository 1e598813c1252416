// What sku files and folder names that mean harm could reach: another program, another part of the registry.
#include "GameLauncher/UpdaterHandOff.h"
#include "Tests/Launcher/Launch.h"
#include "Tests/Support/RegistryKey.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

namespace {

constexpr LPCWSTR MAKER = WIDE("Software\\Corvanta");

// A registry without the maker's keys, before and after.
class UpdaterSafety : public testing::Test {
protected:
    UpdaterSafety() { RemoveRegistrations(); }
    ~UpdaterSafety() override { RemoveRegistrations(); }

private:
    ScratchRegistry registry_;
};

bool IsKey(const WideText& path)
{
    return Key(HKEY_LOCAL_MACHINE, path.c_str(), KEY_READ).Error() == ERROR_SUCCESS;
}

std::string SkuText(const std::string& gameName)
{
    return "[GameUpdate]\nInfo=i\nExecPath=Two Words\\Run.exe\nGameName=" + gameName + "\n";
}

UpdaterResult TryStartUpdater(const InstallFolder& install)
{
    DWORD lastError = 0;
    return TryStartUpdater(BufferOf(install.Updater()), ToPlatform(install.Path()).c_str(),
                           ToPlatform(install.Game()).c_str(), &lastError);
}

// A path that is not named apart from a command line would be looked for up to each of its blanks.
TEST_F(UpdaterSafety, PathsAreNotTakenApartAtTheirBlanks)
{
    const InstallFolder install(std::filesystem::path("Program Files") / "The Brenvault");
    install.PlaceUpdater();
    const std::filesystem::path traps[] = {install.Scratch() / "Program.exe",
                                           install.Scratch() / "Program Files" / "The.exe"};
    for (const std::filesystem::path& trap : traps) {
        std::filesystem::copy_file(BuiltProgram("StandIn.exe"), trap);
    }
    for (const auto& [gameName, program] :
         {std::pair("", install.Game()), std::pair("Two Words", install.Updater())}) {
        install.WriteSkuFile(SkuText(gameName));
        EXPECT_EQ(Launch(install).exitCode, 0u);
        EXPECT_EQ(AwaitReports(program, 1).size(), 1u) << program;
    }
    for (const std::filesystem::path& trap : traps) {
        EXPECT_TRUE(AwaitReports(trap, 0).empty()) << trap;
    }
}

// A key's path is cut at its backslashes, several count as one, and nothing in it leads upwards.
TEST_F(UpdaterSafety, GameNamesLeadNowhereButBelowTheMakersKey)
{
    const std::pair<std::string, WideText> rows[] = {
        {"A\\B", WIDE("A\\B\\GameUpdate")},
        {"..\\..\\Outside", WIDE("..\\..\\Outside\\GameUpdate")},
        {".", WIDE(".\\GameUpdate")},
        {"..", WIDE("..\\GameUpdate")},
        {"\\Leading", WIDE("Leading\\GameUpdate")},
        {"Trailing\\", WIDE("Trailing\\GameUpdate")},
        {"\\", WIDE("GameUpdate")},
        {"A/B", WIDE("A/B\\GameUpdate")},
        {"%TEMP%", WIDE("%TEMP%\\GameUpdate")},
        {"T\xFFry", WIDE("T\uFFFDry\\GameUpdate")},
        {"HKEY_LOCAL_MACHINE\\Software\\Outside", WIDE("HKEY_LOCAL_MACHINE\\Software\\Outside\\GameUpdate")},
        {std::string(255, 'n'), WideText(255, 'n') + WIDE("\\GameUpdate")},
        {std::string(300, 'n'), WideText(300, 'n') + WIDE("\\GameUpdate")}, // refused: no key has such a name
    };
    const InstallFolder install;
    install.PlaceUpdater();
    for (const auto& [gameName, place] : rows) {
        SCOPED_TRACE(gameName);
        RemoveRegistrations();
        install.WriteSkuFile(SkuText(gameName));
        const bool lands = gameName.size() <= 255;
        EXPECT_EQ(TryStartUpdater(install), lands ? UpdaterStarted : UpdaterNotDue);
        EXPECT_EQ(AwaitReports(install.Updater(), lands ? 1 : 0).size(), lands ? 1u : 0u);
        EXPECT_EQ(IsKey(MAKER + (WIDE("\\") + place)), lands);
        for (const LPCWSTR outside : {WIDE("Outside"), WIDE("Software\\Outside"),
                                      WIDE("Software\\GameUpdate"), WIDE("GameUpdate"), WIDE("Leading")}) {
            EXPECT_FALSE(IsKey(outside)) << ToUtf8(outside);
        }
    }
}

} // namespace
