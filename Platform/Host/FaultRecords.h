// What the platform calls a fault that the host tells by a signal. Takes no heap memory and no lock.
#pragma once

#include "Platform/Host/Api/Faults.h"

#include <csignal>
#include <ucontext.h>

namespace Platform::Host {

// For a signal that is a fault, and was not sent.
void DescribeFault(int signal, const siginfo_t& information, const ucontext_t& host, EXCEPTION_RECORD& record,
                   CONTEXT& context);

} // namespace Platform::Host
