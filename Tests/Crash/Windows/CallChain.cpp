// CallChain.exe REPORT: calls through a chain of functions and writes the call stack of its end into the
// file.
//
// "frame N: NAME" stands behind the call that the function NAME makes, or that was inlined into it; the
// frames are counted from the inside. Each function uses what it was returned, so that no call becomes a
// jump.
#include "Tests/Crash/Windows/CallChain.h"

#include "Plinth/Debug/LogFile.h"
#include "Plinth/Debug/StackDump.h"
#include "Plinth/Debug/Symbols.h"

#include <cstdlib>

namespace {

class Wanderer {
public:
    [[gnu::always_inline]] explicit Wanderer(int steps)
        : steps_(Valley::Cross(steps) + 1) // frame 13: Wanderer
    {
    }
    [[nodiscard]] int Steps() const { return steps_; }

private:
    int steps_;
};

[[gnu::noinline]] int Wander(int steps)
{
    const Wanderer wanderer(steps + 1); // frame 14: Wander
    return wanderer.Steps() + 1;
}

[[gnu::noinline]] void Report()
{
    Plinth::DumpCallStack(); // frame 1: Report
    Plinth::CloseLogFile();
}

} // namespace

namespace Valley {

int Cross(int steps)
{
    return Mountain::Climb(steps + 1) + 1; // frame 12: Valley::Cross(int)
}

int Ford(int steps)
{
    return Mountain::Ridge(steps + 1) + 1; // frame 5: Valley::Ford(int)
}

void Fall(int steps)
{
    Report(); // frame 2: Valley::Fall(int)
    std::exit(steps == 0 ? 1 : 0);
}

// The call never returns: behind it is another function.
int Rest(int steps)
{
    Fall(steps + 1); // frame 3: Valley::Rest(int)
}

} // namespace Valley

int main(int count, char** arguments)
{
    if (count != 2 || !Plinth::LoadDbgHelp() || !Plinth::InitSymbols() ||
        !Plinth::OpenLogFile(Plinth::CString(arguments[1]), 0)) {
        return 2;
    }
    return Wander(count) + 1; // frame 15: main
}
