// A debug-help library that lacks one of its functions, for whoever loads "DbgHelp.dll" while the object
// lives.
#pragma once

#include "Tests/Support/ScratchFolder.h"

#include "Platform/Win32.h"

class OtherDbgHelp {
public:
    explicit OtherDbgHelp(const char* missing);
    ~OtherDbgHelp();
    OtherDbgHelp(const OtherDbgHelp&) = delete;
    OtherDbgHelp& operator=(const OtherDbgHelp&) = delete;

private:
    ScratchFolder folder_;
    HMODULE module_ = nullptr;
};
