// The platform's own registry tool and the file that the host layer writes: each reads what the other makes.
#include "Tests/Platform/RegistrySample.h"
#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

namespace {

void RunTool(const WideText& arguments)
{
    const WideText program = WIDE("C:\\windows\\regedit.exe");
    const StartedProcess tool({.program = program, .commandLine = program + WIDE(" ") + arguments});
    ASSERT_TRUE(tool.Started());
    ASSERT_EQ(WaitForSingleObject(tool.Handle(), 60000), WAIT_OBJECT_0);
    EXPECT_EQ(tool.ExitCode(), 0u);
}

TEST(RegistryTool, ReadsAndWritesTheHostLayersFile)
{
    const ScratchFolder scratch;
    RegDeleteTreeW(HKEY_CURRENT_USER, Key::TESTS);
    const std::filesystem::path sample = BuiltProgram("RegistrySample.reg");
    RunTool(sample.native());
    for (const RegistrySampleValue& value : RegistrySample()) {
        const Key tests(HKEY_CURRENT_USER, Key::TESTS, KEY_READ);
        const Key key(tests, value.key, KEY_READ);
        EXPECT_EQ(GetValue(key, value.name), std::pair(value.type, value.data)) << ToUtf8(value.name);
    }

    const std::filesystem::path exported = scratch.Path() / "exported.reg";
    RunTool(WIDE("/E ") + exported.native() + WIDE(" \"HKEY_CURRENT_USER\\Software\\Brenvault Tests\""));
    // The layer's file has all keys of the registry, the tool's only those asked for.
    Bytes expected = ReadFile(sample);
    const Bytes above = BytesOf(WIDE("[HKEY_CURRENT_USER\\Software]\r\n\r\n"));
    ASSERT_NE(expected.find(above), Bytes::npos);
    expected.erase(expected.find(above), above.size());
    EXPECT_EQ(ReadFile(exported), expected);
    RegDeleteTreeW(HKEY_CURRENT_USER, Key::TESTS);
}

} // namespace
