#include "Tests/Support/ScratchFolder.h"

#include "Tests/Support/StartedProcess.h"
#include "Tests/Support/Target.h"

#include <string>
#include <system_error>

// The names of one process differ by a number, those of several by the process's id.
ScratchFolder::ScratchFolder()
{
    static unsigned made = 0;
    const std::string name =
        "brenvault-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++made);
    path_ = std::filesystem::canonical(std::filesystem::temp_directory_path()) / name;
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
}

ScratchFolder::~ScratchFolder()
{
    SetCurrentDirectoryW(ToPlatform(path_.parent_path()).c_str()); // a current directory cannot be removed
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path BuiltProgram(const char* name)
{
    return ToNative(OwnProgram()).parent_path() / name;
}
