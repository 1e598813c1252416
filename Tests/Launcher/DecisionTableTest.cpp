// The decision of the updater hand-off: every state of sku file, registration and updater with every other,
// the hand-off called in this process, and a selection of them as whole launches. The model judges both.
#include "GameLauncher/UpdaterHandOff.h"
#include "Tests/Launcher/DecisionStates.h"
#include "Tests/Launcher/Launch.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <deque>
#include <fstream>
#include <iostream>

namespace {

constexpr UpdaterState UPDATER_STATES[] = {UpdaterState::Absent, UpdaterState::Folder, UpdaterState::Program,
                                           UpdaterState::NoProgram};

constexpr DWORD UNWRITTEN = 0xFEEDFACE;
constexpr const char* UNNAMED_GAME = "The Brenvault";

std::string CellName(const SkuState& sku, const RegistrationState& registration, UpdaterState updater,
                     bool mayWrite)
{
    constexpr const char* UPDATERS[] = {"absent", "a folder", "a program", "no program"};
    return "sku file: " + sku.name + "; registration: " + registration.name +
           "; updater: " + UPDATERS[static_cast<int>(updater)] + (mayWrite ? "" : "; writing refused");
}

PlainSku SkuOf(const SkuState& state)
{
    return state.kind == SkuKind::File ? ReadPlainSku(state.bytes) : PlainSku();
}

// In its place as long as the object lives.
class PlacedSkuFile {
public:
    PlacedSkuFile(const InstallFolder& install, const SkuState& state) : path_(install.SkuFile())
    {
        if (state.kind == SkuKind::Folder) {
            std::filesystem::create_directory(path_);
        } else if (state.kind != SkuKind::Absent) {
            install.WriteSkuFile(state.bytes);
        }
        if (state.kind == SkuKind::Held) {
            holder_ =
                CreateFileW(ToPlatform(path_).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
            EXPECT_NE(holder_, INVALID_HANDLE_VALUE);
        }
    }
    ~PlacedSkuFile()
    {
        CloseHandle(holder_);
        std::filesystem::remove(path_);
    }
    PlacedSkuFile(const PlacedSkuFile&) = delete;
    PlacedSkuFile& operator=(const PlacedSkuFile&) = delete;

private:
    std::filesystem::path path_;
    HANDLE holder_ = INVALID_HANDLE_VALUE;
};

WideText KeyOf(const std::string& gameName)
{
    return WIDE("Software\\Corvanta\\") + Widened(gameName) + WIDE("\\GameUpdate");
}

// The platform looks for a terminator behind the data; there is none.
void WriteRegistration(const std::string& gameName, const Registration& registration)
{
    if (registration.empty()) {
        return;
    }
    const Key key(HKEY_LOCAL_MACHINE, KeyOf(gameName).c_str(), KEY_ALL_ACCESS, true);
    for (const auto& [name, value] : registration) {
        const auto& [type, data] = value;
        EXPECT_EQ(SetValue(key, Widened(name).c_str(), type, data + "####", data.size()), 0u);
    }
}

void ExpectRegistration(const std::string& gameName, const Registration& expected)
{
    const Key key(HKEY_LOCAL_MACHINE, KeyOf(gameName).c_str(), KEY_READ);
    EXPECT_EQ(key.Error() == ERROR_SUCCESS, !expected.empty());
    Registration found;
    for (const char* name : VALUE_NAMES) {
        const auto value = expected.empty() ? std::nullopt : GetValue(key, Widened(name).c_str());
        if (value) {
            found[name] = *value;
        }
    }
    EXPECT_EQ(found, expected) << gameName;
}

Registration RegistrationOf(const WideText& path, const RegistrationState& state)
{
    Registration registration = {{"Info", {REG_SZ, TerminatedBytesOf(WIDE("registered before"))}},
                                 {"InstallDir", {REG_SZ, TerminatedBytesOf(WIDE("C:\\Elsewhere"))}},
                                 {"ExecPath", {REG_SZ, TerminatedBytesOf(path)}}};
    state.spoil(registration);
    return registration;
}

// By so many launches.
void ExpectStarted(std::size_t count, const std::filesystem::path& program,
                   const std::filesystem::path& folder, const std::filesystem::path& commandLine)
{
    std::vector<StandInReport> reports = AwaitReports(program, count);
    EXPECT_EQ(reports.size(), count);
    for (StandInReport& report : reports) {
        EXPECT_EQ(report.values["program"], ToUtf8(ToPlatform(program)));
        EXPECT_EQ(report.values["folder"], ToUtf8(ToPlatform(folder)));
        EXPECT_EQ(report.values["command line"], '"' + ToUtf8(ToPlatform(commandLine)) + '"');
    }
}

class DecisionTable : public testing::Test {
protected:
    DecisionTable()
    {
        for (const UpdaterState updater : UPDATER_STATES) {
            installs_.emplace_back(scratch_.Path() / std::to_string(static_cast<int>(updater)));
        }
        std::filesystem::create_directory(InstallWith(UpdaterState::Folder).Updater());
        InstallWith(UpdaterState::Program).PlaceUpdater();
        std::ofstream(InstallWith(UpdaterState::NoProgram).Updater()) << "This is no program.\n";
        skus_ = SkuStates(ToPlatform(installs_[0].Path()).size()); // all are equally long
    }
    ~DecisionTable() override { RemoveRegistrations(); }

    [[nodiscard]] const InstallFolder& InstallWith(UpdaterState updater) const
    {
        return installs_.at(static_cast<std::size_t>(updater));
    }

    // Writes both registrations, each with the path that is right for its game.
    Situation Prepare(const PlainSku& sku, const RegistrationState& state, UpdaterState updater,
                      bool mayWrite)
    {
        const InstallFolder& install = InstallWith(updater);
        Situation made{sku, ToPlatform(install.Path()), ToPlatform(install.Game()), updater, mayWrite, {},
                       {}};
        RemoveRegistrations();
        if (!sku.gameName.empty()) {
            const WideText path = ExecPathBelow(made.folder, sku);
            made.named = RegistrationOf(path.empty() ? made.folder : path, state);
            WriteRegistration(sku.gameName, made.named);
        }
        made.unnamed = RegistrationOf(made.game, state);
        WriteRegistration(UNNAMED_GAME, made.unnamed);
        return made;
    }

    static void ExpectRegistrations(const Situation& afterwards)
    {
        if (!afterwards.sku.gameName.empty()) {
            ExpectRegistration(afterwards.sku.gameName, afterwards.named);
        }
        ExpectRegistration(UNNAMED_GAME, afterwards.unnamed);
    }

    void ExpectUpdaterStarted(UpdaterState state, std::size_t count) const
    {
        const std::filesystem::path updater = InstallWith(state).Updater();
        ExpectStarted(count, updater, updater.parent_path(), updater);
    }

    void ExpectHandOff(DWORD expected, const Situation& afterwards) const
    {
        const PathBuffer updater = BufferOf(InstallWith(afterwards.updater).Updater());
        const WideText path = updater.text;
        SetCurrentDirectoryW(afterwards.folder.c_str());
        DWORD lastError = UNWRITTEN;
        DWORD result = UNWRITTEN;
        const auto handOff = [&] {
            result = TryStartUpdater(updater, afterwards.folder.c_str(), afterwards.game.c_str(), &lastError);
        };
        if (afterwards.mayWrite) {
            handOff();
        } else {
            EXPECT_TRUE(RunWithoutRegistryWriting(handOff));
        }
        ASSERT_EQ(result, expected);
        EXPECT_EQ(lastError != UNWRITTEN, expected != 2);
        EXPECT_EQ(lastError == ERROR_BAD_EXE_FORMAT, expected == 1);
        EXPECT_EQ(OwnFolder(), expected == 2 ? afterwards.folder : path.substr(0, path.rfind('\\')));
        ExpectRegistrations(afterwards);
    }

    void ExpectLaunch(DWORD expected, const Situation& afterwards) const
    {
        const InstallFolder& install = InstallWith(afterwards.updater);
        const LaunchResult launch = Launch(install);
        const DWORD boxes = expected == 1 ? 1 : 0;
        EXPECT_EQ(launch.exitCode, boxes);
        ASSERT_EQ(launch.boxes.size(), boxes);
        if (expected == 1) {
            EXPECT_EQ(ToUtf8(launch.boxes[0].text), FailureText("7200c1", REINSTALL_HINT));
        } else if (expected == 2) {
            ExpectStarted(1, install.Game(), install.Path(), install.Launcher());
        }
        ExpectUpdaterStarted(afterwards.updater, expected == 0 ? 1 : 0);
        ExpectRegistrations(afterwards);
    }

    // Nothing was started but what was awaited.
    void ExpectNoMoreReports() const
    {
        Sleep(200);
        for (const InstallFolder& install : installs_) {
            EXPECT_TRUE(AwaitReports(install.Updater(), 0).empty());
            EXPECT_TRUE(AwaitReports(install.Game(), 0).empty());
        }
    }

    // Each result has to have come up.
    void PrintExpected(const std::string& what) const
    {
        const auto& [started, noProgram, notDue] = expected_;
        std::cout << started + noProgram + notDue << ' ' << what << ": updater started " << started
                  << ", due but no program " << noProgram << ", not due " << notDue << '\n';
        EXPECT_GT(std::min({started, noProgram, notDue}), 0u);
    }

    ScratchFolder scratch_;
    std::deque<InstallFolder> installs_; // one for each state of the updater
    std::vector<SkuState> skus_;
    std::vector<RegistrationState> registrations_ = RegistrationStates();
    std::array<unsigned, 3> expected_ = {}; // how often, by the results of the hand-off
};

TEST_F(DecisionTable, HoldsInEveryCell)
{
    const bool canRefuse = RunWithoutRegistryWriting([] {});
    const auto tryCells = [&](const SkuState& state, const PlainSku& sku, UpdaterState updater,
                              bool mayWrite) {
        const unsigned startedBefore = expected_[UpdaterStarted];
        for (const RegistrationState& registration : registrations_) {
            SCOPED_TRACE(CellName(state, registration, updater, mayWrite));
            Situation situation = Prepare(sku, registration, updater, mayWrite);
            const DWORD expected = Decide(situation);
            ++expected_.at(expected);
            ExpectHandOff(expected, situation);
        }
        SCOPED_TRACE(state.name); // all at once: processes take their time
        ExpectUpdaterStarted(updater, expected_[UpdaterStarted] - startedBefore);
    };
    for (const SkuState& state : skus_) {
        const PlainSku sku = SkuOf(state);
        for (const UpdaterState updater : UPDATER_STATES) {
            const PlacedSkuFile placed(InstallWith(updater), state);
            tryCells(state, sku, updater, true);
            if (canRefuse) {
                tryCells(state, sku, updater, false);
            }
        }
        ASSERT_FALSE(HasFailure());
    }
    ExpectNoMoreReports();
    PrintExpected("cells");
}

// Each state at least once. A box takes two seconds under Wine: few updaters are no programs.
TEST_F(DecisionTable, HoldsInWholeLaunches)
{
    const ScratchRegistry registry;
    for (std::size_t i = 0; i < std::max(skus_.size(), registrations_.size()); ++i) {
        const SkuState& sku = skus_[i % skus_.size()];
        const RegistrationState& registration = registrations_[(i + 15) % registrations_.size()];
        const UpdaterState updater = i % 2 != 0 ? UpdaterState::Program : UPDATER_STATES[i / 2 % 4];
        SCOPED_TRACE(CellName(sku, registration, updater, true));
        const PlacedSkuFile placed(InstallWith(updater), sku);
        Situation situation = Prepare(SkuOf(sku), registration, updater, true);
        const DWORD expected = Decide(situation);
        ++expected_.at(expected);
        ExpectLaunch(expected, situation);
    }
    ExpectNoMoreReports();
    PrintExpected("launches");
}

} // namespace
