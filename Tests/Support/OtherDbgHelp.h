// A debug-help library that lacks one of its functions, for whoever loads "DbgHelp.dll" while the object
// lives.
#pragma once

#include "Tests/Support/ScratchFolder.h"

#include <memory>

class OtherDbgHelp {
public:
    explicit OtherDbgHelp(const char* missing);

private:
    ScratchFolder folder_;
    std::shared_ptr<void> library_; // takes itself away
};
