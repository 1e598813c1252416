#include "Tests/Support/Target.h"

#include <algorithm>
#include <array>
#include <string>
#include <system_error>

std::filesystem::path ToNative(WideTextView path)
{
    return path;
}

WideText ToPlatform(const std::filesystem::path& path)
{
    return std::filesystem::absolute(path).native();
}

namespace {

// A drive's root has no entries at all when it is empty, and the search then fails.
void RemoveAllIn(const std::filesystem::path& folder)
{
    std::error_code empty;
    for (const auto& entry : std::filesystem::directory_iterator(folder, empty)) {
        std::filesystem::remove_all(entry.path());
    }
}

} // namespace

// A program cannot make drives under Wine; scripts/wine gives the prefix one.
ScratchDrive::ScratchDrive()
{
    RemoveAllIn(Root());
}

ScratchDrive::~ScratchDrive()
{
    RemoveAllIn(Root());
}

std::filesystem::path ScratchDrive::Root() const
{
    return std::string{LETTER, ':', '\\'};
}

ScratchRegistry::ScratchRegistry() = default;

ScratchRegistry::~ScratchRegistry() = default;

bool RunWithoutRegistryWriting(const std::function<void()>& /*run*/)
{
    return false;
}

// Nobody has the game under Wine.
bool IsRegistryForTests()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

const bool PROGRAMS_HAVE_VERSIONS = true;

const bool PLATFORM_SHARES_THE_HEAP = false;

const bool RUNTIME_TELLS_OF_PARAMETERS = false;

const bool FAULTS_ARE_SIGNALS = false;

// An inherited handle keeps its mark as inheritable; a process makes few such handles of its own accord.
int CountInheritedHandles()
{
    const std::array standard{GetStdHandle(STD_INPUT_HANDLE), GetStdHandle(STD_OUTPUT_HANDLE),
                              GetStdHandle(STD_ERROR_HANDLE)};
    int count = 0;
    for (std::uintptr_t value = 4; value < 0x1000; value += 4) {
        const auto handle = reinterpret_cast<HANDLE>(value);
        DWORD flags = 0;
        const bool inherited = GetHandleInformation(handle, &flags) && (flags & HANDLE_FLAG_INHERIT) != 0;
        count += inherited && std::find(standard.begin(), standard.end(), handle) == standard.end() ? 1 : 0;
    }
    return count;
}
