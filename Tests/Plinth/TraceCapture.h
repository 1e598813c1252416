// Records the lines of the trace output, from a fresh state on, without heap memory.
#pragma once

#include <string>

class TraceCapture {
public:
    TraceCapture();
    ~TraceCapture();
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    [[nodiscard]] std::string Text() const; // all lines since the start, with their ends
};
