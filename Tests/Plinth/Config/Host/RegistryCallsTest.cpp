// The platform calls of the registry values: their order, and each of them failing in turn.
#include "Platform/Host/Gate.h"
#include "Plinth/Config/RegistryValues.h"
#include "Tests/Support/RegistryKey.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace Plinth {
namespace {

using Platform::Host::GateWatch;

constexpr const char* KEY = "Software\\Brenvault Tests";

const std::vector<std::string> WRITING = {"RegCreateKeyExW", "RegSetValueExW", "RegCloseKey"};
const std::vector<std::string> READING = {"RegOpenKeyExW", "RegQueryValueExW", "RegCloseKey"};
const std::vector<std::string> CREATING = {"RegOpenKeyExW", "RegQueryValueExW", "RegCloseKey",
                                           "RegOpenKeyExW", "RegCreateKeyExW",  "RegSetValueExW",
                                           "RegCloseKey"};

CString text;
std::uint32_t number = 0;

// Each works on a value that the operations before it have not touched, or that they have made.
struct Operation {
    const char* name;
    bool (*run)();
    const std::vector<std::string>& calls;
    LPCWSTR value;
    std::pair<DWORD, Bytes> data;
};

const Operation OPERATIONS[] = {
    {"SetRegString",
     [] { return SetRegString(HKEY_CURRENT_USER, KEY, "sub", "text", "value"); },
     WRITING,
     u"text",
     {REG_SZ, TerminatedBytesOf(u"value")}},
    {"SetRegDword",
     [] { return SetRegDword(RegistryRoot::CurrentUser, KEY, "sub", "number", 7); },
     WRITING,
     u"number",
     {REG_DWORD, Bytes("\7\0\0\0", 4)}},
    {"SetRegBinary",
     [] { return SetRegBinary(RegistryRoot::CurrentUser, KEY, "sub", "bytes", "x", 1); },
     WRITING,
     u"bytes",
     {REG_BINARY, "x"}},
    {"GetOrCreateRegDword",
     [] { return GetOrCreateRegDword(RegistryRoot::CurrentUserThenLocalMachine, KEY, "sub", "new", number); },
     CREATING,
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
    {"GetRegBinary",
     [] {
         char byte = 0;
         return GetRegBinary(RegistryRoot::CurrentUser, KEY, "sub", "bytes", &byte, 1) && byte == 'x';
     },
     READING,
     nullptr,
     {}},
};

std::vector<std::string> RegistryCalls(const GateWatch& watch)
{
    std::vector<std::string> calls = watch.Calls();
    std::erase_if(calls, [](const std::string& call) { return !call.starts_with("Reg"); });
    return calls;
}

// A key that could be opened is used once, and closed right after that.
bool EveryUsedKeyIsClosed(const std::vector<std::string>& calls)
{
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const bool uses = calls[i] == "RegSetValueExW" || calls[i] == "RegQueryValueExW";
        if (uses && (i + 1 == calls.size() || calls[i + 1] != "RegCloseKey")) {
            return false;
        }
    }
    return true;
}

class RegistryCallsTest : public testing::Test {
protected:
    // Anew, with the values of the operations before this one.
    void Prepare(const Operation& operation)
    {
        registry_.emplace();
        std::for_each(OPERATIONS, &operation, [](const Operation& before) { before.run(); });
        text = "before";
        number = 42;
    }

    // What was done is done in the right place, and nothing is done elsewhere.
    static void CheckValues(const Operation& operation, bool done)
    {
        const Key key(HKEY_CURRENT_USER, u"Software\\Brenvault Tests\\sub", KEY_READ);
        if (operation.value != nullptr) {
            const auto stored = GetValue(key, operation.value);
            EXPECT_EQ(stored, done ? std::optional(operation.data) : std::nullopt) << operation.name;
        }
        EXPECT_FALSE(GetValue(key, nullptr)) << operation.name;
        for (const LPCWSTR name : {u"", u"text", u"number", u"bytes", u"new"}) {
            EXPECT_FALSE(GetValue(HKEY_CURRENT_USER, name)) << operation.name;
        }
    }

private:
    std::optional<ScratchRegistry> registry_;
};

TEST_F(RegistryCallsTest, ComeInOrder)
{
    for (const Operation& operation : OPERATIONS) {
        Prepare(operation);
        const GateWatch watch;
        EXPECT_TRUE(operation.run()) << operation.name;
        EXPECT_EQ(RegistryCalls(watch), operation.calls) << operation.name;
    }
    const GateWatch watch;
    EXPECT_FALSE(SetRegDword(static_cast<RegistryRoot>(5), KEY, "sub", "v", 7));
    EXPECT_EQ(watch.Calls(), std::vector<std::string>());
}

TEST_F(RegistryCallsTest, FailInTurn)
{
    for (const Operation& operation : OPERATIONS) {
        unsigned points = 1;
        unsigned reached = 0;
        for (unsigned round = 0; round <= points * 2; ++round) {
            Prepare(operation);
            bool done = false;
            {
                const GateWatch watch(
                    {.ordinal = (round + 1) / 2, .error = ERROR_ACCESS_DENIED, .lasting = round % 2 == 0});
                done = operation.run();
                points = round == 0 ? watch.Points() : points;
                reached += watch.Failed() ? 1U : 0U;
                EXPECT_TRUE(done || watch.Failed()) << operation.name;
                EXPECT_TRUE(EveryUsedKeyIsClosed(RegistryCalls(watch))) << operation.name << round;
            }
            CheckValues(operation, done);
            EXPECT_TRUE(text == CString("before") || text == CString(done ? "value" : ""));
            EXPECT_TRUE(number == 42u || (done && number == 7u)) << operation.name;
        }
        std::cout << operation.name << ": failures at " << reached << " of " << points * 2 << " points\n";
        EXPECT_EQ(reached, points * 2) << operation.name;
    }
}

} // namespace
} // namespace Plinth
