// The platform calls of the registry values: their order, and each of them failing in turn.
#include "Platform/Host/Gate.h"
#include "Plinth/Config/RegistryValues.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

namespace Plinth {
namespace {

using Platform::Host::GateWatch;

constexpr const char* KEY = "Software\\Brenvault Tests";

struct Operation {
    const char* name;
    bool (*run)();
    std::vector<std::string> calls;
};

CString text;
std::uint32_t number = 42;

const Operation OPERATIONS[] = {
    {"SetRegString",
     [] { return SetRegString(HKEY_CURRENT_USER, KEY, "sub", "text", "value"); },
     {"RegCreateKeyExW", "RegSetValueExW", "RegCloseKey"}},
    {"SetRegDword",
     [] { return SetRegDword(RegistryRoot::CurrentUser, KEY, "sub", "number", 7); },
     {"RegCreateKeyExW", "RegSetValueExW", "RegCloseKey"}},
    {"SetRegBinary",
     [] { return SetRegBinary(RegistryRoot::CurrentUser, KEY, "sub", "bytes", "x", 1); },
     {"RegCreateKeyExW", "RegSetValueExW", "RegCloseKey"}},
    {"GetRegString",
     [] { return GetRegString(HKEY_CURRENT_USER, KEY, "sub", "text", text); },
     {"RegOpenKeyExW", "RegQueryValueExW", "RegCloseKey"}},
    {"GetRegDword",
     [] { return GetRegDword(HKEY_CURRENT_USER, KEY, "sub", "number", number); },
     {"RegOpenKeyExW", "RegQueryValueExW", "RegCloseKey"}},
    {"GetRegBinary",
     [] {
         char byte = 0;
         return GetRegBinary(RegistryRoot::CurrentUser, KEY, "sub", "bytes", &byte, 1);
     },
     {"RegOpenKeyExW", "RegQueryValueExW", "RegCloseKey"}},
    {"GetOrCreateRegDword",
     [] { return GetOrCreateRegDword(RegistryRoot::CurrentUserThenLocalMachine, KEY, "sub", "new", number); },
     {"RegOpenKeyExW", "RegQueryValueExW", "RegCloseKey", "RegOpenKeyExW", "RegCreateKeyExW",
      "RegSetValueExW", "RegCloseKey"}},
    {"a root without key", [] { return !SetRegDword(static_cast<RegistryRoot>(5), KEY, "sub", "v", 7); }, {}},
};

std::vector<std::string> RegistryCalls(const GateWatch& watch)
{
    std::vector<std::string> calls = watch.Calls();
    std::erase_if(calls, [](const std::string& call) { return !call.starts_with("Reg"); });
    return calls;
}

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

TEST(RegistryCalls, ComeInOrder)
{
    const ScratchRegistry registry;
    for (const Operation& operation : OPERATIONS) {
        const GateWatch watch;
        EXPECT_TRUE(operation.run()) << operation.name;
        EXPECT_EQ(RegistryCalls(watch), operation.calls) << operation.name;
    }
}

// A key that could be opened is used and closed, and what fails tells so.
TEST(RegistryCalls, FailInTurn)
{
    for (const Operation& operation : OPERATIONS) {
        unsigned points = 1;
        unsigned reached = 0;
        for (unsigned ordinal = 0; ordinal <= points; ++ordinal) {
            for (const bool lasting : {false, true}) {
                const ScratchRegistry registry;
                std::for_each(OPERATIONS, &operation, [](const Operation& before) { before.run(); });
                text = "before";
                number = 42;
                const GateWatch watch({.ordinal = ordinal, .error = ERROR_ACCESS_DENIED, .lasting = lasting});
                const bool done = operation.run();
                points = ordinal == 0 ? watch.Points() : points;
                reached += watch.Failed() ? 1U : 0U;
                EXPECT_TRUE(done || watch.Failed()) << operation.name;
                EXPECT_TRUE(EveryUsedKeyIsClosed(RegistryCalls(watch))) << operation.name << ordinal;
                EXPECT_TRUE(text == CString("before") || text == CString(done ? "value" : ""));
                EXPECT_TRUE(done || number == 42u) << operation.name;
            }
        }
        std::cout << operation.name << ": failures at " << reached << " of " << points * 2 << " points\n";
        EXPECT_EQ(reached, points * 2) << operation.name;
    }
}

} // namespace
} // namespace Plinth
