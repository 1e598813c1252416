#include "Platform/Host/Gate.h"

#include "Platform/Host/Suspension.h"

#include <algorithm>
#include <cassert>
#include <mutex>

namespace Platform::Host {

namespace {

struct GateState {
    std::mutex mutex;
    GateRule rule;
    unsigned counted = 0;
    std::optional<std::size_t> firstFailed;
    std::vector<std::string> calls;
    std::function<void(std::string_view)> observer;
};

GateState& State()
{
    static GateState state;
    return state;
}

// A thread that is stopped with it would stop every other at its next call.
class StateLock {
public:
    explicit StateLock(GateState& state) : lock_(state.mutex) {}

private:
    StopsLater later_;
    std::lock_guard<std::mutex> lock_;
};

bool RuleHits(GateState& state, std::string_view function)
{
    const GateRule& rule = state.rule;
    if (!rule.function.empty() && rule.function != function) {
        return false;
    }
    ++state.counted;
    return rule.ordinal != 0 &&
           (state.counted == rule.ordinal || (rule.lasting && state.counted > rule.ordinal));
}

} // namespace

void RecordCall(const char* function)
{
    GateState& state = State();
    const StateLock lock(state);
    state.calls.emplace_back(function);
    if (state.observer) {
        state.observer(function);
    }
}

bool ConsultGate(const char* function, DWORD& error)
{
    RecordCall(function);
    GateState& state = State();
    const StateLock lock(state);
    if (!RuleHits(state, function)) {
        return false;
    }
    if (!state.firstFailed.has_value()) {
        state.firstFailed = state.calls.size() - 1;
    }
    error = state.rule.error;
    return true;
}

GateWatch::GateWatch(GateRule rule)
{
    GateState& state = State();
    const StateLock lock(state);
    assert(!gateWatched && "one watch at a time");
    state.rule = rule;
    state.counted = 0;
    state.firstFailed.reset();
    state.calls.clear();
    state.observer = nullptr;
    gateWatched = true;
}

GateWatch::~GateWatch()
{
    gateWatched = false;
}

void GateWatch::OnCall(std::function<void(std::string_view)> observer)
{
    GateState& state = State();
    const StateLock lock(state);
    state.observer = std::move(observer);
}

std::vector<std::string> GateWatch::Calls() const
{
    GateState& state = State();
    const StateLock lock(state);
    return state.calls;
}

unsigned GateWatch::Count(std::string_view function) const
{
    const std::vector<std::string> calls = Calls();
    return static_cast<unsigned>(std::count(calls.begin(), calls.end(), function));
}

unsigned GateWatch::Points() const
{
    GateState& state = State();
    const StateLock lock(state);
    return state.counted;
}

bool GateWatch::Failed() const
{
    return FirstFailed().has_value();
}

std::optional<std::size_t> GateWatch::FirstFailed() const
{
    GateState& state = State();
    const StateLock lock(state);
    return state.firstFailed;
}

} // namespace Platform::Host
