#include "Tests/Plinth/TraceCapture.h"

#include "Plinth/Debug/TraceState.h"
#include "Plinth/Text/ZeroTerminatedText.h"

namespace {

char captured[65536];

void Capture(const char* line)
{
    Plinth::AppendText(captured, sizeof(captured), line);
}

} // namespace

TraceCapture::TraceCapture()
{
    captured[0] = 0;
    Plinth::traceState = {.callback = Capture};
}

TraceCapture::~TraceCapture()
{
    Plinth::traceState = {};
}

std::string TraceCapture::Text() const
{
    return captured;
}
