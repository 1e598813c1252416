// A folder of files for tests of the file system. Names are UTF-8 with slashes.
#pragma once

#include "Plinth/FileSystem/CWindowsFileSystem.h"
#include "Tests/Support/Target.h"

#include <fstream>
#include <iterator>
#include <map>
#include <string>

class FileTree {
public:
    [[nodiscard]] std::filesystem::path Native(const std::string& name) const
    {
        return scratch_.Path() / std::u8string(name.begin(), name.end());
    }

    // As file systems take it.
    [[nodiscard]] std::string Root() const { return ToUtf8(ToPlatform(scratch_.Path())); }

    void MakeFolder(const std::string& name) const { std::filesystem::create_directories(Native(name)); }
    void Write(const std::string& name, const std::string& content) const
    {
        std::filesystem::create_directories(Native(name).parent_path());
        std::ofstream(Native(name), std::ios::binary) << content;
    }
    [[nodiscard]] std::string Content(const std::string& name) const
    {
        std::ifstream file(Native(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // Names, and what the files hold; "\" stands for a folder.
    [[nodiscard]] std::map<std::string, std::string> All() const
    {
        std::map<std::string, std::string> all;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(scratch_.Path())) {
            const std::u8string relative =
                entry.path().lexically_relative(scratch_.Path()).generic_u8string();
            const std::string name(relative.begin(), relative.end());
            all[name] = entry.is_directory() ? "\\" : Content(name);
        }
        return all;
    }

    // Whether nobody has it open, where the platform tells.
    [[nodiscard]] bool IsFree(const std::string& name) const
    {
        auto* const file = CreateFileW(ToPlatform(Native(name)).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                       nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        return file != INVALID_HANDLE_VALUE && CloseHandle(file) != FALSE;
    }

private:
    ScratchFolder scratch_;
};
