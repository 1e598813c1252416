#include "Tests/Launcher/NamedGame.h"

#include "Plinth/Config/RegistryValues.h"
#include "Plinth/Text/CWideString.h"

#include <gtest/gtest.h>

namespace {

using namespace Plinth;

constexpr const char* NAMES[] = {"Info", "InstallDir", "ExecPath"};
const RegisteredTexts BEFORE = {"info before", "folder before", "path before"};

std::string KeyOf(const std::string& game)
{
    return "Software\\Corvanta\\" + game + "\\GameUpdate";
}

std::string ReadValue(const std::string& game, const char* name)
{
    CString text;
    GetRegStringFallback(RegistryRoot::LocalMachine, KeyOf(game).c_str(), nullptr, name, text);
    return text.CStr();
}

} // namespace

void Register(const std::string& game, const RegisteredTexts& registration)
{
    for (std::size_t i = 0; i < std::size(NAMES); ++i) {
        EXPECT_TRUE(SetRegString(HKEY_LOCAL_MACHINE, KeyOf(game).c_str(), nullptr, NAMES[i],
                                 registration.at(i).c_str()));
    }
}

NamedGame::NamedGame()
    : folder_(BufferOf(install_.Path())), game_(BufferOf(install_.Game())),
      updater_(BufferOf(install_.Updater()))
{
    install_.PlaceUpdater();
    install_.WriteSkuFile(std::string("[GameUpdate]\r\nGameName = ") + OTHER +
                          "\r\nInfo = Gr\u00fc\u00dfe\r\nExecPath = Bin\\Run.exe\r\nGameName = " + NAME +
                          "\r\n");
    Reset();
}

NamedGame::~NamedGame()
{
    for (const char* game : {NAME, OTHER}) {
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, CWideString(KeyOf(game).c_str()).c_str());
    }
    RemoveProgram(install_.Updater());
}

void NamedGame::Reset() const
{
    Register(NAME, BEFORE);
}

UpdaterResult NamedGame::TryStart(DWORD& lastError) const
{
    return TryStartUpdater(updater_, folder_.text, game_.text, &lastError);
}

std::string NamedGame::ExpectWholeValues() const
{
    const std::string folder = ToUtf8(folder_.text);
    const RegisteredTexts whole = {"Gr\u00fc\u00dfe", folder, folder + "\\Bin\\Run.exe"};
    std::string written;
    for (std::size_t i = 0; i < std::size(NAMES); ++i) {
        const std::string value = ReadValue(NAME, NAMES[i]);
        EXPECT_TRUE(value == BEFORE.at(i) || value == whole.at(i)) << NAMES[i] << ": " << value;
        written += value == whole.at(i) ? '+' : '-';
        for (const char* other : {OTHER, ""}) {
            EXPECT_EQ(ReadValue(other, NAMES[i]), "") << other;
        }
    }
    return written;
}
