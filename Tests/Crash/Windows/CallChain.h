// The functions of CallChain.exe that call each other across its files; none is inlined.
#pragma once

namespace Valley {

[[gnu::noinline]] int Cross(int steps);
[[gnu::noinline]] int Ford(int steps);
[[gnu::noinline]] int Rest(int steps);
[[noreturn, gnu::noinline]] void Fall(int steps);

} // namespace Valley

namespace Mountain {

[[gnu::noinline]] int Climb(int steps);
[[gnu::noinline]] int Traverse(int steps);
[[gnu::noinline]] int Ridge(int steps);

} // namespace Mountain
