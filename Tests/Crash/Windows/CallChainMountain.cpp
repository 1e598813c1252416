// The upper part of the chain; see CallChain.cpp.
#include "Tests/Crash/Windows/CallChain.h"

namespace Mountain {

namespace {

class Peak {
public:
    explicit Peak(int height) : height_(height) {}
    [[gnu::noinline]] int Reach(int steps) const
    {
        return Traverse(steps + height_) + height_; // frame 7: Reach
    }

private:
    int height_;
};

template <typename Height>
[[gnu::noinline]] int Scramble(Height steps)
{
    const Peak peak(steps);
    return peak.Reach(steps + 1) + 1; // frame 8: Scramble<int>
}

[[gnu::always_inline]] inline int Step(int steps)
{
    return Scramble(steps + 1) + 1; // frame 9: Step
}

[[gnu::always_inline]] inline int TwoSteps(int steps)
{
    return Step(steps + 1) + 1; // frame 10: TwoSteps
}

} // namespace

int Climb(int steps)
{
    return TwoSteps(steps + 1) + 1; // frame 11: Mountain::Climb(int)
}

int Traverse(int steps)
{
    return Valley::Ford(steps + 1) + 1; // frame 6: Mountain::Traverse(int)
}

int Ridge(int steps)
{
    return Valley::Rest(steps + 1) + 1; // frame 4: Mountain::Ridge(int)
}

} // namespace Mountain
