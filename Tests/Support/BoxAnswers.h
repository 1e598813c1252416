// Answers the message boxes of the calling thread, in place of a person, and remembers them.
#pragma once

#include "Platform/Win32.h"

#include <string>
#include <vector>

enum class BoxAnswer { OK, OK_WITH_CTRL, NOT_SHOWN };

struct AnsweredBox {
    std::string caption;
    std::string text;
};

// One at a time. Ctrl is held from the first box on, but for OK, until the object ends.
class BoxAnswers {
public:
    explicit BoxAnswers(BoxAnswer answer = BoxAnswer::OK);
    ~BoxAnswers();
    BoxAnswers(const BoxAnswers&) = delete;
    BoxAnswers& operator=(const BoxAnswers&) = delete;

    // What was shown since the last call, and behind it what could not be, without texts. Those take no heap
    // memory until then.
    std::vector<AnsweredBox> Take();
};
