#include "Tests/Launcher/DecisionModel.h"

#include "Tests/Support/PlainIni.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <optional>

namespace {

constexpr std::size_t LONGEST_EXEC_PATH = 2046; // bytes

std::string Trimmed(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? text : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

WideText Folded(WideText text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](WCHAR c) { return c >= 'A' && c <= 'Z' ? static_cast<WCHAR>(c - 'A' + 'a') : c; });
    return text;
}

void Register(Situation& situation)
{
    const std::pair<const char*, WideText> texts[] = {
        {"Info", Widened(situation.sku.info)},
        {"InstallDir", situation.folder},
        {"ExecPath", ExecPathBelow(situation.folder, situation.sku)},
    };
    for (const auto& [name, text] : texts) {
        if (!text.empty()) {
            situation.named[name] = {REG_SZ, TerminatedBytesOf(text)};
        }
    }
}

// Up to its first zero; nullopt unless the registration is whole.
std::optional<WideText> RegisteredPath(const Registration& registration)
{
    for (const char* name : VALUE_NAMES) {
        const auto value = registration.find(name);
        if (value == registration.end() || value->second.first != REG_SZ) {
            return std::nullopt;
        }
    }
    const Bytes& data = registration.at("ExecPath").second;
    if (data.size() > LONGEST_EXEC_PATH) {
        return std::nullopt;
    }
    WideText path(data.size() / sizeof(WCHAR), 0);
    std::memcpy(path.data(), data.data(), path.size() * sizeof(WCHAR));
    return path.substr(0, path.find(WCHAR(0)));
}

bool IsDue(const Situation& situation)
{
    if (situation.sku.gameName.empty()) {
        const std::optional<WideText> path = RegisteredPath(situation.unnamed);
        return path && Folded(*path) == Folded(situation.game);
    }
    const WideText path = ExecPathBelow(situation.folder, situation.sku);
    return !path.empty() && RegisteredPath(situation.named) == path;
}

} // namespace

WideText Widened(const std::string& utf8)
{
    const std::filesystem::path path(std::u8string(utf8.begin(), utf8.end()));
    const std::u16string text = path.u16string();
    return {text.begin(), text.end()};
}

PlainSku ReadPlainSku(const std::string& bytes)
{
    auto keys = ReadPlainIni(bytes)["GameUpdate"];
    return {Trimmed(keys["Info"]), Trimmed(keys["GameName"]), Trimmed(keys["ExecPath"])};
}

WideText ExecPathBelow(const WideText& folder, const PlainSku& sku)
{
    return sku.execPath.empty() ? WideText() : folder + WIDE("\\") + Widened(sku.execPath);
}

DWORD Decide(Situation& situation)
{
    if (situation.updater == UpdaterState::Absent || situation.updater == UpdaterState::Folder) {
        return 2;
    }
    if (!situation.sku.gameName.empty() && situation.mayWrite) {
        Register(situation);
    }
    if (!IsDue(situation)) {
        return 2;
    }
    return situation.updater == UpdaterState::Program ? 0 : 1;
}
