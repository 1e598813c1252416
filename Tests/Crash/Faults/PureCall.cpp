// Calls a function that the object, still under construction, does not have: a fatal report.
#include "Plinth/Debug/Low32.h"
#include "Plinth/Debug/Trace.h"
#include "Tests/Crash/CrashCase.h"

// Not unnamed: a compiler that knew all levels would call one of those that are there.
namespace Game {

[[gnu::noinline]] static void TracePlace()
{
    Plinth::TraceF("shortly behind 0x%08x\n", Plinth::Low32(__builtin_return_address(0)));
}

class Level {
public:
    Level()
    {
        TracePlace();
        Level* volatile unknown = this; // a compiler that knows the object drops the call
        unknown->LoadTextures();
    }
    virtual ~Level() = default;
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

private:
    virtual void LoadTextures() = 0;
};

class FirstLevel : public Level {
    void LoadTextures() override {}
};

static void MakeLevel()
{
    const FirstLevel level;
}

} // namespace Game

const CrashCase PURE_CALL = {
    .word = "PureCall",
    .crash = Game::MakeLevel,
    .exitCode = 1,
    .signal = 0,
    .log = CrashLog::OTHER,
    .says = {"\nPure virtual function called! The return address to the function where the problem occurred "
             "is 0x",
             "ERROR: FATAL ERROR!", "    Error: Pure virtual function call!", "MakeLevel"},
    .dump = CrashDump::ANY,
};
