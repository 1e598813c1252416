// What tests need of the system beside the platform's functions; one implementation a target.
#pragma once

#include "Tests/Support/ScratchFolder.h"
#include "Tests/Support/WideText.h"

#include <filesystem>
#include <functional>

// Between paths as the platform's functions take them and paths as the standard library does. The native path
// of a file that is not there is where it would be; it is empty where its folder is not there.
std::filesystem::path ToNative(WideTextView path);
WideText ToPlatform(const std::filesystem::path& path);

// A drive whose root is an empty folder, for this process and those it starts, as long as the object lives.
class ScratchDrive {
public:
    static constexpr char LETTER = 'X';

    ScratchDrive();
    ~ScratchDrive();
    ScratchDrive(const ScratchDrive&) = delete;
    ScratchDrive& operator=(const ScratchDrive&) = delete;

    [[nodiscard]] std::filesystem::path Root() const; // native

private:
    ScratchFolder folder_;
};

// A registry that tests may change, for this process and those it starts, as long as the object lives: on the
// host an empty one of its own, else the platform's.
class ScratchRegistry {
public:
    ScratchRegistry();
    ~ScratchRegistry();
    ScratchRegistry(const ScratchRegistry&) = delete;
    ScratchRegistry& operator=(const ScratchRegistry&) = delete;

private:
    ScratchFolder folder_;
};

// Whether a game that is installed on this machine cannot lose its registration.
bool IsRegistryForTests();

// Runs the function while HKEY_LOCAL_MACHINE refuses to be written. False where the target cannot refuse it:
// the function has then not run.
bool RunWithoutRegistryWriting(const std::function<void()>& run);

// Whether the build's programs carry version resources.
extern const bool PROGRAMS_HAVE_VERSIONS;

// Whether the platform's functions take their blocks where the program does.
extern const bool PLATFORM_SHARES_THE_HEAP;

// Whether the platform's C runtime asks somebody about arguments that it refuses.
extern const bool RUNTIME_TELLS_OF_PARAMETERS;

// Whether a fault ends a program by a signal, and its exit code is 128 and the signal's number.
extern const bool FAULTS_ARE_SIGNALS;

// Handles that this process got from the one that started it, standard input, output and error apart.
int CountInheritedHandles();
