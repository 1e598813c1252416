// The registry's functions when the gate stops them and when the host has no memory: block by block, once and
// from then on.
#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Tests/Support/HeapWatch.h"
#include "Tests/Support/RegistryKey.h"
#include "Tests/Support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

namespace {

using namespace Platform::Host;

constexpr LPCWSTR OUTER = u"a key with a long name";

LSTATUS Create(HKEY key, LPCWSTR path, HKEY& result)
{
    return RegCreateKeyExW(key, path, 0, nullptr, 0, KEY_READ, nullptr, &result, nullptr);
}

LSTATUS Query(HKEY key, HKEY& /*result*/)
{
    BYTE data[20];
    DWORD size = sizeof(data);
    return RegQueryValueExW(key, u"value", nullptr, nullptr, data, &size);
}

struct Operation {
    const char* function;
    LSTATUS (*run)(HKEY key, HKEY& result);
};

const Operation OPERATIONS[] = {
    {"RegOpenKeyExW",
     [](HKEY key, HKEY& result) { return RegOpenKeyExW(key, u"below", 0, KEY_READ, &result); }},
    {"RegCreateKeyExW", [](HKEY key, HKEY& result) { return Create(key, u"below", result); }},
    {"RegCreateKeyExW",
     [](HKEY key, HKEY& result) { return Create(key, u"a new key\\and one below", result); }},
    {"RegSetValueExW",
     [](HKEY key, HKEY&) {
         return RegSetValueExW(key, u"a new value", 0, REG_SZ, reinterpret_cast<const BYTE*>(u"text"), 8);
     }},
    {"RegQueryValueExW", Query},
    {"RegDeleteValueW", [](HKEY key, HKEY&) { return RegDeleteValueW(key, u"value"); }},
    {"RegDeleteTreeW", [](HKEY key, HKEY&) { return RegDeleteTreeW(key, nullptr); }},
    {"RegDeleteTreeW", [](HKEY, HKEY&) { return RegDeleteTreeW(HKEY_CURRENT_USER, OUTER); }},
    {"RegCloseKey", [](HKEY, HKEY&) { return RegCloseKey(HKEY_CURRENT_USER); }},
};

class RegistryFailures : public testing::Test {
protected:
    ~RegistryFailures() override { SetRegistryFile(""); }

    void Put(const Bytes& more)
    {
        std::ofstream(file_, std::ios::binary)
            << "REGEDIT4\n[HKEY_CURRENT_USER\\a key with a long name]\n"
            << "\"value\"=\"text\"\n[HKEY_CURRENT_USER\\a key with a long name\\below]\n"
            << more;
    }

    // One run on a file that has to be read again; the blocks that it asked for.
    unsigned Run(const Operation& operation, HeapRule rule)
    {
        Put("");
        SetRegistryFile(file_);
        const Key key(HKEY_CURRENT_USER, OUTER, KEY_ALL_ACCESS);
        Put(";");
        const Bytes before = ReadFile(file_);
        HKEY result = nullptr;
        LSTATUS error = ERROR_SUCCESS;
        lastError = 77;
        {
            const HeapWatch watch(rule);
            error = operation.run(key, result);
            blocks_ = watch.Blocks();
            failures_ = watch.Failures();
        }
        EXPECT_EQ(lastError, 77u);
        EXPECT_EQ(error, failures_ == 0 ? LSTATUS{ERROR_SUCCESS} : LSTATUS{ERROR_NOT_ENOUGH_MEMORY});
        if (failures_ != 0) {
            EXPECT_EQ(result, nullptr);
            EXPECT_EQ(ReadFile(file_), before) << operation.function;
            CheckUnchanged();
        }
        return result != nullptr ? (RegCloseKey(result), blocks_) : blocks_;
    }

    // What a look sees now, and once the file has been read again.
    void CheckUnchanged()
    {
        for (int i = 0; i < 2; ++i) {
            const Key key(HKEY_CURRENT_USER, OUTER, KEY_READ);
            EXPECT_TRUE(GetValue(key, u"value"));
            EXPECT_FALSE(GetValue(key, u"a new value"));
            EXPECT_EQ(Key(key, u"below", KEY_READ).Error(), ERROR_SUCCESS);
            EXPECT_EQ(Key(key, u"a new key", KEY_READ).Error(), ERROR_FILE_NOT_FOUND);
            SetRegistryFile(file_);
        }
    }

    unsigned blocks_ = 0;
    unsigned failures_ = 0;
    ScratchFolder scratch_;
    const std::string file_ = (scratch_.Path() / "registry.reg").native();
};

TEST_F(RegistryFailures, WithoutMemoryNothingHappens)
{
    unsigned reached = 0;
    unsigned points = 0;
    for (const Operation& operation : OPERATIONS) {
        Run(operation, {}); // makes what is made once in a process
        for (const bool lasting : {false, true}) {
            points += Run(operation, {});
            unsigned ordinal = 0;
            do {
                Run(operation, {.ordinal = ++ordinal, .lasting = lasting});
                reached += failures_ != 0 ? 1 : 0;
            } while (failures_ != 0 && !HasFailure());
        }
    }
    std::printf("points reached / points there are: %u / %u\n", reached, points);
    EXPECT_EQ(reached, points);
}

TEST_F(RegistryFailures, KeysOfTheMachineCanBeReadOnly)
{
    constexpr LPCWSTR THERE = u"Software\\there";
    EXPECT_EQ(Key(HKEY_LOCAL_MACHINE, THERE, KEY_ALL_ACCESS, true).Error(), ERROR_SUCCESS);
    SetMachineKeysReadOnly(true);
    EXPECT_EQ(Key(HKEY_LOCAL_MACHINE, THERE, KEY_READ).Error(), ERROR_SUCCESS);
    EXPECT_EQ(Key(HKEY_LOCAL_MACHINE, THERE, KEY_ALL_ACCESS).Error(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Key(HKEY_LOCAL_MACHINE, THERE, KEY_SET_VALUE, true).Error(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Key(HKEY_LOCAL_MACHINE, u"missing", KEY_ALL_ACCESS).Error(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Key(HKEY_LOCAL_MACHINE, u"missing", KEY_ALL_ACCESS, true).Error(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Key(HKEY_CURRENT_USER, THERE, KEY_ALL_ACCESS, true).Error(), ERROR_SUCCESS);
    SetMachineKeysReadOnly(false);
    EXPECT_EQ(Key(HKEY_LOCAL_MACHINE, u"missing", KEY_READ).Error(), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryFailures, TheGateFailsFunctionsByTheirResult)
{
    Put("");
    SetRegistryFile(file_);
    const Key key(HKEY_CURRENT_USER, OUTER, KEY_ALL_ACCESS);
    const Bytes before = ReadFile(file_);
    for (const Operation& operation : OPERATIONS) {
        for (const DWORD error : {ERROR_DISK_FULL, ERROR_SUCCESS}) { // none is not the result of a failure
            const GateWatch watch({.function = operation.function, .ordinal = 1, .error = error});
            HKEY result = nullptr;
            EXPECT_EQ(Call([&] { return operation.run(key, result); }),
                      error == ERROR_SUCCESS ? ERROR_GEN_FAILURE : error)
                << operation.function;
            EXPECT_EQ(watch.FirstFailed(), 1u) << operation.function;
            EXPECT_EQ(result, nullptr);
        }
    }
    EXPECT_EQ(ReadFile(file_), before);
}

} // namespace
