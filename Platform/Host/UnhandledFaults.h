// Faults that no guard stops, and who is asked about them.
#pragma once

#include <csignal>
#include <ucontext.h>

namespace Platform::Host {

// Asks the filter, if there is one, on the stack of the signal's handler. Not about a fault of its own: that
// one is the end.
void ReportFault(int signal, const siginfo_t& information, ucontext_t& host);

// Handlers for the signals that are faults, and a stack for the calling thread's. Defined beside the guards.
void PrepareForFaults();

} // namespace Platform::Host
