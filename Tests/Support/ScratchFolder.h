// A new, empty folder that is removed with all it holds when the object ends.
#pragma once

#include "Tests/Support/WideText.h"

#include <filesystem>

class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
};

// A program of the build, which lies beside the test program.
std::filesystem::path BuiltProgram(const char* name);
