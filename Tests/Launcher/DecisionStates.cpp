#include "Tests/Launcher/DecisionStates.h"

#include "Tests/Support/PlainIni.h"

#include <algorithm>

namespace {

using namespace std::string_literals;

constexpr std::size_t NOISE_SIZE = 2 << 20;

const std::string SECTION = "[GameUpdate]\r\n";
const std::string INFO = "Info=About the game\r\n";
const std::string NAME = "GameName=Decision Table\r\n";
const std::string EXEC = "ExecPath=Bin\\Run.exe\r\n";
const std::string WHOLE = SECTION + INFO + NAME + EXEC;

// Any bytes, the last of them in a section. The end completes a comment and a key that has no value yet.
std::string Noise()
{
    std::string noise;
    std::uint32_t state = 1;
    while (noise.size() < NOISE_SIZE) {
        state = state * 1664525 + 1013904223;
        const auto byte = static_cast<char>(state >> 24);
        noise += byte != '[' ? std::string(1, byte) : noise.size() < NOISE_SIZE * 7 / 8 ? "" : "[Noise]";
    }
    return noise + "=\r\n";
}

void AddTexts(std::vector<SkuState>& states)
{
    const std::string noise = Noise();
    const std::pair<const char*, std::string> rows[] = {
        {"UTF-16", WidePlainText(WHOLE)},
        {"blanks",
         "[GameUpdate]\n Info =  \tA  game\t  \nGameName=  Decision Table \nExecPath =  Bin\\Run.exe  \n"},
        {"Info of blanks", WHOLE + "Info=  \r\n"},
        {"GameName of blanks", WHOLE + "GameName=  \r\n"},
        {"ExecPath of blanks", WHOLE + "ExecPath=  \r\n"},
        {"comments", ";[Other]\n[GameUpdate];\nInfo=A;b\n;GameName=Other\nGameName=Decision Table ; x\n"
                     "ExecPath=Bin\\Run.exe;.old\n"},
        {"repeated section", SECTION + INFO + "[Other]\r\nGameName=Other\r\n" + SECTION + NAME + EXEC},
        {"repeated keys", SECTION + "GameName=Other\r\nExecPath=Other.exe\r\n" + INFO + NAME + EXEC},
        {"other keys' letter case",
         SECTION + "INFO=A\r\ngamename=Decision Table\r\nexecPath=Bin\\Run.exe\r\n"},
        {"other section's letter case", "[GAMEUPDATE]\r\n" + INFO + NAME + EXEC},
        {"zeros", SECTION + "Info=A\0b\r\nGameName=Decision Table\0b\r\nExecPath=Bin\\Run.exe\0b"s},
        {"unterminated header before", "[Other\r\n" + WHOLE},
        {"unterminated header behind", WHOLE + "[Other\r\n" + EXEC + "GameName=Other\r\n"},
        {"noise before", noise + WHOLE},
        {"noise alone", noise},
        {"beyond ASCII", SECTION + "Info=\u00dcber\r\nGameName=Decision T\u00e4ble\r\n"
                                   "ExecPath=Gr\u00fc\u00dfe\\\u65e5\u672c\U0001F3AE.exe\r\n"},
    };
    for (const auto& [name, bytes] : rows) {
        states.push_back({name, SkuKind::File, bytes});
    }
}

void AddMissingAndOtherTypes(std::vector<RegistrationState>& states)
{
    for (const std::string name : VALUE_NAMES) {
        states.push_back({"no " + name, [name](Registration& key) { key.erase(name); }});
        for (const DWORD type :
             {DWORD{REG_NONE}, DWORD{REG_EXPAND_SZ}, DWORD{REG_BINARY}, DWORD{REG_DWORD}}) {
            states.push_back({name + " of type " + std::to_string(type),
                              [name, type](Registration& key) { key[name].first = type; }});
        }
    }
}

// What becomes of the path's data, behind which there is a terminator.
void AddPaths(std::vector<RegistrationState>& states)
{
    const auto padTo = [](std::size_t size) { return [size](Bytes& data) { data.resize(size, 'x'); }; };
    const auto cutBy = [](std::size_t count) {
        return [count](Bytes& data) { data.resize(data.size() - count); };
    };
    const auto toCapitals = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c ^ 0x20) : c; };
    const auto changeCase = [=](Bytes& data) {
        std::transform(data.begin(), data.end(), data.begin(), toCapitals);
    };
    const std::pair<const char*, std::function<void(Bytes&)>> rows[] = {
        {"unterminated", cutBy(2)},
        {"half a terminator", cutBy(1)},
        {"half a character short", cutBy(3)},
        {"half a character behind the terminator", [](Bytes& data) { data += 'x'; }},
        {"text behind the terminator", [](Bytes& data) { data += TerminatedBytesOf(WIDE(".old")); }},
        {"as long as can be, text behind the terminator", padTo(2046)},
        {"half a character too long", padTo(2047)},
        {"a character too long", padTo(2048)},
        {"another letter case", changeCase},
        {"another path", [](Bytes& data) { data[0] = '?'; }},
        {"empty path", [](Bytes& data) { data.assign(2, '\0'); }},
        {"no data", [](Bytes& data) { data.clear(); }},
        {"equal", [](Bytes&) {}},
    };
    for (const auto& [name, change] : rows) {
        states.push_back({name, [change = change](Registration& key) { change(key["ExecPath"].second); }});
    }
}

} // namespace

std::vector<SkuState> SkuStates(std::size_t folderLength)
{
    std::vector<SkuState> states = {
        {"absent", SkuKind::Absent, ""},
        {"empty", SkuKind::File, ""},
        {"a folder", SkuKind::Folder, ""},
        {"held open", SkuKind::Held, WHOLE},
    };
    for (unsigned subset = 0; subset < 8; ++subset) {
        const std::string keys = ((subset & 1) != 0 ? INFO : "") + ((subset & 2) != 0 ? NAME : "") +
                                 ((subset & 4) != 0 ? EXEC : "");
        states.push_back({"subset of keys " + std::to_string(subset), SkuKind::File, SECTION + keys});
    }
    AddTexts(states);
    for (const std::size_t length : {1022U, 1023U}) {
        std::string bytes = WHOLE + "ExecPath=";
        bytes.append(length - folderLength - 1, 'x');
        states.push_back({"path of " + std::to_string(length) + " characters", SkuKind::File, bytes});
    }
    return states;
}

std::vector<RegistrationState> RegistrationStates()
{
    std::vector<RegistrationState> states = {{"no key", [](Registration& key) { key.clear(); }}};
    AddMissingAndOtherTypes(states);
    AddPaths(states);
    return states;
}
