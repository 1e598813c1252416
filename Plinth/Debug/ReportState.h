// The state of the error reports.
#pragma once

#include "Platform/Win32.h"
#include "Plinth/Debug/Trace.h"

#include <atomic>
#include <cstdint>

namespace Plinth {

inline constexpr std::uint32_t MOST_IGNORED = 20;
inline constexpr std::uint32_t IGNORED_NAME_SIZE = 260;

// A place in the sources that is not reported any more.
struct IgnoredPlace {
    char file[IGNORED_NAME_SIZE];
    std::uint32_t line;
};

struct IgnoreTable {
    IgnoredPlace places[MOST_IGNORED];
    std::uint32_t count; // of the places in use, from the first on
    IgnoredPlace* last;  // that was written; null: none was
};

struct ReportState {
    std::int32_t depth;       // of the reports that the thread with the lock is in
    std::atomic<DWORD> owner; // that thread; 0: there is none
    TraceCallback callback;
    IgnoreTable ignored;
};

static_assert(sizeof(IgnoredPlace) == 264);

extern ReportState reportState;

} // namespace Plinth
