// The platform calls of the registry values: their order, and each of them failing in turn.
#include "Platform/Host/Gate.h"
#include "Plinth/Config/RegistryValues.h"
#include "Tests/Support/RegistryKey.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <optional>
#include <regex>
#include <string>
#include <vector>

namespace Plinth {
namespace {

using Platform::Host::GateWatch;

constexpr const char* KEY = "Software\\Brenvault Tests";

constexpr auto USER = RegistryRoot::CurrentUser;
constexpr auto BOTH = RegistryRoot::CurrentUserThenLocalMachine;

const std::string WRITING = "RegCreateKeyExW RegSetValueExW RegCloseKey ";
const std::string READING = "RegOpenKeyExW RegQueryValueExW RegCloseKey ";

CString text;
std::uint32_t number = 0;

bool GetByte()
{
    char byte = 0;
    return GetRegBinary(USER, KEY, "sub", "bytes", &byte, 1) && byte == 'x';
}

// Each works on a value that the operations before it have not touched, or that they have made.
struct Operation {
    const char* name;
    bool (*run)();
    std::string calls;
    LPCWSTR value; // that it writes
    std::pair<DWORD, Bytes> data;
};

const Operation OPERATIONS[] = {
    {"SetRegString",
     [] { return SetRegString(HKEY_CURRENT_USER, KEY, "sub", "text", "value"); },
     WRITING,
     u"text",
     {REG_SZ, TerminatedBytesOf(u"value")}},
    {"SetRegDword",
     [] { return SetRegDword(USER, KEY, "sub", "number", 7); },
     WRITING,
     u"number",
     {REG_DWORD, Bytes("\7\0\0\0", 4)}},
    {"SetRegBinary",
     [] { return SetRegBinary(USER, KEY, "sub", "bytes", "x", 1); },
     WRITING,
     u"bytes",
     {REG_BINARY, "x"}},
    {"GetOrCreateRegDword",
     [] { return GetOrCreateRegDword(BOTH, KEY, "sub", "new", number); },
     READING + "RegOpenKeyExW " + WRITING,
     u"new",
     {REG_DWORD, Bytes("\x2A\0\0\0", 4)}},
    {"GetRegString",
     [] { return GetRegString(HKEY_CURRENT_USER, KEY, "sub", "text", text); },
     READING,
     nullptr,
     {}},
    {"GetRegDword",
     [] { return GetRegDword(HKEY_CURRENT_USER, KEY, "sub", "number", number); },
     READING,
     nullptr,
     {}},
    {"GetRegBinary", GetByte, READING, nullptr, {}},
};

// Those of the registry, each with a blank behind it.
std::string RegistryCalls(const GateWatch& watch)
{
    std::string calls;
    for (const std::string& call : watch.Calls()) {
        calls += call.starts_with("Reg") ? call + ' ' : "";
    }
    return calls;
}

// Each call in its order, and each failing: what was done is done in the right place, and nothing is done
// elsewhere; a key that could be opened is used once, and closed right after that.
TEST(RegistryCalls, FailInTurn)
{
    const std::regex usedKeyLeftOpen("Reg(Set|Query)ValueExW (?!RegCloseKey)");
    for (const Operation& operation : OPERATIONS) {
        unsigned points = 1;
        unsigned reached = 0;
        for (unsigned round = 0; round <= points * 2; ++round) {
            const ScratchRegistry registry;
            std::for_each(OPERATIONS, &operation, [](const Operation& before) { before.run(); });
            text = "before";
            number = 42;
            bool done = false;
            {
                const GateWatch watch(
                    {.ordinal = (round + 1) / 2, .error = ERROR_ACCESS_DENIED, .lasting = round % 2 == 0});
                done = operation.run();
                points = round == 0 ? watch.Points() : points;
                EXPECT_TRUE(round != 0 || RegistryCalls(watch) == operation.calls) << RegistryCalls(watch);
                reached += watch.Failed() ? 1U : 0U;
                EXPECT_TRUE(done || watch.Failed()) << operation.name;
                EXPECT_FALSE(std::regex_search(RegistryCalls(watch), usedKeyLeftOpen))
                    << operation.name << round;
            }
            const Key key(HKEY_CURRENT_USER, u"Software\\Brenvault Tests\\sub", KEY_READ);
            if (operation.value != nullptr) {
                EXPECT_EQ(GetValue(key, operation.value),
                          done ? std::optional(operation.data) : std::nullopt);
            }
            EXPECT_FALSE(GetValue(key, nullptr)) << operation.name;
            for (const LPCWSTR name : {u"", u"text", u"number", u"bytes", u"new"}) {
                EXPECT_FALSE(GetValue(HKEY_CURRENT_USER, name)) << operation.name;
            }
            EXPECT_TRUE(text == CString("before") || text == CString(done ? "value" : ""));
            EXPECT_TRUE(number == 42u || (done && number == 7u)) << operation.name;
        }
        std::cout << operation.name << ": failures at " << reached << " of " << points * 2 << " points\n";
        EXPECT_EQ(reached, points * 2) << operation.name;
    }
    const GateWatch watch;
    EXPECT_FALSE(SetRegDword(static_cast<RegistryRoot>(5), KEY, "sub", "v", 7));
    EXPECT_EQ(watch.Calls(), std::vector<std::string>());
}

} // namespace
} // namespace Plinth
