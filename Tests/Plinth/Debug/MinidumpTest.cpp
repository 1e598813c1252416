#include "Plinth/Debug/Minidump.h"

#include "Plinth/Debug/Symbols.h"
#include "Tests/Plinth/Debug/FreshDiagnostics.h"
#include "Tests/Support/HeapWatch.h"
#include "Tests/Support/MinidumpReader.h"
#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <regex>

namespace Plinth {
namespace {

constexpr char WRITTEN[] = "\nMinidump successfully written.\n\n";
constexpr char FAILED[] = "\nError while writing minidump!\n\n";

class Minidumps : public testing::Test {
protected:
    ~Minidumps() override { ClearMinidumpLocation(); }

    // Those in the scratch folder whose names begin so and go on with a time.
    [[nodiscard]] std::vector<std::filesystem::path> Dumps(const std::string& prefix) const
    {
        return DumpsIn(scratch_.Path(), prefix);
    }

    static std::vector<std::filesystem::path> DumpsIn(const std::filesystem::path& folder,
                                                      const std::string& prefix)
    {
        const std::regex name(prefix + R"(_2\d{3}-[01]\d-[0-3]\d_[0-2]\d-[0-5]\d-[0-5]\d\.dmp)");
        std::vector<std::filesystem::path> dumps;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (std::regex_match(entry.path().filename().string(), name)) {
                dumps.push_back(entry.path());
            }
        }
        return dumps;
    }

    [[nodiscard]] CString Folder() const { return ToUtf8(ToPlatform(scratch_.Path())).c_str(); }

    // What is traced.
    static std::string Write(EXCEPTION_POINTERS* exception)
    {
        const TraceCapture trace;
        WriteMinidump(exception);
        return trace.Text();
    }

    FreshDiagnostics fresh_;
    ScratchFolder scratch_;
};

// A thread that does nothing, for the life of the object: of the one that dumps itself Wine tells but its id.
class IdleThread {
public:
    IdleThread() : handle_(CreateThread(nullptr, 0, Idle, &ends_, 0, nullptr)) {}
    ~IdleThread()
    {
        ends_ = true;
        WaitForSingleObject(handle_, INFINITE);
        CloseHandle(handle_);
    }
    IdleThread(const IdleThread&) = delete;
    IdleThread& operator=(const IdleThread&) = delete;

private:
    static DWORD WINAPI Idle(LPVOID ends)
    {
        while (!*static_cast<std::atomic<bool>*>(ends)) {
            Sleep(1);
        }
        return 0;
    }

    std::atomic<bool> ends_{false};
    HANDLE handle_;
};

TEST_F(Minidumps, HoldThreadsModulesAndTheException)
{
    ASSERT_TRUE(LoadDbgHelp());
    const IdleThread idle;
    CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    context.Eip = reinterpret_cast<DWORD_PTR>(&WriteMinidump);
    context.Esp = reinterpret_cast<DWORD_PTR>(&context);
    EXCEPTION_RECORD record{.ExceptionCode = 0xC0000005,
                            .ExceptionAddress = reinterpret_cast<void*>(0x1234),
                            .NumberParameters = 2,
                            .ExceptionInformation = {1, 0x10}};
    EXCEPTION_POINTERS pointers{&record, &context};
    for (EXCEPTION_POINTERS* const exception : {static_cast<EXCEPTION_POINTERS*>(nullptr), &pointers}) {
        const std::string prefix = exception != nullptr ? "Crash" : "Plain";
        SetMinidumpLocation(Folder(), prefix.c_str());
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Write(exception), WRITTEN);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
        ASSERT_EQ(Dumps(prefix).size(), 1u);
        const MinidumpReading reading = ReadMinidump(Dumps(prefix).front());
        EXPECT_EQ(reading.fault, "");
        EXPECT_GE(reading.dump.threads.size(), 2u);
        EXPECT_EQ(reading.dump.processor, sizeof(void*) == 4 ? 0 : 9);
        ASSERT_EQ(reading.dump.exception.has_value(), exception != nullptr);
        if (exception != nullptr) {
            EXPECT_EQ(reading.dump.exception->thread, GetCurrentThreadId());
            EXPECT_EQ(reading.dump.exception->code, 0xC0000005u);
            EXPECT_EQ(reading.dump.exception->address, 0x1234u);
            EXPECT_EQ(reading.dump.exception->parameters, (std::vector<std::uint64_t>{1, 0x10}));
        }
    }
}

TEST_F(Minidumps, GoToTheirFolderUnderTheirPrefix)
{
    ASSERT_TRUE(LoadDbgHelp());
    const std::filesystem::path programs = ToNative(OwnProgram()).parent_path();
    const auto removeDefaults = [&] {
        for (const auto& dump : DumpsIn(programs, "MiniDump")) {
            std::filesystem::remove(dump);
        }
    };
    removeDefaults();
    std::filesystem::create_directory(scratch_.Path() / "sub");
    const CString folder = Folder();
    const std::string sub = std::string(folder.CStr()) + "\\sub";
    SetMinidumpLocation((sub + "/").c_str(), "A");
    EXPECT_EQ(Write(nullptr), WRITTEN);
    EXPECT_EQ(DumpsIn(scratch_.Path() / "sub", "A").size(), 1u);
    SetMinidumpLocation(folder, "");
    EXPECT_EQ(Write(nullptr), WRITTEN);
    EXPECT_EQ(Dumps("MiniDump").size(), 1u);
    SetMinidumpLocation(folder, "C");
    for (const bool isFilledIn : {false, true}) { // the first dump finds no place, the next one the same
        if (!isFilledIn) {
            ClearMinidumpLocation();
        }
        removeDefaults();
        EXPECT_EQ(Write(nullptr), WRITTEN);
        EXPECT_EQ(DumpsIn(programs, "MiniDump").size(), 1u);
    }
    removeDefaults();
    SetMinidumpLocation((sub + "\\missing").c_str(), "B");
    EXPECT_EQ(Write(nullptr), FAILED);
}

TEST_F(Minidumps, WithoutMemoryHaveTheirWholeNameOrAreNone)
{
    ASSERT_TRUE(LoadDbgHelp());
    for (unsigned ordinal = 1; ordinal <= 6; ++ordinal) {
        SetMinidumpLocation(Folder(), "");
        {
            const HeapWatch watch({.ordinal = ordinal});
            WriteMinidump(nullptr);
        }
        const auto files = std::distance(std::filesystem::directory_iterator(scratch_.Path()), {});
        EXPECT_EQ(static_cast<std::size_t>(files), Dumps("MiniDump").size());
    }
}

BOOL WINAPI Refuse(HANDLE, DWORD, HANDLE, MINIDUMP_TYPE, PMINIDUMP_EXCEPTION_INFORMATION,
                   PMINIDUMP_USER_STREAM_INFORMATION, PMINIDUMP_CALLBACK_INFORMATION)
{
    return FALSE;
}

BOOL WINAPI Fault(HANDLE, DWORD, HANDLE, MINIDUMP_TYPE, PMINIDUMP_EXCEPTION_INFORMATION,
                  PMINIDUMP_USER_STREAM_INFORMATION, PMINIDUMP_CALLBACK_INFORMATION)
{
    static volatile std::uintptr_t badAddress = 0x10;
    *reinterpret_cast<volatile char*>(badAddress) = 0;
    return TRUE;
}

TEST_F(Minidumps, ThatCannotBeWrittenSaySo)
{
    SetMinidumpLocation(Folder(), "A");
    EXPECT_EQ(Write(nullptr), "\nCan't write minidump (dbghelp.dll not loaded)!\n\n");
    symbolState.dbgHelp = Attempt::DONE;
    EXPECT_EQ(Write(nullptr), "\nCan't write minidump (MiniDumpWriteDumpEx() not available)!\n\n");
    EXPECT_TRUE(Dumps("A").empty());
    for (const auto& function : {Refuse, Fault}) {
        symbolState.functions.MiniDumpWriteDump = function;
        EXPECT_EQ(Write(nullptr), FAILED);
        ASSERT_EQ(Dumps("A").size(), 1u); // closed, and left behind
        EXPECT_TRUE(std::filesystem::remove(Dumps("A").front()));
    }
}

} // namespace
} // namespace Plinth
